# SPDX-License-Identifier: MIT
"""Messages of an AgentX master (RFC 2741) that are nearly right, the same ones for the same seed. Most keep to the
length that their header says, so that the connection lives on; what ends it is sent rarely, by who asks for it."""

import random
import struct

from live.snmp_messages import SUBIDENTIFIERS
from support.agentx import CLOSE, GET, HEADER, NETWORK_BYTE_ORDER, PING, RESPONSE, SESSION, object_identifier

GET_NEXT, GET_BULK, TEST_SET, COMMIT_SET, UNDO_SET, CLEANUP_SET = 6, 7, 8, 9, 10, 11
NON_DEFAULT_CONTEXT = 0x08
INTEGER, OCTETS, NULL, OID, ADDRESS, COUNTER, GAUGE, TICKS, OPAQUE, COUNTER64 = 2, 4, 5, 6, 64, 65, 66, 67, 68, 70
END_OF_VIEW = 130
NUMBERS = [0, 1, 2, 3, 4, 127, 128, 129, 255, 256, 65535, 65536, 2**31 - 1, 2**31, 2**32 - 4, 2**32 - 1]


def octet_string(octets):
    return struct.pack(">I", len(octets)) + octets + bytes(-len(octets) % 4)


def search_range(begin, end=None, include=0):
    begin = bytearray(object_identifier(begin))
    begin[2] = include
    return bytes(begin) + (object_identifier(end) if end else bytes(4))


def message(kind, payload, packet, session=SESSION, flags=NETWORK_BYTE_ORDER, transaction=None):
    return HEADER.pack(1, kind, flags, session, packet if transaction is None else transaction, packet, len(payload)) + payload


class Reader:
    """Takes a response to pieces. Numbers are in the byte order that its flags say."""

    def __init__(self, octets, flags):
        self.octets, self.at = octets, 0
        self.order = ">" if flags & NETWORK_BYTE_ORDER else "<"

    def take(self, form):
        found = struct.unpack_from(self.order + form, self.octets, self.at)
        self.at += struct.calcsize(form)
        return found

    def name(self):
        count, prefix, _, _ = self.take("BBBB")
        return ((1, 3, 6, 1, prefix) if prefix else ()) + self.take(f"{count}I")

    def string(self):
        [size] = self.take("I")
        found = self.octets[self.at:self.at + size]
        self.at += size + -size % 4
        return found

    def variable(self):
        """(name, type, value)"""
        kind, _ = self.take("HH")
        name = self.name()
        if kind in (INTEGER, COUNTER, GAUGE, TICKS):
            return name, kind, self.take("I")[0]
        if kind == COUNTER64:
            return name, kind, self.take("Q")[0]
        if kind in (OCTETS, ADDRESS, OPAQUE):
            return name, kind, self.string()
        return name, kind, self.name() if kind == OID else None

    def response(self):
        """(error, [(name, type, value)...])"""
        _, error, _ = self.take("IHH")
        found = []
        while self.at < len(self.octets):
            found.append(self.variable())
        return error, found


