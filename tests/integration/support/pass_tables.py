# SPDX-License-Identifier: MIT
"""Serves the variables of a JSON file to snmpd, by its pass_persist protocol. Run by snmpd.

The file holds {"1.3.6.1...": [type, value], ...} with the types of pass_persist, but for "text", which is any text. A
test may replace it while snmpd runs.
"""

import bisect
import json
import os
import sys


def numbers(name):
    return tuple(int(part) for part in name.strip(". \n").split("."))


class Variables:
    """The file's variables in order, parsed again when it has been replaced."""

    def __init__(self, path):
        self.path = path
        self.version = None

    def refresh(self):
        status = os.stat(self.path)
        version = status.st_ino, status.st_mtime_ns
        if version != self.version:
            with open(self.path, encoding="utf-8") as file:
                self.values = {numbers(key): value for key, value in json.load(file).items()}
            self.names = sorted(self.values)
            self.version = version

    def after(self, name):
        at = bisect.bisect_right(self.names, name)
        return self.names[at] if at < len(self.names) else None


def answer(command, name, variables):
    variables.refresh()
    if command == "getnext":
        name = variables.after(name)
    if name not in variables.values:
        return ["NONE"]
    kind, value = variables.values[name]
    if kind == "text":
        octets = value.encode("utf-8", "surrogateescape")
        kind, value = ("octet", octets.hex(" ")) if octets else ("string", "")
    return ["." + ".".join(map(str, name)), kind, str(value)]


def main(path):
    variables = Variables(path)
    for line in sys.stdin:
        command = line.strip()
        if command == "PING":
            lines = ["PONG"]
        elif command in ("get", "getnext"):
            lines = answer(command, numbers(sys.stdin.readline()), variables)
        else:
            lines = ["NONE"]
        print("\n".join(lines), flush=True)


if __name__ == "__main__":
    main(sys.argv[1])
