# SPDX-License-Identifier: MIT
"""mplsTunnelPerfTable shows what the forwarding process counts in shared memory, at the moment of each request."""

import os
import subprocess
from pathlib import Path

import pytest
from support import ber
from support.manager import Manager
from support.mplsted import BUILD, HEAD_END, Mplsted, run
from support.stand_in import await_true
from support.tree import EXPECTED, TABLES, below

PERF = f"{TABLES['perf']}.1"
PACKETS, HC_PACKETS, BYTES, HC_BYTES = 1, 2, 4, 5
PARIS, ROME_2 = "12.1.167772161.167772169", "40.7.167772161.167772180"
ROWS = [oid.removeprefix(f"{PERF}.1.") for oid, _ in below(f"{PERF}.1", EXPECTED)]


@pytest.fixture(scope="module")
def segment():
    """The name of a counter segment; whatever has it at the end is removed."""
    name = f"mplste-perf-test-{os.getpid()}"
    yield name
    Path("/dev/shm", name).unlink(missing_ok=True)


@pytest.fixture
def count(segment):
    """A function that counts as the forwarding process would; it starts without anything counted."""
    def call(*arguments):
        subprocess.run([BUILD / "mplste", "counters", "--name", segment, *map(str, arguments)], check=True, timeout=60,
                       stdin=subprocess.DEVNULL, capture_output=True)
    Path("/dev/shm", segment).unlink(missing_ok=True)
    return call


@pytest.fixture(scope="module")
def daemon(tmp_path_factory, segment):
    with Mplsted(tmp_path_factory.mktemp("mplsted"), "--counters", segment) as mplsted:
        yield mplsted


@pytest.fixture
def agent(daemon):
    manager = Manager(daemon.address)
    yield manager
    manager.close()


def row(agent, index):
    """Packets and bytes, each as 32 and as 64 bits."""
    response = agent.get(*(f"{PERF}.{column}.{index}" for column in (PACKETS, HC_PACKETS, BYTES, HC_BYTES)))
    assert response.error == ber.NO_ERROR
    assert [kind for _, (kind, _) in response.varbinds] == ["Counter32", "Counter64", "Counter32", "Counter64"]
    return tuple(value for _, (_, value) in response.varbinds)


def await_row(agent, index, wanted):
    """The agent may take a moment to see that there is another segment."""
    await_true(lambda: row(agent, index) == wanted, f"{wanted} at {index}")


def test_without_counters_all_tunnels_read_zero(agent, count):
    for index in ROWS:
        await_row(agent, index, (0, 0, 0, 0))


def test_each_tunnel_has_its_own_counters(agent, count):
    count("set", "16:12", 10, 8000)
    count("set", "20:40", 7, 700)
    await_row(agent, PARIS, (10, 10, 8000, 8000))
    await_row(agent, ROME_2, (7, 7, 700, 700))
    assert [row(agent, index) for index in ROWS if index not in (PARIS, ROME_2)] == [(0, 0, 0, 0)] * (len(ROWS) - 2)


def test_each_request_reads_anew(agent, count):
    count("set", "16:12", 1, 100)
    await_row(agent, PARIS, (1, 1, 100, 100))
    for packets in range(2, 6):
        count("add", "16:12", 1, 100)
        assert row(agent, PARIS) == (packets, packets, packets * 100, packets * 100)


def test_32_bit_counters_wrap_where_64_bit_counters_go_on(agent, count):
    count("set", "16:12", 2**32 + 5, 2**64 - 1)
    await_row(agent, PARIS, (5, 2**32 + 5, 2**32 - 1, 2**64 - 1))


def test_counters_that_are_removed_read_zero_again(agent, count):
    count("set", "16:12", 10, 8000)
    await_row(agent, PARIS, (10, 10, 8000, 8000))
    count("remove", "--all")
    await_row(agent, PARIS, (0, 0, 0, 0))


def test_a_name_that_no_shared_memory_can_have_is_refused(tmp_path):
    done = run(tmp_path, "--state", HEAD_END, "--listen", "udp:127.0.0.1:0", "--counters", "a/b")
    assert (done.returncode, done.stdout) == (1, "")
    assert done.stderr.startswith("mplsted: ") and "a/b" in done.stderr and done.stderr.count("\n") == 1
