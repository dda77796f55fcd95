# SPDX-License-Identifier: MIT
"""SNMP messages of all versions that are nearly right: made by rule, with extremes where a number or a name may stand,
and then, half of them, spoilt octet by octet. The same seed makes the same messages."""

import hashlib
import hmac
import random
import time

from support import ber

PDUS = [ber.GET, ber.GETNEXT, ber.GETBULK, ber.SET]
OTHER_PDUS = [0xA2, 0xA4, 0xA6, 0xA7, 0xA8, 0xA9, 0x30, 0x00]
SUBIDENTIFIERS = [0, 1, 2, 39, 40, 127, 128, 255, 65535, 65536, 2**31 - 1, 2**31, 2**31 + 1, 2**32 - 1, 2**32, 2**63,
                  2**64 - 1, 2**64 + 1]
NUMBERS = [0, 1, -1, 2, 127, 128, 255, 2**15, 2**31 - 1, -2**31, 2**31, 2**32 - 1, 2**63 - 1, -2**63, 2**64]
COUNTS = [0, 0, 1, 1, 2, 5, 10, 25]
LENGTHS = [0, 1, 0x7F, 0x80, 0x81, 0x82, 0x84, 0x88, 0xFF]


def localized_key(passphrase, engine):
    """RFC 3414, A.2, with SHA-256 (RFC 7860)."""
    octets = passphrase.encode()
    repeated = (octets * (2**20 // len(octets) + 1))[:2**20]
    key = hashlib.sha256(repeated).digest()
    return hashlib.sha256(key + engine + key).digest()


class Engine:
    """An agent's SNMPv3 engine as a manager knows it."""

    MAC = 24

    def __init__(self, identifier, boots, seconds, passphrase):
        self.identifier, self.boots, self.since = identifier, boots, time.monotonic() - seconds
        self.key = localized_key(passphrase, identifier)

    @property
    def seconds(self):
        return int(time.monotonic() - self.since)

    def signature(self, octets):
        return hmac.new(self.key, octets, hashlib.sha256).digest()[:self.MAC]


DISCOVERY = ber.tlv(0x30, ber.integer(3) + ber.tlv(
    0x30, ber.integer(1) + ber.integer(65507) + ber.tlv(4, b"\x04") + ber.integer(3)) + ber.tlv(4, ber.tlv(
        0x30, ber.tlv(4, b"") + ber.integer(0) * 2 + ber.tlv(4, b"") * 3)) + ber.tlv(
            0x30, ber.tlv(4, b"") * 2 + ber.tlv(ber.GET, ber.integer(1) + ber.integer(0) * 2 + ber.tlv(0x30, b""))))


def engine_from(report, passphrase):
    """The engine that has answered DISCOVERY with `report`."""
    [(_, message)] = ber.parts(report)
    _, _, (_, parameters), _ = ber.parts(message)
    [(_, parameters)] = ber.parts(parameters)
    identifier, boots, seconds, *_ = (content for _, content in ber.parts(parameters))
    return Engine(identifier, int.from_bytes(boots, "big"), int.from_bytes(seconds, "big"), passphrase)


class Messages:
    """names: OIDs as tuples of numbers, around which requests are made. users: of the engine, by what they may do."""

    def __init__(self, seed, names, engine=None, user=b"", signer=b""):
        self.chance = random.Random(seed)
        self.names = names
        self.engine, self.user, self.signer = engine, user, signer
        self.encoded = {}

    def next(self):
        chance = self.chance
        kind = chance.random()
        if kind < 0.35 and self.engine:
            octets = self.version3()
        else:
            octets = self.community_message()
        return self.spoilt(octets) if chance.random() < 0.5 else octets

    # Parts

    def subidentifier(self):
        chance = self.chance
        return chance.choice(SUBIDENTIFIERS) if chance.random() < 0.8 else chance.getrandbits(32)

    def name(self):
        chance = self.chance
        name = chance.choice(self.names)
        kind = chance.random()
        if kind < 0.45:
            if name not in self.encoded:
                self.encoded[name] = ber.identifier(name)
            return self.encoded[name]
        if kind < 0.6:
            name = name[:chance.randint(2, len(name))]
        elif kind < 0.8:
            at = chance.randrange(1, len(name))
            name = (*name[:at], self.subidentifier(), *name[at + 1:])
        elif kind < 0.97:
            name = (*name, *(self.subidentifier() for _ in range(chance.randint(1, 5))))
        else:
            name = (*name, *(self.subidentifier() for _ in range(chance.randint(90, 150))))
        return ber.identifier(name)

    def number(self):
        chance = self.chance
        return ber.integer(chance.choice(NUMBERS))

    def value(self):
        chance = self.chance
        kind = chance.randrange(8)
        if kind == 0:
            return ber.tlv(0x05, b"")
        if kind == 1:
            return ber.integer(chance.choice(NUMBERS), chance.choice((0x02, 0x41, 0x42, 0x43, 0x46)))
        if kind == 2:
            return ber.tlv(0x04, chance.randbytes(chance.choice((0, 1, 4, 255, 1000))))
        if kind == 3:
            return self.name()
        if kind == 4:
            return ber.tlv(0x40, chance.randbytes(chance.choice((0, 3, 4, 5))))
        if kind == 5:
            return ber.tlv(chance.choice((0x80, 0x81, 0x82)), b"")
        if kind == 6:   # opaque float, double, and what is none
            return ber.tlv(0x44, bytes([0x9F, chance.choice((0x78, 0x79, 0x76, 0x77)), chance.choice((4, 8, 9))])
                           + chance.randbytes(8))
        return ber.tlv(chance.randrange(256), chance.randbytes(chance.randrange(12)))

    def pdu(self):
        chance = self.chance
        kind = chance.choice(PDUS) if chance.random() < 0.95 else chance.choice(OTHER_PDUS)
        reads = kind in (ber.GET, ber.GETNEXT, ber.GETBULK)
        variables = b"".join(
            ber.tlv(0x30, self.name() + (b"\x05\x00" if reads and chance.random() < 0.95 else self.value()))
            for _ in range(chance.choice((0, 1, 1, 1, 2, 3, 8)) if chance.random() < 0.98 else 60))
        if kind == ber.GETBULK and chance.random() < 0.9:
            numbers = ber.integer(chance.choice(COUNTS)) + ber.integer(chance.choice(COUNTS))
        elif chance.random() < 0.9:
            numbers = b"\x02\x01\x00\x02\x01\x00"
        else:
            numbers = self.number() + self.number()
        identifier = ber.integer(chance.getrandbits(31)) if chance.random() < 0.95 else self.number()
        return ber.tlv(kind, identifier + numbers + ber.tlv(0x30, variables))

    # Messages

    def community_message(self):
        chance = self.chance
        version = chance.choice((0, 1)) if chance.random() < 0.97 else chance.choice(NUMBERS)
        kind = chance.random()
        community = b"public" if kind < 0.6 else b"private" if kind < 0.95 else chance.randbytes(chance.choice((0, 1, 300)))
        return ber.tlv(0x30, ber.integer(version) + ber.tlv(0x04, community) + self.pdu())

    def version3(self):
        chance, engine = self.chance, self.engine
        signs = chance.random() < 0.6
        flags = (0x05 if signs else 0x04) if chance.random() < 0.9 else chance.randrange(256)
        user = self.signer if signs else self.user
        if chance.random() < 0.05:
            user = chance.randbytes(chance.choice((0, 1, 32, 33, 300)))
        context_engine = engine.identifier if chance.random() < 0.9 else chance.randbytes(chance.choice((0, 4, 5, 32, 33, 64)))
        context = b"" if chance.random() < 0.8 else chance.choice((b"blue", b"a\0b", bytes(300), b"\xff"))
        scoped = ber.tlv(0x30, ber.tlv(4, context_engine) + ber.tlv(4, context) + self.pdu())
        if flags & 2:
            scoped = ber.tlv(4, scoped)
        if chance.random() < 0.3:
            scoped = self.spoilt(scoped)
        header = ber.tlv(0x30, ber.integer(chance.getrandbits(31)) + (
            ber.integer(65507) if chance.random() < 0.9 else self.number()) + ber.tlv(4, bytes([flags]))
            + ber.integer(3 if chance.random() < 0.97 else chance.randrange(-1, 300)))
        identifier = engine.identifier if chance.random() < 0.95 else chance.randbytes(chance.choice((0, 5, 32, 40)))
        boots, seconds = engine.boots, engine.seconds
        if chance.random() < 0.05:
            boots, seconds = chance.choice(NUMBERS), chance.choice(NUMBERS)
        privacy = b"" if not flags & 2 else chance.randbytes(chance.choice((0, 7, 8, 9, 200)))

        def whole(signature):
            parameters = ber.tlv(0x30, ber.tlv(4, identifier) + ber.integer(boots) + ber.integer(seconds)
                                 + ber.tlv(4, user) + ber.tlv(4, signature) + ber.tlv(4, privacy))
            return ber.tlv(0x30, ber.integer(3) + header + ber.tlv(4, parameters) + scoped)

        if not signs:
            return whole(b"" if chance.random() < 0.9 else chance.randbytes(chance.choice((1, 12, 24, 100))))
        return whole(engine.signature(whole(bytes(engine.MAC))))

    # Damage

    def spoilt(self, octets):
        chance = self.chance
        octets = bytearray(octets)
        for _ in range(chance.choice((1, 1, 1, 2, 3, 8))):
            if not octets:
                break
            at = chance.randrange(len(octets))
            kind = chance.randrange(8)
            if kind == 0:
                octets[at] ^= 1 << chance.randrange(8)
            elif kind == 1:
                octets[at] = chance.choice(LENGTHS)
            elif kind == 2:
                octets[at] = chance.randrange(256)
            elif kind == 3:
                del octets[at:at + chance.choice((1, 1, 2, 4, 16))]
            elif kind == 4:
                octets[at:at] = chance.randbytes(chance.choice((1, 1, 2, 4, 16)))
            elif kind == 5:
                del octets[at:]
            elif kind == 6:   # a length, or what may be one
                octets[at:at + 1] = bytes([0x80 | chance.randrange(9)]) + chance.randbytes(chance.randrange(5))
            else:
                end = at + chance.choice((1, 2, 8, 40))
                octets[at:at] = octets[at:end]
        return bytes(octets)
