# SPDX-License-Identifier: MIT
"""SNMP messages of versions 1 and 2c as octets (RFC 1157, RFC 3416): for what no SNMP command would send."""

V1, V2C = 0, 1
GET, GETNEXT, RESPONSE, SET, GETBULK = 0xA0, 0xA1, 0xA2, 0xA3, 0xA5

NO_SUCH_OBJECT, NO_SUCH_INSTANCE, END_OF_MIB_VIEW = "noSuchObject", "noSuchInstance", "endOfMibView"
NULL = ("NULL", None)

NUMBERS = {0x02: "INTEGER", 0x41: "Counter32", 0x42: "Gauge32", 0x43: "Timeticks", 0x46: "Counter64"}
EXCEPTIONS = {0x80: NO_SUCH_OBJECT, 0x81: NO_SUCH_INSTANCE, 0x82: END_OF_MIB_VIEW}
TAGS = {name: tag for tag, name in NUMBERS.items()} | {"STRING": 0x04, "NULL": 0x05, "OID": 0x06}

# Errors of a response (RFC 3416).
NO_ERROR, TOO_BIG, NO_SUCH_NAME, GEN_ERR, NO_ACCESS, WRONG_TYPE, NO_CREATION, NOT_WRITABLE = 0, 1, 2, 5, 6, 7, 11, 17


def tlv(tag, content):
    size = len(content)
    if size < 0x80:
        return bytes([tag, size]) + content
    octets = size.to_bytes((size.bit_length() + 7) // 8, "big")
    return bytes([tag, 0x80 | len(octets)]) + octets + content


def integer(value, tag=0x02):
    return tlv(tag, value.to_bytes(value.bit_length() // 8 + 1, "big", signed=True))


def subidentifier(value):
    octets = [value & 0x7F]
    while value := value >> 7:
        octets.insert(0, 0x80 | value & 0x7F)
    return bytes(octets)


def numbers(oid):
    return tuple(map(int, oid.strip(".").split(".")))


def identifier(oid):
    parts = numbers(oid) if isinstance(oid, str) else tuple(oid)
    return tlv(0x06, b"".join(map(subidentifier, (parts[0] * 40 + parts[1], *parts[2:]))))


def encoded_value(kind, value):
    tag = TAGS[kind]
    if kind in NUMBERS.values():
        return integer(value, tag)
    return identifier(value) if kind == "OID" else tlv(tag, value or b"")


def message(pdu, varbinds, request_id=1, version=V2C, community=b"public", second=0, third=0):
    """One message. varbinds are pairs of an OID and a pair of a type's name and a value. The second and third number
    of the PDU are error status and index, or in a GETBULK non-repeaters and max-repetitions."""
    pairs = [tlv(0x30, identifier(oid) + encoded_value(*value)) for oid, value in varbinds]
    content = integer(request_id) + integer(second) + integer(third) + tlv(0x30, b"".join(pairs))
    return tlv(0x30, integer(version) + tlv(0x04, community) + tlv(pdu, content))


def parts(octets):
    """The (tag, content) that octets consist of."""
    found, at = [], 0
    while at < len(octets):
        tag, size, at = octets[at], octets[at + 1], at + 2
        if size & 0x80:
            count = size & 0x7F
            size, at = int.from_bytes(octets[at:at + count], "big"), at + count
        assert at + size <= len(octets), "a length leads out of the message"
        found.append((tag, octets[at:at + size]))
        at += size
    return found


def oid_text(content):
    subids, value = [], 0
    for octet in content:
        value = value << 7 | octet & 0x7F
        if not octet & 0x80:
            subids.append(value)
            value = 0
    top = min(subids[0] // 40, 2)
    return "." + ".".join(map(str, (top, subids[0] - top * 40, *subids[1:])))


def value_of(tag, content):
    """A value as a pair: its type's name and a number, octets, text or None."""
    if tag in NUMBERS:
        return NUMBERS[tag], int.from_bytes(content, "big", signed=tag == 0x02)
    if tag in EXCEPTIONS:
        return EXCEPTIONS[tag], None
    return {0x04: ("STRING", content), 0x05: NULL}.get(tag) or ("OID", oid_text(content))


class Response:
    """error, index (of the variable that the error is about, from 1) and varbinds of a response."""

    def __init__(self, octets):
        [(_, content)] = parts(octets)
        _, _, (self.pdu, body) = parts(content)
        request_id, error, index, (_, pairs) = parts(body)
        self.request_id, self.error, self.index = (int.from_bytes(part[1], "big", signed=True)
                                                   for part in (request_id, error, index))
        self.varbinds = []
        for _, pair in parts(pairs):
            (_, name), (tag, content) = parts(pair)
            self.varbinds.append((oid_text(name), value_of(tag, content)))