class Messages:
    """names: OIDs as text, around which requests are made."""

    def __init__(self, seed, names):
        self.chance = random.Random(seed)
        self.names = [tuple(map(int, name.strip(".").split("."))) for name in names]
        self.packet = 0

    def next(self):
        """A message that is as long as its header says."""
        chance = self.chance
        octets = bytearray(self.ordinary())
        if chance.random() < 0.5:
            self.spoil(octets)
        octets[1] = octets[1] if octets[1] != CLOSE else PING
        octets[0] = 1
        order = ">" if octets[2] & NETWORK_BYTE_ORDER else "<"
        octets[16:20] = struct.pack(order + "I", len(octets) - HEADER.size)
        return bytes(octets)

    def last(self):
        """One behind which the connection may be of no more use."""
        chance = self.chance
        octets = bytearray(self.ordinary())
        kind = chance.randrange(4)
        if kind == 0:
            octets[1] = CLOSE
        elif kind == 1:
            octets[16:20] = struct.pack(">I", chance.choice(NUMBERS))
        elif kind == 2:
            octets[0] = chance.randrange(256)
        else:
            octets = bytearray(chance.randbytes(chance.choice((1, 19, 20, 21, 200))))
        return bytes(octets)

    # Parts

    def name(self, most=20):
        chance = self.chance
        name = chance.choice(self.names)
        kind = chance.random()
        if kind < 0.1:
            name = name[:chance.randrange(len(name) + 1)]
        elif kind < 0.25:
            at = chance.randrange(len(name))
            name = (*name[:at], chance.choice(SUBIDENTIFIERS) % 2**32, *name[at + 1:])
        elif kind < 0.4:
            name = (*name, *(chance.choice(SUBIDENTIFIERS) % 2**32 for _ in range(chance.randint(1, most))))
        elif kind < 0.43:
            name = (*name, *(chance.getrandbits(32) for _ in range(chance.randint(100, 235))))
        prefix = 0
        if name[:4] == (1, 3, 6, 1) and 4 < len(name) and name[4] < 256 and chance.random() < 0.5:
            prefix, name = name[4], name[5:]
        elif chance.random() < 0.02:
            prefix = chance.randrange(256)
        name = name[:255]
        return struct.pack(f">BBBB{len(name)}I", len(name), prefix, chance.choice((0, 0, 1, 255)), 0, *name)

    def ranges(self):
        chance = self.chance
        return b"".join(self.name() + (bytes(4) if chance.random() < 0.7 else self.name())
                        for _ in range(chance.choice((0, 1, 1, 1, 2, 5, 20))))

    def string(self):
        chance = self.chance
        octets = octet_string(chance.randbytes(chance.choice((0, 1, 4, 5, 255, 1000))))
        if chance.random() < 0.05:
            octets = struct.pack(">I", chance.choice(NUMBERS)) + octets[4:]
        return octets

    def variable(self):
        chance = self.chance
        kind = chance.choice((INTEGER, OCTETS, NULL, OID, ADDRESS, COUNTER, GAUGE, TICKS, OPAQUE, COUNTER64, 128, 130,
                              chance.randrange(65536)))
        head = struct.pack(">HH", kind, 0) + self.name()
        if kind in (INTEGER, COUNTER, GAUGE, TICKS):
            return head + struct.pack(">I", chance.choice(NUMBERS))
        if kind == COUNTER64:
            return head + chance.randbytes(8)
        if kind in (OCTETS, ADDRESS, OPAQUE):
            return head + self.string()
        return head + (self.name() if kind == OID else b"")

    def ordinary(self):
        chance = self.chance
        self.packet = self.packet % 2**30 + 1
        kind = chance.choice((GET, GET, GET_NEXT, GET_NEXT, GET_BULK, TEST_SET, TEST_SET, COMMIT_SET, UNDO_SET, CLEANUP_SET,
                              PING, RESPONSE, chance.randrange(256)))
        flags = NETWORK_BYTE_ORDER if chance.random() < 0.95 else chance.randrange(256)
        payload = b""
        if kind in (GET, GET_NEXT):
            payload = self.ranges()
        elif kind == GET_BULK:
            payload = struct.pack(">HH", chance.choice((0, 0, 1, 3)), chance.choice((0, 1, 5, 20))) + self.ranges()
        elif kind == TEST_SET:
            payload = b"".join(self.variable() for _ in range(chance.choice((0, 1, 1, 2, 5))))
        elif kind == RESPONSE:
            payload = struct.pack(">IHH", 0, chance.choice((0, 0, 5, 256, 257, 268)), chance.choice((0, 1, 65535))) + \
                (self.variable() if chance.random() < 0.3 else b"")
        elif kind not in (COMMIT_SET, UNDO_SET, CLEANUP_SET, PING):
            payload = chance.randbytes(chance.choice((0, 4, 8, 40)))
        if chance.random() < 0.1:
            flags |= NON_DEFAULT_CONTEXT
            payload = octet_string(chance.choice((b"", b"blue", b"a\0b", bytes(300), b"\xff\xfe"))) + payload
        session = SESSION if chance.random() < 0.95 else chance.choice(NUMBERS)
        # The messages of one SET share their transaction; there are few, so that they meet.
        transaction = chance.randrange(6) if kind in (TEST_SET, COMMIT_SET, UNDO_SET, CLEANUP_SET) else None
        return message(kind, payload, self.packet, session, flags, transaction)

    def spoil(self, octets):
        chance = self.chance
        for _ in range(chance.choice((1, 1, 2, 4))):
            at = chance.randrange(len(octets))
            kind = chance.randrange(6)
            if kind == 0:
                octets[at] ^= 1 << chance.randrange(8)
            elif kind == 1:
                octets[at] = chance.choice((0, 1, 4, 127, 128, 129, 254, 255))
            elif kind == 2 and len(octets) > HEADER.size:
                at = max(at, HEADER.size)
                del octets[at:at + chance.choice((1, 4, 8))]
            elif kind == 3:
                octets[max(at, HEADER.size):max(at, HEADER.size)] = chance.randbytes(chance.choice((1, 4, 8, 40)))
            elif kind == 4 and len(octets) >= HEADER.size + 4:
                at = chance.randrange(HEADER.size, len(octets) - 3) & ~3
                octets[at:at + 4] = struct.pack(">I", chance.choice(NUMBERS))
            else:
                del octets[max(at, HEADER.size):]
