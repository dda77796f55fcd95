# SPDX-License-Identifier: MIT
"""A publisher: one connection to mplsted's socket."""

import json
import socket

from support.stand_in import DEADLINE

LONGEST_LINE = 16 << 20


class Publisher:
    def __init__(self, path):
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.connect(str(path))
        self.socket.settimeout(DEADLINE)
        self.received = b""

    def send(self, octets):
        self.socket.sendall(octets)

    def line(self):
        """The next line from mplsted, without its end; nothing when it has ended the connection."""
        while b"\n" not in self.received:
            try:
                octets = self.socket.recv(1 << 16)
            except ConnectionResetError:
                octets = b""
            if not octets:
                assert not self.received
                return None
            self.received += octets
        line, self.received = self.received.split(b"\n", 1)
        return line

    def answer(self):
        line = self.line()
        return None if line is None else json.loads(line)

    def ask(self, request):
        """The answer to a request, which is octets without a line end or something that is made JSON."""
        self.send((request if isinstance(request, bytes) else json.dumps(request).encode()) + b"\n")
        return self.answer()

    def changed(self, patch):
        """The number of entries that a patch has changed; it must be taken."""
        answer = self.ask(patch)
        assert answer["ok"] is True, answer
        return answer["changed"]

    def refusal(self, request):
        answer = self.ask(request)
        assert answer["ok"] is False, answer
        return answer["error"]

    def state(self):
        return self.ask({"$state": None})["state"]

    def status(self):
        return self.ask({"$status": None})["status"]

    def close(self):
        self.socket.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()
