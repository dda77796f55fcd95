# SPDX-License-Identifier: MIT
"""Octets that are no SNMP message are survived."""

import random

import pytest
from support import ber
from support.tree import EXPECTED, TABLES

NAME = f"{TABLES['tunnel']}.1.5.12.1.167772161.167772169"

MESSAGES = {
    "GET": ber.message(ber.GET, [(NAME, ber.NULL), (EXPECTED[-1][0], ber.NULL)]),
    "GETNEXT": ber.message(ber.GETNEXT, [(NAME, ber.NULL)], version=ber.V1),
    "GETBULK": ber.message(ber.GETBULK, [(NAME, ber.NULL)], third=20),
    "SET": ber.message(ber.SET, [(NAME, ("STRING", b"to-rome"))], community=b"private"),
}


@pytest.fixture(autouse=True)
def the_agent_goes_on(manager):
    yield
    manager.last_id = 10**6   # what comes late answers none of the requests to come
    assert manager.value(NAME) == ("STRING", b"to-paris")


@pytest.mark.parametrize("octets", MESSAGES.values(), ids=MESSAGES)
def test_a_message_may_end_anywhere(manager, octets):
    for length in range(len(octets)):
        manager.send(octets[:length])


@pytest.mark.parametrize("octets", MESSAGES.values(), ids=MESSAGES)
def test_any_octet_may_be_wrong(manager, octets):
    for at in range(len(octets)):
        for value in (0x00, 0x7F, 0x80, 0x84, 0xFF, octets[at] ^ 0x01):
            manager.send(octets[:at] + bytes([value]) + octets[at + 1:])


@pytest.mark.parametrize("octets", MESSAGES.values(), ids=MESSAGES)
def test_a_message_may_be_followed_by_more(manager, octets):
    manager.send(octets + b"\0" * 1000)
    manager.send(octets * 20)


def test_random_octets(manager):
    chance = random.Random(3416)
    for _ in range(500):
        manager.send(chance.randbytes(chance.choice((1, 2, 10, 100, 1000))))


def test_an_empty_and_a_full_packet(manager):
    manager.send(b"")
    manager.send(b"\x30" * 65507)


def test_a_version_3_message_that_breaks_off(manager, head_end):
    """The first message of version 3 that a command sends: it asks for the engine's id."""
    parameters = ber.tlv(0x30, ber.tlv(4, b"") + ber.integer(0) * 2 + ber.tlv(4, b"") * 3)
    header = ber.tlv(0x30, ber.integer(1) + ber.integer(65507) + ber.tlv(4, b"\x04") + ber.integer(3))
    pdu = ber.tlv(ber.GET, ber.integer(1) + ber.integer(0) * 2 + ber.tlv(0x30, b""))
    octets = ber.tlv(0x30, ber.integer(3) + header + ber.tlv(4, parameters)
                     + ber.tlv(0x30, ber.tlv(4, b"") * 2 + pdu))
    for length in range(len(octets) + 1):
        manager.send(octets[:length])
    assert manager.socket.recv(65536), "the whole message is answered with a report"
