# SPDX-License-Identifier: MIT
"""What the measurements share: an mplsted of their own, and a manager that sends it a GET every 10 ms."""

import functools
import ipaddress
import os
import re
import select
import socket
import subprocess
import sys
import time
from pathlib import Path

SOURCE = Path(__file__).resolve().parent.parent
INTERVAL = 0.010
PATIENCE = 60
MPLS_TUNNEL_NAME = "1.3.6.1.2.1.10.166.3.2.2.1.5"


def use(build):
    """Makes the tests' own modules known, for the programs in this folder."""
    os.environ.update({"MPLSTE_BUILD_DIR": str(build), "MPLSTE_SOURCE_DIR": str(SOURCE)})
    sys.path.insert(0, str(SOURCE / "tests" / "integration"))
    sys.dont_write_bytecode = True


def simulate(build, seed, tunnels, hops):
    size = [f"--tunnels={tunnels}", f"--hops={hops}", f"--seed={seed}"]
    return subprocess.run([build / "mplste", "simulate", *size], stdout=subprocess.PIPE, check=True).stdout


def name_of_first_row(document):
    """mplsTunnelName of a row that is there as soon as there are any: of the sp id that is published first."""
    egress, tunnel, ingress, lsp = re.search(rb'"spStatus": *{\s*"([^"]+)"', document)[1].decode().split("/")
    lsr_id = [int(ipaddress.ip_address(address)) for address in (ingress, egress)]
    return f"{MPLS_TUNNEL_NAME}.{tunnel}.{lsp}.{lsr_id[0]}.{lsr_id[1]}"


def free_port():
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as found:
        found.bind(("127.0.0.1", 0))
        return found.getsockname()[1]


def start(build, folder, port, *arguments):
    """An mplsted, and the file that its ready line goes to."""
    from support import mplsted
    ready = Path(folder) / "ready"
    with open(ready, "wb") as out:
        process = subprocess.Popen([build / "mplsted", "--listen", f"udp:127.0.0.1:{port}", *arguments],
                                   stdout=out, env=mplsted.environment(folder), cwd=folder)
    return process, ready


class Poller:
    """Asks every 10 ms, whether or not the last answer has come."""

    def __init__(self, port, oid):
        self.oid = oid
        self.socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.socket.connect(("127.0.0.1", port))
        self.socket.setblocking(False)
        self.last_id = 0
        self.sent = {}      # request id: when
        self.value = None   # as last answered
        self.others = []    # what else is worth a look when it can be read

    def ask(self):
        from support import ber
        self.last_id += 1
        try:
            self.socket.send(ber.message(ber.GET, [(self.oid, ber.NULL)], self.last_id, community=b"public"))
        except ConnectionRefusedError:      # nobody listened to the last one: it is too early
            self.sent.clear()
            return
        self.sent[self.last_id] = now()

    def receive(self):
        """The times to the answers that are there."""
        from support import ber
        while True:
            try:
                octets = self.socket.recv(65536)
            except BlockingIOError:
                return
            except ConnectionRefusedError:
                self.sent.clear()
                continue
            received = now()
            response = ber.Response(octets)
            [(_, self.value)] = response.varbinds
            asked = self.sent.pop(response.request_id, None)
            if asked is not None:
                yield received - asked

    def until(self, over):
        """Asks until over() is true and all is answered; returns the times in milliseconds."""
        times, due, end = [], time.monotonic(), time.monotonic() + PATIENCE
        while not (finished := over()) or self.sent:
            if time.monotonic() > end:
                sys.exit(f"{len(self.sent)} requests without an answer")
            if not finished and time.monotonic() >= due:
                due = max(due + INTERVAL, time.monotonic())
                self.ask()
            select.select([self.socket, *self.others], [], [], max(0, due - time.monotonic()) if not finished else INTERVAL)
            times += [1000 * seconds for seconds in self.receive()]
        return times


# What an answer takes is measured by this.
now = time.monotonic


def count_time_of(process):
    """From now on an answer takes what this process has computed until it came: what it would take on a machine that has
    nothing else to do. REQUIRES: the manager learns of it at once."""
    global now
    clock = ~process.pid << 3 | 2   # as clock_getcpuclockid(3) makes it
    now = functools.partial(time.clock_gettime, clock)


def show(phase, times, width=22):
    times = sorted(times)
    percentile = [times[min(len(times) - 1, len(times) * percent // 100)] for percent in (50, 99)]
    print(f"{phase:<{width}}{len(times):>9}{percentile[0]:>9.2f}{percentile[1]:>9.2f}{times[-1]:>9.2f}", flush=True)
    return times
