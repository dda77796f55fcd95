# SPDX-License-Identifier: MIT
# ctest-labels: release-only
"""mplste inside a stock snmpd: the tables are those of mplsted, and snmpd is as it was when mplste has gone.

Not with the sanitizers: a stock snmpd has none to load the library into."""

import contextlib
import json
import os
import re
import resource
import shutil
import signal
import subprocess
from pathlib import Path

import pytest
from support.ber import NO_SUCH_OBJECT
from support.manager import Manager
from support.master import SNMPD, Snmpd
from support.mplsted import BUILD, HEAD_END, SOURCE, Mplsted
from support.publisher import Publisher
from support.stand_in import await_true
from support.state import merged
from support.tree import EXPECTED, ROOT

LIBRARY = BUILD / "mplsTe.so"
READY = re.compile(r"^mplste: ready: (\d+) tunnels from ", re.MULTILINE)
NAME = ".1.3.6.1.2.1.10.166.3.2.2.1.5.12.1.167772161.167772169"


class Host(Snmpd):
    """A snmpd with mplste in it, which serves a state file of its own."""

    def __init__(self, folder, *lines):
        self.state = folder / "state.json"
        shutil.copy(HEAD_END, self.state)
        super().__init__(folder)
        self.loads(*lines)

    def loads(self, *lines):
        self.configure(f"dlmod mplsTe {LIBRARY}", f"mplsteState {self.state}", "mplsteNotifications off",
                       *lines)

    def publish(self, document):
        new = self.state.with_suffix(".new")
        new.write_text(json.dumps(document), encoding="utf-8")
        os.replace(new, self.state)

    def times_ready(self):
        return len(READY.findall(self.log()))

    def await_ready(self, times=1):
        await_true(lambda: self.times_ready() >= times, "the line that says ready")

    def read_again(self):
        times = self.times_ready()
        self.process.send_signal(signal.SIGHUP)
        self.await_ready(times + 1)

    def kilobytes(self):
        with open(f"/proc/{self.process.pid}/status", encoding="utf-8") as status:
            return int(re.search(r"VmRSS:\s+(\d+)", status.read())[1])

    def mapped(self):
        with open(f"/proc/{self.process.pid}/maps", encoding="utf-8") as maps:
            return set(re.findall(r"/([^/ \n]*mpls[^/ \n]*)$", maps.read(), re.MULTILINE))


@pytest.fixture
def host(tmp_path):
    with Host(tmp_path) as running:
        running.await_ready()
        yield running


@pytest.fixture
def manager(host):
    reader = Manager(host.address)
    yield reader
    reader.close()


def test_the_tables_are_those_of_mplsted(manager, tmp_path_factory):
    def timeless(variables):
        return [(oid, kind if kind == "Timeticks" else (kind, value)) for oid, (kind, value) in variables.items()]

    with Mplsted(tmp_path_factory.mktemp("standalone")) as standalone:
        reader = Manager(standalone.address)
        assert timeless(manager.walk(ROOT)) == timeless(reader.walk(ROOT))
        reader.close()
    assert list(manager.walk(ROOT)) == [oid for oid, _ in EXPECTED]


def test_a_change_of_the_state_file_is_served(host, manager):
    before = manager.value(NAME)
    patch = json.loads((SOURCE / "examples" / "switchover.json").read_text(encoding="utf-8"))
    host.publish(merged(json.loads(HEAD_END.read_text(encoding="utf-8")), patch))
    await_true(lambda: manager.value(NAME) != before, "the row to move")
    assert host.process.poll() is None


def test_a_state_that_is_wrong_is_reported_and_ends_nothing(host, manager):
    served = manager.walk(ROOT)
    host.publish({"pathSpec": {"nonsense": {}}})
    await_true(lambda: "/pathSpec/nonsense: " in host.log(), "the report")
    assert list(manager.walk(ROOT)) == list(served)


def test_snmpd_is_as_it_was_when_mplste_has_gone(host, manager):
    assert {"mplsTe.so", "mplsTeStdMIB.so"} <= host.mapped()
    descriptors = len(os.listdir(f"/proc/{host.process.pid}/fd"))
    host.configure()
    host.process.send_signal(signal.SIGHUP)
    await_true(lambda: manager.value(NAME)[0] == NO_SUCH_OBJECT, "the tables to go")
    assert not host.mapped(), "nothing of mplste is in the process any more"
    assert len(os.listdir(f"/proc/{host.process.pid}/fd")) < descriptors
    assert manager.value(".1.3.6.1.2.1.1.3.0")[0] == "Timeticks"
    # And it comes back.
    times = host.times_ready()
    host.loads()
    host.process.send_signal(signal.SIGHUP)
    host.await_ready(times + 1)
    assert list(manager.walk(ROOT)) == [oid for oid, _ in EXPECTED]


def of_the_process(host):
    """What belongs to all that runs in a process: its limits, rights, signals, file mode mask, environment, folder."""
    process = Path(f"/proc/{host.process.pid}")
    status = process.joinpath("status").read_text(encoding="utf-8")
    return (re.findall(r"^(?:Sig(?:Blk|Ign|Cgt)|Cap...|Uid|Gid|Groups|Umask|NoNewPrivs|Seccomp|Threads):.*$", status, re.M),
            process.joinpath("limits").read_text(encoding="utf-8"), process.joinpath("environ").read_bytes(),
            process.joinpath("cwd").readlink(), process.joinpath("oom_score_adj").read_text(encoding="utf-8"))


