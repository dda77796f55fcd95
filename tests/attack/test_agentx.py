# SPDX-License-Identifier: MIT
"""A master that is hostile to its subagent: whatever it sends, mplsted lives on, serves, and does not grow."""

import socket

from live.agentx_messages import END_OF_VIEW, GET, GET_NEXT, Messages, Reader, message, search_range
from live.target import SANITIZED, SANITIZER_OPTIONS, SEED, Growth, length
from support.agentx import OPEN, PING, REGISTER, REGISTRATIONS, RESPONSE, ScriptedMaster
from support.mplsted import Mplsted
from support.stand_in import DEADLINE
from support.tree import EXPECTED, ROOT, TABLES

MESSAGES = length("MPLSTE_ATTACK_AGENTX_MESSAGES", 4000)
BATCH = 50
# So many messages come before one that may end the connection, behind which mplsted waits for a second.
LAST_EVERY = 2000 if MESSAGES < 100_000 else 10_000
MOST_KILOBYTES = 16 << 10 if SANITIZED else 2 << 10
# No message has this number.
PROBE = 2**31

NAMES = [oid for oid, _ in EXPECTED] + 5 * [ROOT, *TABLES.values(), f"{TABLES['tunnel']}.1.11", "1.3.6.1.2.1.1.3.0",
                                            "1.3.6.1.6.3.15.1.2.2.1.3", "1.3.6.1.6.3.16.1.4.1.4", "0.0"]


class HostileMaster(ScriptedMaster):
    """Sends messages, and reads whatever comes in return."""

    def __init__(self, path):
        super().__init__(path)
        self.connections = self.answers = self.probe = 0

    def take_subagent(self):
        """The next connection, until all is registered."""
        if self.stream:
            self.stream.close()
        self.accept()
        self.connections += 1
        kinds = []
        while kinds.count(REGISTER) < REGISTRATIONS:
            request = self.receive()
            kinds.append(request.type)
            if request.type != RESPONSE:
                self.answer(request)
        assert kinds[0] == OPEN

    def frame(self):
        """The next message's header, as it is, and payload."""
        header = self.octets(20)
        size = int.from_bytes(header[16:20], "big" if header[2] & 0x10 else "little")
        return header, self.octets(size)

    def ask(self, kind, payload):
        """The (error, variables) that a request is answered with, behind all that was sent before. The answers to that
        are counted."""
        self.probe = (self.probe + 1) % 2**30
        packet = PROBE + self.probe
        self.stream.sendall(message(kind, payload, packet))
        while True:
            header, payload = self.frame()
            if header[1] == PING:   # mplsted asks whether we are there
                continue
            order = "big" if header[2] & 0x10 else "little"
            if header[1] == RESPONSE and int.from_bytes(header[12:16], order) == packet:
                return Reader(payload, header[2]).response()
            self.answers += 1

    def walk(self):
        """The variables, but for their times."""
        found, oid = [], ROOT
        while True:
            error, variables = self.ask(GET_NEXT, search_range(oid, "1.3.6.1.2.1.10.167"))
            assert error == 0
            [(name, kind, value)] = variables
            if kind == END_OF_VIEW:
                return found
            oid = ".".join(map(str, name))
            found.append((oid, kind, None if f".{oid}".startswith(f"{TABLES['tunnel']}.1.28.") else value))

    def is_served(self):
        name, _ = EXPECTED[0]
        error, variables = self.ask(GET, search_range(name))
        return error == 0 and f".{'.'.join(map(str, variables[0][0]))}" == name

    def attack(self, batch):
        """True when the subagent has kept the connection."""
        try:
            self.stream.sendall(b"".join(batch))
            assert self.is_served()
            return True
        except (EOFError, ConnectionError):
            self.take_subagent()
            return False


def test_mplsted_survives_a_hostile_master(tmp_path):
    messages = Messages(SEED, NAMES)
    with HostileMaster(tmp_path / "agentx") as master:
        mplsted = Mplsted(tmp_path, "--agentx", master.address, access=None, listen=(), **SANITIZER_OPTIONS)
        with mplsted:
            master.take_subagent()
            served = master.walk()
            assert [f".{oid}" for oid, *_ in served] == [oid for oid, _ in EXPECTED]
            growth, lost = None, 0
            for number in range(0, MESSAGES, BATCH):
                batch = [messages.next() for _ in range(BATCH)]
                ends = number % LAST_EVERY == LAST_EVERY - BATCH
                try:
                    lost += not master.attack(batch)
                    if ends:
                        # Half a message may be the beginning of one: it is waited for, until the connection ends.
                        master.stream.sendall(messages.last())
                        master.stream.shutdown(socket.SHUT_WR)
                        master.take_subagent()
                except (OSError, AssertionError):
                    print(f"seed {SEED}, one of messages {number} to {number + BATCH}:")
                    print("\n".join(octets.hex() for octets in batch))
                    raise
                assert mplsted.process.poll() is None
                if growth is None and number >= MESSAGES // 4:
                    growth = Growth(mplsted.process.pid)
            assert master.walk() == served
            grown = growth.check(MOST_KILOBYTES)
            assert master.answers > MESSAGES / 3, "many messages are answered"
            print(f"summary: {MESSAGES} messages of seed {SEED}, {master.answers} answers, {lost} connections lost, "
                  f"{grown} KB more in use")
            master.stream.settimeout(DEADLINE)
            master.close()
