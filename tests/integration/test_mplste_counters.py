# SPDX-License-Identifier: MIT
"""mplste counters writes counters where the agent reads them, and lists what is there."""

import json
import os
import re
import signal
import subprocess
import time
from pathlib import Path

import pytest

MPLSTE = Path(os.environ["MPLSTE_BUILD_DIR"]) / "mplste"
STATE = Path(os.environ["MPLSTE_SOURCE_DIR"]) / "examples" / "headend.json"
DEADLINE = 20


@pytest.fixture
def segment():
    """The name of a counter segment; whatever has it at the end is removed."""
    name = f"mplste-test-{os.getpid()}"
    file = Path("/dev/shm", name)
    file.unlink(missing_ok=True)
    yield name
    file.unlink(missing_ok=True)


@pytest.fixture
def counters(segment):
    """A function that runs mplste counters for the segment."""
    def run(*arguments):
        return subprocess.run([MPLSTE, "counters", "--name", segment, *map(str, arguments)], stdin=subprocess.DEVNULL,
                              capture_output=True, encoding="utf-8", timeout=60)
    return run


def output(done):
    assert (done.returncode, done.stderr) == (0, "")
    return done.stdout


def refusal(done):
    """The one line on stderr of a command that has failed."""
    assert (done.returncode, done.stdout) == (1, "")
    assert re.fullmatch(r"mplste: .+\n", done.stderr), done.stderr
    return done.stderr.removeprefix("mplste: ").removesuffix("\n")


def listed(counters, *arguments):
    return json.loads(output(counters("list", "--json", *arguments)))["counters"]


def test_counters_are_set_added_to_and_listed(counters):
    assert output(counters("set", "16:12", 10, 10000)) == ""
    assert output(counters("add", "tunnel", 12, 5, 5000)) == ""
    assert output(counters("add", "subtunnel", 40, 1, 2**64 - 1)) == ""
    assert output(counters("list")) == """\
TUNNEL  NAME  PACKETS                 BYTES
16:12   -          15                 15000
20:40   -           1  18446744073709551615

2 tunnels
"""
    assert listed(counters) == [{"tunnel": "16:12", "packets": 15, "bytes": 15000},
                                {"tunnel": "20:40", "packets": 1, "bytes": 2**64 - 1}]


def test_tunnels_are_called_by_their_ids_with_a_state(counters):
    output(counters("set", "cli:to-paris", 1, 1000, "--state", STATE))
    output(counters("--state", STATE, "set", "cli:to-rome#2", 2, 2000))
    output(counters("set", "16:99999", 3, 3000))
    assert listed(counters, "--state", STATE) == [
        {"tunnel": "16:12", "name": "cli:to-paris", "packets": 1, "bytes": 1000},
        {"tunnel": "16:99999", "name": None, "packets": 3, "bytes": 3000},
        {"tunnel": "20:40", "name": "cli:to-rome#2", "packets": 2, "bytes": 2000}]


def test_traffic_runs_over_all_tunnels_of_a_state(counters):
    assert output(counters("run", "--state", STATE, "--count", 2, "--rate", 25, "--size", 100)) \
        == f"counting 15 tunnels in mplste-test-{os.getpid()}\n"
    rows = listed(counters)
    assert len(rows) == 15
    assert {(row["packets"], row["bytes"]) for row in rows} == {(5, 500)}, "2 and a half packets, twice"


def await_line(process):
    line = process.stdout.readline()
    assert line, process.stderr.read()
    return line


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM])
def test_traffic_runs_until_it_is_told_to_end(counters, segment, number):
    with subprocess.Popen([MPLSTE, "counters", "run", "16:1", "--name", segment], stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE, encoding="utf-8") as process:
        try:
            assert await_line(process) == f"counting 1 tunnel in {segment}\n"
            assert refusal(counters("set", "16:1", 1, 1)) \
                == f"counter segment {segment}: another process is its writer"
            end = time.monotonic() + DEADLINE
            while time.monotonic() < end and not (listed(counters) and listed(counters)[0]["packets"] > 100):
                pass
            process.send_signal(number)
            assert process.wait(DEADLINE) == 0
        finally:
            process.kill()
    row, = listed(counters)
    assert row["packets"] > 100 and row["bytes"] == row["packets"] * 800, "the counters stay"