def test_it_changes_nothing_that_belongs_to_the_whole_process(tmp_path):
    host = Host(tmp_path)
    host.configure()
    with host:
        resource.prlimit(host.process.pid, resource.RLIMIT_NOFILE, (1024, 4096))   # more than that would be of use
        alone = of_the_process(host)
        host.loads(f"mplstePublish {tmp_path}/publish.sock", "mplsteCounters mplste-nobody-counts", "mplsteTrace Tallies=0-2")
        host.read_again()
        assert Path(f"{tmp_path}/publish.sock").is_socket()
        assert of_the_process(host) == alone


def test_publishers_leave_snmpd_the_descriptors_that_it_needs(tmp_path):
    host = Host(tmp_path, f"mplstePublish {tmp_path}/publish.sock")
    with host:
        host.await_ready()
        limit = 512
        resource.prlimit(host.process.pid, resource.RLIMIT_NOFILE, (limit, limit))
        host.read_again()
        publishers = []
        while True:
            publishers.append(Publisher(tmp_path / "publish.sock"))
            with contextlib.suppress(BrokenPipeError):   # one too many is told so before it asks
                publishers[-1].send(b"{}\n")
            answer = publishers[-1].answer()
            if not answer["ok"]:
                break
        assert answer["error"] == f"there are {len(publishers) - 1} connections already"
        assert len(publishers) - 1 == limit - 256
        manager = Manager(host.address)
        assert manager.value(NAME)[1] == b"to-paris"
        for connection in (manager, *publishers):
            connection.close()


def test_loaded_and_unloaded_a_hundred_times_it_does_not_grow(host, manager):
    for _ in range(20):
        host.read_again()
    before, descriptors = host.kilobytes(), len(os.listdir(f"/proc/{host.process.pid}/fd"))
    for _ in range(80):
        host.read_again()
    assert host.kilobytes() - before < 1024
    assert len(os.listdir(f"/proc/{host.process.pid}/fd")) == descriptors
    assert list(manager.walk(ROOT)) == [oid for oid, _ in EXPECTED]


@pytest.mark.parametrize("lines, complaint", [
    (["mplsteTrace nonsense"], r"snmpd\.conf: line \d+: .*mplsteTrace: "),
    (["mplsteAgentX unix:/nowhere"], r"snmpd\.conf: line \d+: .*[Uu]nknown token: mplsteAgentX"),
    (["mplsteModule /nowhere/module.so"],
     r"mplste: cannot load the module: /nowhere/module\.so: .*; name another with a line mplsteModule"),
    (["mplsteState /nowhere/state.json"], r"mplste: /nowhere/state\.json: No such file or directory"),
])
def test_a_wrong_line_is_complained_of_and_snmpd_runs(tmp_path, lines, complaint):
    with Host(tmp_path, *lines) as running:
        await_true(lambda: re.search(complaint, running.log()), "the complaint")
        reader = Manager(running.address)
        assert reader.value(".1.3.6.1.2.1.1.3.0")[0] == "Timeticks"
        reader.close()


def test_without_a_state_it_says_what_is_missing(tmp_path):
    host = Host(tmp_path)
    host.configure(f"dlmod mplsTe {LIBRARY}")
    with host:
        await_true(lambda: 'put a line "mplsteState FILE" or "mplstePublish PATH" behind the dlmod line' in host.log(),
                   "the remedy")


def test_it_takes_patches_over_a_socket(tmp_path):
    socket = tmp_path / "publish.sock"
    with Host(tmp_path, f"mplstePublish {socket}", "mplstePublishAllow uid:0", f"mplstePublishAllow uid:{os.getuid()}") \
            as running:
        running.await_ready()
        reader = Manager(running.address)
        before = reader.value(NAME)
        await_true(socket.exists, "the socket")
        publish = [BUILD / "mplste", "publish", "--socket", socket, SOURCE / "examples" / "switchover.json"]
        assert subprocess.run(publish, check=False, stdout=subprocess.DEVNULL).returncode == 0
        await_true(lambda: reader.value(NAME) != before, "the row to move")
        reader.close()
    assert not socket.exists()


def test_traces_go_where_snmpd_logs(tmp_path):
    with Host(tmp_path, "mplsteTrace RsvpSnmpSm=9") as running:
        running.await_ready()
        assert re.search(r"^mplste: RsvpSnmpSm 9: ", running.log(), re.MULTILINE)


def test_a_trace_handle_that_is_misspelt_is_said(tmp_path):
    with Host(tmp_path, "mplsteTrace mplsTeStdMiB=2") as host:
        host.await_ready()
        await_true(lambda: "mplste: trace handle mplsTeStdMiB: nothing traces under that name so far, but" in host.log(),
                   "the warning")


def test_it_ends_with_snmpd(host):
    process = host.process
    process.send_signal(signal.SIGTERM)
    assert process.wait(20) == 0
    assert not re.search(r"(?i)lock|abort|corrupt|error", host.log().split("mplste: ready")[-1])


def test_it_serves_from_a_snmpd_in_the_background(tmp_path):
    """That one is another process than the one that has loaded mplste."""
    host = Host(tmp_path)
    pid_file = tmp_path / "pid"
    subprocess.run([SNMPD, "-Lf", host.output, "-C", "-c", host.config, "-p", pid_file, host.address], check=True,
                   stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                   env=host.environment)
    await_true(lambda: pid_file.exists() and pid_file.read_text(encoding="utf-8").strip(), "the process id")
    process = int(pid_file.read_text(encoding="utf-8"))
    try:
        host.await_ready()
        reader = Manager(host.address)
        assert list(reader.walk(ROOT)) == [oid for oid, _ in EXPECTED]
        reader.close()
    finally:
        os.kill(process, signal.SIGTERM)
        await_true(lambda: not Path(f"/proc/{process}").exists(), "snmpd to end")
