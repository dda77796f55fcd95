# SPDX-License-Identifier: MIT
"""A stock snmptrapd on loopback, and the notifications that it gets."""

import re
import signal
import subprocess
from pathlib import Path

from support.mplsted import environment
from support.stand_in import DEADLINE, await_true, free_udp_port

SNMPTRAPD = "/usr/sbin/snmptrapd"
STARTED = "NET-SNMP version"

MIB = ".1.3.6.1.2.1.10.166.3"
UP_TIME = ".1.3.6.1.2.1.1.3.0"
TRAP_OID = ".1.3.6.1.6.3.1.1.4.1.0"
COLUMNS = {f"{MIB}.2.2.1.34": "admin", f"{MIB}.2.2.1.35": "oper", f"{MIB}.2.2.1.5": "name"}
KINDS = {f"{MIB}.0.1": "up", f"{MIB}.0.2": "down", f"{MIB}.0.3": "rerouted", f"{MIB}.0.4": "reoptimized"}

# The SNMPv3 user that notifications come from, and the engine of informs, which is the receiver's own.
USER = 'createUser {engine}watcher SHA-256 "authenticates" AES "keeps secret"'
V3 = "-v 3 -l authPriv -u watcher -a SHA-256 -A authenticates -x AES -X 'keeps secret'".replace("'", '"')


class Notification:
    """One that came: its message ("TRAP2, SNMP v2c, community public") and its variables, in order."""

    def __init__(self, line):
        self.message, *variables = line.split("|")
        self.variables = [tuple(variable.split(" = ", 1)) for variable in variables]

    @property
    def oid(self):
        return dict(self.variables).get(TRAP_OID, "").removeprefix("OID: ")

    @property
    def kind(self):
        return KINDS.get(self.oid)

    def __str__(self):
        """What, which tunnel, and the index of its row: "up to-paris 12.1.167772161.167772169"."""
        name, value = self.variables[-1]
        column, index = re.fullmatch(rf"({re.escape(MIB)}\.2\.2\.1\.\d+)\.(.+)", name).groups()
        assert COLUMNS[column] == "name"
        return f"{self.kind} {value.removeprefix('STRING: ').strip(chr(34))} {index}"

    def check(self):
        """The objects, their order, types and index are those of RFC 3812, and the name behind them."""
        (time, _), (trap, _), *objects = self.variables
        assert (time, trap) == (UP_TIME, TRAP_OID)
        assert [COLUMNS[name.rsplit(".", 4)[0]] for name, _ in objects] == ["admin", "oper", "name"], self.variables
        assert len({tuple(name.rsplit(".", 4)[1:]) for name, _ in objects}) == 1, "one row"
        oper = 2 if self.kind == "down" else 1
        assert [value for _, value in objects[:2]] == ["INTEGER: 1", f"INTEGER: {oper}"]
        assert objects[2][1].startswith("STRING: ")


class Trapd:
    def __init__(self, folder, *lines, name="trapd"):
        self.folder = Path(folder) / name
        self.folder.mkdir()
        self.output, self.config = self.folder / "out", self.folder / "snmptrapd.conf"
        self.config.write_text("\n".join([*lines, ""]), encoding="utf-8")
        self.port = free_udp_port()
        self.process = None
        self.read = 0

    def start(self):
        with open(self.output, "a", encoding="utf-8") as output:
            self.process = subprocess.Popen(
                [SNMPTRAPD, "-f", "-Lo", "-C", "-c", self.config, "--disableAuthorization=yes", "-OneU", "-n", "-F",
                 "%V|%P|%v\\n", f"udp:127.0.0.1:{self.port}"],
                stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.STDOUT, env=environment(self.folder))
        await_true(lambda: self.process.poll() is not None or STARTED in self.log(), "snmptrapd to start")
        assert self.process.poll() is None, self.log()
        return self

    def log(self):
        return self.output.read_text(encoding="utf-8")

    def all(self):
        """All of ours that have come so far."""
        lines = [line for line in self.log().splitlines() if "SNMP v" in line and "|" in line]
        return [note for note in map(Notification, lines) if note.kind]

    def until(self, text):
        """Those that have come since the last time, up to the one that is `text`, which is awaited and left out."""
        def come():
            notes = self.all()[self.read:]
            texts = [str(note) for note in notes]
            return (notes[:texts.index(text)], texts) if text in texts else None

        notes, texts = await_true(come, f"'{text}' from snmptrapd, instead of\n{self.log()}")
        self.read += texts.index(text) + 1
        for note in notes:
            note.check()
        return notes

    def end(self):
        if self.process:
            self.process.send_signal(signal.SIGTERM)
            self.process.wait(DEADLINE)
            self.process = None

    def __enter__(self):
        return self.start()

    def __exit__(self, *_):
        self.end()