def test_traffic_ends_when_its_segment_is_gone(counters, segment):
    with subprocess.Popen([MPLSTE, "counters", "run", "16:1", "--name", segment], stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.PIPE, encoding="utf-8") as process:
        try:
            await_line(process)
            Path("/dev/shm", segment).unlink()
            assert process.wait(DEADLINE) == 1
            assert process.stderr.read() == f"mplste: counter segment {segment}: was removed or replaced\n"
        finally:
            process.kill()


def test_a_full_table_says_so_and_keeps_what_it_has(counters, segment):
    output(counters("set", "16:1", 1, 1000, "--capacity", 1))
    assert refusal(counters("set", "16:2", 2, 2000)) == f"counter segment {segment}: the table is full"
    assert refusal(counters("add", "16:2", 2, 2000)) == f"counter segment {segment}: the table is full"
    assert listed(counters) == [{"tunnel": "16:1", "packets": 1, "bytes": 1000}]
    assert refusal(counters("set", "16:1", 1, 1, "--capacity", 2)) \
        == f"counter segment {segment}: the segment has another capacity"


def test_tunnels_and_segments_are_removed(counters, segment):
    for index in (1, 2, 3):
        output(counters("set", f"16:{index}", index, 0))
    assert refusal(counters("remove", "16:1", "16:4")) == f"counter segment {segment}: no tunnel 16:4"
    output(counters("remove", "16:1", "16:3"))
    assert [row["tunnel"] for row in listed(counters)] == ["16:2"], "a refused removal removes nothing"
    assert refusal(counters("remove")) == refusal(counters("remove", "16:2", "--all")) == "either tunnels, or --all"
    output(counters("remove", "--all"))
    for command in (["list"], ["remove", "--all"], ["remove", "16:2"]):
        assert refusal(counters(*command)) == f"counter segment {segment}: not there"


def test_damage_is_told_and_the_rest_is_listed(counters, segment):
    for index in (1, 2):
        output(counters("set", f"16:{index}", index, 0, "--capacity", 2))
    file = Path("/dev/shm", segment)
    octets = bytearray(file.read_bytes())
    entry = next(at for at in range(64, len(octets), 64) if octets[at:at + 8] == bytes([1, 0, 0, 0, 0, 0, 0, 16]))
    octets[entry + 16] ^= 1
    file.write_bytes(octets)
    done = counters("list", "--json")
    assert [row["tunnel"] for row in json.loads(done.stdout)["counters"]] == ["16:2"]
    assert done.returncode == 1
    assert done.stderr == f"mplste: counter segment {segment}: entry {entry // 64 - 1}: wrong checksum\n"
    assert refusal(counters("set", "16:1", 1, 1)) == f"counter segment {segment}: the segment is damaged"


@pytest.mark.parametrize("arguments, message", [
    (["set", "16:1", "1"], "behind the tunnel, two numbers: PACKETS BYTES"),
    (["set", "16:1", "1", "2", "3"], "behind the tunnel, two numbers: PACKETS BYTES"),
    (["add", "16:1", "1", "x"], "'x' is not a number from 0 to 18446744073709551615"),
    (["set", "cli:a", "1", "1"], "'cli:a' is an id: --state FILE tells which index it has"),
    (["run"], "no tunnel is given, and --state FILE tells of none"),
    (["set", "16:1", "1", "1", "--name", "a/b"],
     "'a/b' is not a name of shared memory: 1 to 200 octets without '/'"),
    (["list", "--owner", "nobody-of-this-name"], "there is no user 'nobody-of-this-name'"),
])
def test_wrong_usage_says_so_and_writes_nothing(counters, segment, arguments, message):
    assert refusal(counters(*arguments)) == message
    assert not Path("/dev/shm", segment).exists()


def test_somebody_elses_segment_is_refused(counters, segment):
    output(counters("set", "16:1", 1, 1000))
    other = os.geteuid() + 1
    assert refusal(counters("list", "--owner", other)) \
        == f"counter segment {segment}: belongs to user {os.geteuid()}, not to user {other}"
    assert output(counters("list", "--owner", os.geteuid())) == output(counters("list"))
