# SPDX-License-Identifier: MIT
"""The agents that are measured, on loopback, each with its processes and their CPU time."""

import subprocess
import time
from pathlib import Path

from cost import wire
from support import ber
from support.master import Master, Snmpd
from support.mplsted import BUILD, Mplsted, environment
from support.stand_in import await_true, free_udp_port

TUNNELS = "1.3.6.1.2.1.10.166.3.2.2"
HOPS = "1.3.6.1.2.1.10.166.3.2.4"
PERF = "1.3.6.1.2.1.10.166.3.2.9"
SERVED = [*range(5, 11), *range(12, 17), 20, 21, 24, 25, 26, 28, 30, *range(33, 38)]
YARDSTICK = "1.3.6.1.4.1.99999"
COLUMNS = len(SERVED)
SYS_DESCR = "1.3.6.1.2.1.1.1.0"


def cpu(process):
    """Nanoseconds that a process with one thread has run."""
    return int(Path(f"/proc/{process.pid}/schedstat").read_text(encoding="ascii").split()[0])


class Subject:
    """A table to ask for: 23 columns of rows with the index of mplsTunnelTable."""

    def __init__(self, name, size, port, processes, rows, columns, scalar=SYS_DESCR):
        """processes: those whose CPU counts, by what they are called. columns: the OIDs of the columns."""
        self.name, self.size, self.rows, self.columns, self.scalar = name, size, rows, columns, scalar
        self.manager, self.processes = wire.Manager(port), processes

    def clock(self):
        return {what: cpu(process) for what, process in self.processes.items()}


def port_of(address):
    return int(address.rsplit(":", 1)[1])


def document(folder, tunnels):
    path = Path(folder) / f"{tunnels}.json"
    if not path.exists():
        with open(path, "wb") as output:
            subprocess.run([BUILD / "mplste", "simulate", f"--tunnels={tunnels}", "--hops=5"], stdout=output, check=True)
    return path


def own_columns():
    return [f"{TUNNELS}.1.{number}" for number in SERVED]


def await_rows(manager, tunnels):
    """The indices of all rows, as soon as all are there."""
    deadline = time.monotonic() + 60
    while True:
        rows = [ber.numbers(ber.oid_text(name[wire.header(name, 0)[0]:]))[-4:]
                for names in manager.walk(f"{TUNNELS}.1.5") for name in names]
        if len(rows) >= tunnels:
            return rows
        assert time.monotonic() < deadline, f"{len(rows)} of {tunnels} rows"


class Agents:
    """Starts agents, and ends them all when it is left."""

    def __init__(self, folder):
        self.folder, self.ends, self.rows = Path(folder), [], {}

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for end in reversed(self.ends):
            end()

    def place(self, name):
        place = self.folder / name
        place.mkdir()
        return place

    def own(self, tunnels):
        """mplsted that answers by itself."""
        place = self.place(f"own-{tunnels}")
        agent = Mplsted(place, "--state", document(self.folder, tunnels), file=False)
        agent.__enter__()
        self.ends.append(lambda: agent.__exit__(None, None, None))
        port = port_of(agent.address)
        self.rows[tunnels] = await_rows(wire.Manager(port), tunnels)
        return Subject("mplsted", tunnels, port, {"agent": agent.process}, self.rows[tunnels], own_columns())

    def in_snmpd(self, tunnels):
        """A stock snmpd with the plug-in inside."""
        place = self.place(f"snmpd-{tunnels}")
        agent = Snmpd(place, f"dlmod mplsTe {BUILD}/mplsTe.so", f"mplsteState {document(self.folder, tunnels)}")
        agent.start()
        self.ends.append(agent.end)
        port = port_of(agent.address)
        await_rows(wire.Manager(port), tunnels)
        return Subject("in snmpd", tunnels, port, {"agent": agent.process}, self.rows[tunnels], own_columns())

    def subagent(self, tunnels):
        """mplsted behind an AgentX master."""
        place = self.place(f"agentx-{tunnels}")
        master = Master(place)
        master.start()
        self.ends.append(master.end)
        subagent = Mplsted(place, "--state", document(self.folder, tunnels), "--agentx", master.socket, file=False,
                           listen=(), access=None)
        subagent.__enter__()
        self.ends.append(lambda: subagent.__exit__(None, None, None))
        port = port_of(master.address)
        await_rows(wire.Manager(port), tunnels)
        return Subject("AgentX", tunnels, port, {"agent": subagent.process, "master": master.process},
                       self.rows[tunnels], own_columns())

    def rows_file(self, tunnels):
        path = self.folder / f"{tunnels}.rows"
        path.write_text("".join(f"{' '.join(map(str, row))} tunnel-{n}\n" for n, row in enumerate(self.rows[tunnels])),
                        encoding="ascii")
        return path

    def yardstick(self, tunnels):
        """The stock library with the same rows: in netsnmp_tdata, and behind a bare handler."""
        port = free_udp_port()
        process = self.run_yardstick("listen", f"udp:127.0.0.1:{port}", tunnels)
        return [Subject(name, tunnels, port, {"agent": process}, self.rows[tunnels],
                        [f"{YARDSTICK}.{table}.1.{column}" for column in range(1, COLUMNS + 1)], f"{YARDSTICK}.1.0")
                for name, table in (("tdata", 2), ("floor", 3))]

    def yardstick_subagent(self, tunnels):
        """The same as a subagent of the stock library."""
        place = self.place(f"yardstick-{tunnels}")
        master = Master(place, access="rocommunity public 127.0.0.1\n")
        master.start()
        self.ends.append(master.end)
        process = self.run_yardstick("agentx", master.socket, tunnels)
        port = port_of(master.address)
        manager = wire.Manager(port)
        await_true(lambda: wire.variables(manager.ask(wire.get_next(f"{YARDSTICK}.2")))[0][0][2:].startswith(
            ber.identifier(YARDSTICK)[2:]), "the master to serve the yardstick")
        return Subject("AgentX tdata", tunnels, port, {"agent": process, "master": master.process}, self.rows[tunnels],
                       [f"{YARDSTICK}.2.1.{column}" for column in range(1, COLUMNS + 1)])

    def run_yardstick(self, how, address, tunnels):
        process = subprocess.Popen([BUILD / "yardstick", how, address, self.rows_file(tunnels)], text=True,
                                   stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                   env=environment(self.folder / f"yardstick-{how}"))
        self.ends.append(lambda: (process.kill(), process.wait()))
        assert process.stdout.readline() == "ready\n", "the yardstick does not start"
        return process


def index_text(row):
    return ".".join(map(str, row))
