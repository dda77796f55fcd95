# SPDX-License-Identifier: MIT
"""A manager that sends one message at a time to an agent on loopback, over UDP."""

import socket
import time

from support import ber
from support.ber import GET, GETBULK, GETNEXT, NULL, SET

DEADLINE = 20
RETRY = 1


class Manager:
    def __init__(self, address, community=b"public"):
        """address: "udp:127.0.0.1:PORT"."""
        _, host, port = address.split(":")
        self.community = community
        self.socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.socket.connect((host, int(port)))
        self.socket.settimeout(RETRY)
        self.last_id = 0

    def close(self):
        self.socket.close()

    def send(self, octets):
        self.socket.send(octets)

    def request(self, pdu, varbinds, **options):
        """The response to a request. It is sent again when it seems to be lost: an agent that is busy drops packets.
        What answers another request is passed over."""
        self.last_id += 1
        octets = ber.message(pdu, varbinds, self.last_id, **({"community": self.community} | options))
        deadline = time.monotonic() + DEADLINE
        self.send(octets)
        while time.monotonic() < deadline:
            try:
                response = ber.Response(self.socket.recv(65536))
            except TimeoutError:
                self.send(octets)
                continue
            if response.request_id == self.last_id:
                return response
        raise TimeoutError("the agent does not answer")

    def get(self, *oids, **options):
        return self.request(GET, [(oid, NULL) for oid in oids], **options)

    def get_next(self, *oids, **options):
        return self.request(GETNEXT, [(oid, NULL) for oid in oids], **options)

    def get_bulk(self, *oids, non_repeaters=0, max_repetitions=10):
        return self.request(GETBULK, [(oid, NULL) for oid in oids], second=non_repeaters, third=max_repetitions)

    def walk(self, root):
        """{OID: (type, value)} of all below root, in order, read with GETBULK."""
        found, oid = {}, root
        while True:
            for oid, value in self.get_bulk(oid, max_repetitions=40).varbinds:
                if not oid.startswith(root + ".") or value[1] is None:
                    return found
                found[oid] = value

    def set(self, *varbinds, **options):
        return self.request(SET, varbinds, **options)

    def value(self, oid, **options):
        """The value of one variable."""
        response = self.get(oid, **options)
        assert response.error == ber.NO_ERROR
        [(name, value)] = response.varbinds
        assert name == oid
        return value
