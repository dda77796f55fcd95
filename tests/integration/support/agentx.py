# SPDX-License-Identifier: MIT
"""An AgentX master that a test plays itself (RFC 2741), on a unix socket: for what snmpd would not do."""

import socket
import struct
from collections import namedtuple

from support.ber import numbers
from support.stand_in import DEADLINE

OPEN, CLOSE, REGISTER, UNREGISTER, GET, PING, ADD_AGENT_CAPS, REMOVE_AGENT_CAPS, RESPONSE = 1, 2, 3, 4, 5, 13, 16, 17, 18
# What mplsted registers: three tables and six scalars. And it says once what sysORTable is to say.
REGISTRATIONS = 9
NETWORK_BYTE_ORDER = 0x10
HEADER = struct.Struct(">BBBxIIII")
SESSION = 7

Message = namedtuple("Message", "type session transaction packet payload")


def object_identifier(oid):
    parts = numbers(oid)
    return struct.pack(f">BBBB{len(parts)}I", len(parts), 0, 0, 0, *parts)


def message(kind, payload, packet=0):
    return HEADER.pack(1, kind, NETWORK_BYTE_ORDER, SESSION, packet, packet, len(payload)) + payload


def get(oid, packet):
    return message(GET, object_identifier(oid) + bytes(4), packet)


class ScriptedMaster:
    def __init__(self, path):
        self.address = f"unix:{path}"
        self.listener = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self.listener.settimeout(DEADLINE)
        self.listener.bind(str(path))
        self.listener.listen()
        self.stream = None

    def accept(self):
        self.stream, _ = self.listener.accept()
        self.stream.settimeout(DEADLINE)

    def octets(self, size):
        found = b""
        while len(found) < size:
            more = self.stream.recv(size - len(found))
            if not more:
                raise EOFError
            found += more
        return found

    def receive(self):
        """The next message. Numbers of a subagent are in the byte order that its flags say."""
        header = self.octets(HEADER.size)
        order = ">" if header[2] & NETWORK_BYTE_ORDER else "<"
        _, kind, _, *rest, size = struct.unpack(order + "BBBxIIII", header)
        return Message(kind, *rest, self.octets(size))

    def answer(self, request, error=0):
        self.stream.sendall(HEADER.pack(1, RESPONSE, NETWORK_BYTE_ORDER, SESSION, request.transaction, request.packet,
                                        8) + struct.pack(">IHH", 0, error, 1 if error else 0))

    def take_on(self, registrations=REGISTRATIONS):
        """Accepts a subagent, and all that it registers."""
        self.accept()
        kinds = []
        for _ in range(2 + registrations):
            request = self.receive()
            kinds.append(request.type)
            self.answer(request)
        assert kinds == [OPEN] + [REGISTER] * registrations + [ADD_AGENT_CAPS]

    def close(self):
        for open_socket in (self.stream, self.listener):
            if open_socket:
                open_socket.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()
