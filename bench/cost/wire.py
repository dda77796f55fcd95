# SPDX-License-Identifier: MIT
"""SNMP messages made before the clock runs, and a manager that has one request outstanding."""

import socket

from support import ber

PATIENCE = 60


def get(*oids):
    return ber.message(ber.GET, [(oid, ber.NULL) for oid in oids])


def get_next(*oids, version=ber.V2C):
    return ber.message(ber.GETNEXT, [(oid, ber.NULL) for oid in oids], version=version)


def get_bulk(repetitions, *oids, non_repeaters=0):
    return ber.message(ber.GETBULK, [(oid, ber.NULL) for oid in oids], second=non_repeaters, third=repetitions)


def header(octets, at):
    """Where the content of the element at a place begins and ends."""
    size = octets[at + 1]
    if size < 0x80:
        return at + 2, at + 2 + size
    begin = at + 2 + (size & 0x7F)
    return begin, begin + int.from_bytes(octets[at + 2:begin], "big")


def variables(answer):
    """The names of an answer's variables, in BER, and its error status."""
    at, _ = header(answer, 0)
    for _ in range(2):   # version and community
        _, at = header(answer, at)
    at, _ = header(answer, at)
    _, at = header(answer, at)   # request-id
    begin, at = header(answer, at)
    error = int.from_bytes(answer[begin:at], "big")
    _, at = header(answer, at)   # error-index
    at, end = header(answer, at)
    names = []
    while at < end:
        name, at = header(answer, at)
        names.append(answer[name:header(answer, name)[1]])
    return names, error


class Manager:
    """Asks one agent over UDP on the loopback interface."""

    def __init__(self, port):
        self.socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.socket.settimeout(PATIENCE)
        self.socket.connect(("127.0.0.1", port))

    def ask(self, message):
        self.socket.send(message)
        return self.socket.recv(65536)

    def walk(self, oid, repetitions=100):
        """The names below an OID, in BER, message by message."""
        root = ber.identifier(oid)[2:]
        name = ber.identifier(oid)
        while True:
            message = ber.tlv(0x30, name + b"\x05\x00")
            pdu = ber.integer(1) + ber.integer(0) + ber.integer(repetitions) + ber.tlv(0x30, message)
            names, error = variables(self.ask(ber.tlv(0x30, ber.integer(ber.V2C) + ber.tlv(0x04, b"public") +
                                                      ber.tlv(ber.GETBULK, pdu))))
            assert error == 0, f"error {error} in a walk of {oid}"
            inside = [found for found in names if found[header(found, 0)[0]:].startswith(root)]
            if inside:
                yield inside
            if len(inside) < len(names) or not names or names[-1] == name:
                return
            name = names[-1]
