# SPDX-License-Identifier: MIT
"""A stand-in for the agent: a stock snmpd on loopback that serves rows a test makes up."""

import ipaddress
import json
import os
import socket
import subprocess
import sys
import time
from pathlib import Path

MPLS_TE = "1.3.6.1.2.1.10.166.3.2"
DEADLINE = 20

# Column numbers and types of what the agent serves.
TUNNEL = {"name": (5, "text"), "descr": (6, "text"), "isIf": (7, "integer"), "ifIndex": (8, "integer"),
          "owner": (9, "integer"), "role": (10, "integer"), "signallingProto": (12, "integer"),
          "setupPrio": (13, "integer"), "holdingPrio": (14, "integer"), "sessionAttributes": (15, "octet"),
          "localProtectInUse": (16, "integer"), "hopTableIndex": (20, "gauge"), "pathInUse": (21, "gauge"),
          "includeAnyAffinity": (24, "gauge"), "includeAllAffinity": (25, "gauge"),
          "excludeAnyAffinity": (26, "gauge"), "instanceUpTime": (28, "timeticks"), "pathChanges": (30, "counter"),
          "stateTransitions": (33, "counter"), "adminStatus": (34, "integer"), "operStatus": (35, "integer"),
          "rowStatus": (36, "integer"), "storageType": (37, "integer")}
HOP = {"addrType": (4, "integer"), "ipAddr": (5, "octet"), "ipPrefixLen": (6, "gauge"), "asNumber": (7, "octet"),
       "addrUnnum": (8, "octet"), "lspId": (9, "octet"), "type": (10, "integer"), "include": (11, "integer"),
       "pathOptionName": (12, "text"), "entryPathComp": (13, "integer"), "rowStatus": (14, "integer"),
       "storageType": (15, "integer")}
PERF = {"packets": (1, "counter"), "hcPackets": (2, "counter64"), "bytes": (4, "counter"), "hcBytes": (5, "counter64")}


def row(table, columns, index, values):
    return {f"{MPLS_TE}.{table}.1.{columns[key][0]}.{index}": [columns[key][1], value]
            for key, value in values.items() if value is not None}


def tunnel(name, index, egress, instance=1, ingress="192.0.2.1", packets=0, octets=0, **values):
    """The variables of a tunnel with its counters. A value of None leaves the column out."""
    key = f"{index}.{instance}.{int(ipaddress.IPv4Address(ingress))}.{int(ipaddress.IPv4Address(egress))}"
    ordinary = {"name": name, "descr": "", "isIf": 2, "ifIndex": 0, "owner": 6, "role": 1, "signallingProto": 2,
                "setupPrio": 7, "holdingPrio": 0, "sessionAttributes": "28", "localProtectInUse": 2,
                "hopTableIndex": 0, "pathInUse": 1, "includeAnyAffinity": 0, "includeAllAffinity": 0,
                "excludeAnyAffinity": 0, "instanceUpTime": 0, "pathChanges": 0, "stateTransitions": 1,
                "adminStatus": 1, "operStatus": 1, "rowStatus": 1, "storageType": 5}
    counters = {"packets": packets % 2**32, "hcPackets": packets, "bytes": octets % 2**32, "hcBytes": octets}
    return row(2, TUNNEL, key, ordinary | values) | row(9, PERF, key, counters)


def hops(hop_list, path, addresses):
    """The variables of a path's hops."""
    variables = {}
    for number, address in enumerate(map(ipaddress.ip_address, addresses), 1):
        variables |= row(4, HOP, f"{hop_list}.1.{number}", {
            "addrType": 1 if address.version == 4 else 2, "ipAddr": address.packed.hex(" "),
            "ipPrefixLen": address.max_prefixlen, "asNumber": "c0 80 c0 80", "addrUnnum": "c0 80 c0 80",
            "lspId": "c0 80", "type": 1, "include": 1, "pathOptionName": path, "entryPathComp": 2, "rowStatus": 1,
            "storageType": 5})
    return variables


def await_true(condition, what, seconds=DEADLINE):
    """The first true value of condition(), which must come before long."""
    deadline = time.monotonic() + seconds
    while True:
        result = condition()
        if result:
            return result
        assert time.monotonic() < deadline, f"waited in vain for {what}"
        time.sleep(0.02)


def free_udp_port():
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def free_tcp_port():
    with socket.socket(socket.AF_INET, socket.SOCK_STREAM) as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class StandIn:
    """An snmpd that serves the published variables to the community "public", and only itself to "narrow"."""

    def __init__(self, folder, serve=True):
        self.folder = Path(folder)
        self.variables = self.folder / "variables.json"
        self.address = f"udp:127.0.0.1:{free_udp_port()}"
        self.process = None
        script = Path(__file__).with_name("pass_tables.py")
        lines = ["rocommunity public 127.0.0.1",
                 "view narrow included .1.3.6.1.2.1.1",
                 "rocommunity narrow 127.0.0.1 -V narrow",
                 "dontLogTCPWrappersConnects yes"]
        if serve:
            lines.append(f"pass_persist .{MPLS_TE} {sys.executable} -B {script} {self.variables}")
        (self.folder / "snmpd.conf").write_text("\n".join(lines) + "\n", encoding="utf-8")
        self.publish({})

    def publish(self, variables):
        """Makes these the variables served from now on."""
        new = self.variables.with_suffix(".new")
        new.write_text(json.dumps(variables), encoding="utf-8")
        os.replace(new, self.variables)

    def start(self):
        log = self.folder / "snmpd.log"
        with open(log, "w", encoding="utf-8") as output:
            self.process = subprocess.Popen(
                ["/usr/sbin/snmpd", "-f", "-Lo", "-C", "-c", str(self.folder / "snmpd.conf"),
                 f"--persistentDir={self.folder / 'persistent'}", self.address],
                stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.STDOUT, env=os.environ | {"MIBS": ""})
        await_true(lambda: self.process.poll() is not None or "NET-SNMP version" in log.read_text(), "snmpd to start")
        assert self.process.poll() is None, log.read_text()

    def stop(self):
        if self.process:
            self.process.terminate()
            self.process.wait(DEADLINE)
            self.process = None

    def __enter__(self):
        self.start()
        return self

    def __exit__(self, *_):
        self.stop()
