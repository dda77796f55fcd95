# SPDX-License-Identifier: MIT
"""An attack on an agent by malformed SNMP messages over UDP and TCP."""

import contextlib
import socket

from support import ber
from support.manager import Manager
from support.stand_in import DEADLINE, await_true
from support.tree import EXPECTED, ROOT, TABLES, below

from live.snmp_messages import DISCOVERY, Messages, engine_from
from live.target import SANITIZED, SEED, Growth, descriptors, length

MESSAGES = length("MPLSTE_ATTACK_SNMP_MESSAGES", 4000)
# So many at once go into the buffer of a socket.
BATCH = 50
OVER_TCP = 10   # batches: each such is sent over TCP
WALK_EVERY = 20_000
# What is in use after the first messages may be this much more after all.
MOST_KILOBYTES = 16 << 10 if SANITIZED else 2 << 10

SIGNER, PASSPHRASE = "signer", "authenticates"
ACCESS = f"""\
rocommunity public 127.0.0.1
rwcommunity private 127.0.0.1 .1.3.6.1.2.1
createUser visitor
rouser visitor noauth
createUser {SIGNER} SHA-256 "{PASSPHRASE}"
rwuser {SIGNER} auth .1.3.6.1.2.1
"""

# Beside the tables: what else an agent of net-snmp serves, its SNMPv3 tables among it.
ELSEWHERE = [(1, 3, 6, 1, 2, 1, 1, 3, 0), (1, 3, 6, 1, 2, 1, 1, 5, 0), (1, 3, 6, 1, 2, 1, 1, 9, 1, 3, 1),
             (1, 3, 6, 1, 2, 1, 11, 1, 0), (1, 3, 6, 1, 2, 1, 10, 166), (1, 3, 6, 1, 6, 3, 10, 2, 1, 1, 0),
             (1, 3, 6, 1, 6, 3, 16, 1, 5, 2, 1, 3), (1, 3, 6, 1, 6, 3, 15, 1, 2, 2, 1, 3), (1, 3, 6, 1), (1, 3), (2, 100),
             (1, 3, 6, 1, 4, 1, 8072, 1, 2, 1, 1, 4),
             # Where a SET ends net-snmp's own agent.
             (1, 3, 6, 1, 6, 3, 15, 1, 2, 2, 1, 5, 2147483647, 1), (1, 3, 6, 1, 6, 3, 16, 1, 4, 1, 4, 2147483648, 1)]
ROWS = len(below(f"{TABLES['tunnel']}.1.5"))
NAMES = [ber.numbers(oid) for oid, _ in EXPECTED] + ELSEWHERE * 5


def engine_of(address):
    manager = Manager(address)
    try:
        manager.send(DISCOVERY)
        return engine_from(manager.socket.recv(65536), PASSPHRASE)
    finally:
        manager.close()


def timeless(manager):
    return [(oid, kind if kind == "Timeticks" else (kind, value)) for oid, (kind, value) in manager.walk(ROOT).items()]


class Attack:
    """Messages to an agent, with a manager beside them that must go on being answered, and rightly."""

    def __init__(self, process, udp, tcp):
        self.process, self.udp, self.tcp = process, udp, tcp
        self.messages = Messages(SEED, NAMES, engine_of(udp), b"visitor", SIGNER.encode())
        self.prober, self.attacker = Manager(udp), Manager(udp)
        self.attacker.socket.setblocking(False)
        self.answers = 0
        self.served = timeless(self.prober)
        assert [oid for oid, _ in self.served] == [oid for oid, _ in EXPECTED]

    def over_udp(self, batch):
        for octets in batch:
            with contextlib.suppress(OSError):   # what is longer than a packet
                self.attacker.send(octets)
        self.prober.value(EXPECTED[0][0])
        with contextlib.suppress(BlockingIOError):
            while self.attacker.socket.recv(65536):
                self.answers += 1

    def over_tcp(self, batch):
        """A connection ends where the agent finds no message in it; the rest goes over others."""
        batch = list(batch)
        while batch:
            with socket.create_connection(self.tcp, timeout=DEADLINE) as stream:
                try:
                    while batch:
                        stream.sendall(batch.pop())
                    stream.shutdown(socket.SHUT_WR)
                    while stream.recv(65536):
                        self.answers += 1
                except OSError:
                    pass

    def run(self):
        growth = None
        for number in range(0, MESSAGES, BATCH):
            batch = [self.messages.next() for _ in range(BATCH)]
            try:
                (self.over_udp if number // BATCH % OVER_TCP else self.over_tcp)(batch)
                self.prober.value(EXPECTED[0][0])
                if number % WALK_EVERY == 0:
                    assert timeless(self.prober) == self.served
            except (OSError, AssertionError):
                print(f"seed {SEED}, one of messages {number} to {number + BATCH}:")
                print("\n".join(octets.hex() for octets in batch))
                raise
            assert self.process.poll() is None
            if growth is None and number >= MESSAGES // 4:
                growth = Growth(self.process.pid)
        assert timeless(self.prober) == self.served
        await_true(lambda: descriptors(self.process.pid) <= growth.descriptors, "the connections to be closed")
        grown = growth.check(MOST_KILOBYTES)
        self.prober.close()
        self.attacker.close()
        assert self.answers > MESSAGES / 5, "many messages come to where they are answered"
        print(f"summary: {MESSAGES} messages of seed {SEED}, {self.answers} answers, {grown} KB more in use")
