# SPDX-License-Identifier: MIT
# ctest-labels: slow
"""mplsted as the subagent of a stock snmpd: managers get through snmpd what mplsted itself would answer."""

import json
import os
import pwd
import re
import resource
import signal
import socket
import stat
import subprocess
import threading

import pytest
from support import agentx, ber
from support.agentx import ScriptedMaster
from support.manager import Manager
from support.master import Master
from support.mplsted import ACCESS, HEAD_END, Mplsted, run
from support.stand_in import await_true, free_tcp_port
from support.state import STATE, SWITCH_OVER, merged
from support.tree import EXPECTED, ROOT, TABLES, below, differences, parse

NAME = f"{TABLES['tunnel']}.1.5.12.1.167772161.167772169"

# The tunnel to Paris on its secondary LSP: what is published, where its row is then, and what the trace of the hop rows
# says of it and of the way back.
SWITCHED = json.dumps(merged(STATE, SWITCH_OVER))
MOVED = f"{TABLES['tunnel']}.1.5.12.2.167772161.167772169"
HOP_GONE = "deleting entry for hop: 1, 0a:01:04:02"
HOP_GONE_AGAIN = "deleting entry for hop: 1, 0a:01:06:02"

CONNECTED = "AgentX, connected to the master at"
AGAIN = "AgentX, again connected to the master at"
LOST = "AgentX, lost the master at"
CANNOT = "AgentX, cannot connect to the master at"

# A master that is silent for this many seconds is asked whether it is there.
IMPATIENT, LESS_IMPATIENT = "agentXPingInterval 1\n", "agentXPingInterval 2\n"


class Subagent(Mplsted):
    def __init__(self, folder, master, *arguments, config=None, **options):
        # What the scalars say shall be what they say without a master, where there is no receiver.
        super().__init__(folder, "--agentx", *([master] if master else []), "--notifications", "off", *arguments,
                         listen=(), access=config, **options)

    def count(self, text):
        return self.log().count(text)

    def await_line(self, text, times=1):
        await_true(lambda: self.count(text) >= times, f"'{text}' in the log, {times} times, instead of\n{self.log()}")

    def lines(self):
        """What it has said of AgentX, without time and level."""
        return [line.split(": ", 1)[1] for line in self.log().splitlines() if "AgentX" in line]


@pytest.fixture
def master(tmp_path):
    """A function that makes a master, not started."""
    made = []

    def make(*lines, **options):
        made.append(Master(tmp_path, *lines, **options))
        return made[-1]

    yield make
    for snmpd in made:
        snmpd.end()


@pytest.fixture
def subagent(tmp_path):
    """A function that starts a subagent; it must end well, be it in the test or behind it."""
    started = []

    def start(*arguments, **options):
        started.append(Subagent(tmp_path, *arguments, **options).start())
        return started[-1]

    yield start
    for daemon in started:
        daemon.stop()


@pytest.fixture
def both(master, subagent):
    """A master and its subagent, connected."""
    snmpd = master().start()
    daemon = subagent(snmpd.socket)
    daemon.await_line(CONNECTED)
    return snmpd, daemon


def walk(snmpd, oid=ROOT):
    done = subprocess.run(["snmpbulkwalk", "-v2c", "-c", "public", "-t", "10", "-r", "1", "-OneU", snmpd.address, oid],
                          env=snmpd.environment, stdin=subprocess.DEVNULL, capture_output=True, encoding="utf-8",
                          timeout=60)
    assert (done.returncode, done.stderr) == (0, ""), done
    return [variable for variable in parse(done.stdout) if not variable[1].startswith("No Such Object")]


def name_at(snmpd, oid=NAME):
    """The value of the variable, or nothing while snmpd does not have it."""
    manager = Manager(snmpd.address)
    try:
        return manager.value(oid)[1]
    finally:
        manager.close()


def await_served(snmpd):
    await_true(lambda: name_at(snmpd) == b"to-paris", "the tunnels")


# Serving


def test_what_is_walked_through_snmpd_is_what_mplsted_answers_itself(both, tmp_path):
    snmpd, daemon = both
    assert daemon.master == snmpd.socket
    (tmp_path / "alone").mkdir()
    with Mplsted(tmp_path / "alone") as alone:
        for table in TABLES.values():
            through = walk(snmpd, table)
            assert differences(through, below(table)) == []
            assert [oid for oid, _ in through] == [oid for oid, _ in parse(alone.snmp("snmpwalk", table).stdout)]
    assert differences(walk(snmpd), EXPECTED) == []


def test_the_system_group_stays_the_master_s(both):
    snmpd, _ = both
    assert len(walk(snmpd, ".1.3.6.1.2.1.1")) > 8
    assert b"Linux" in name_at(snmpd, ".1.3.6.1.2.1.1.1.0")


def test_nothing_can_be_set_through_the_master_either(both):
    snmpd, _ = both
    writer = Manager(snmpd.address, b"private")
    assert writer.set((NAME, ("STRING", b"mine"))).error == ber.NOT_WRITABLE
    writer.close()
    assert name_at(snmpd) == b"to-paris"


def test_a_change_of_the_state_is_served(both):
    snmpd, daemon = both
    daemon.publish(SWITCHED)
    await_true(lambda: name_at(snmpd, MOVED) == b"to-paris", "the row to move")


def test_a_request_that_no_message_of_agentx_holds_is_too_big(both):
    """It is refused at once: a subagent that kept silent would be given up by the master."""
    snmpd, daemon = both
    manager = Manager(snmpd.address)
    assert manager.get(*[NAME] * 1500).error == ber.TOO_BIG
    assert manager.get(*[NAME] * 100).error == ber.NO_ERROR
    manager.close()
    assert daemon.lines() == [f"{CONNECTED} {snmpd.socket}"]


def test_tcp_carries_it_too(master, subagent):
    snmpd = master(socket=f"tcp:127.0.0.1:{free_tcp_port()}").start()
    daemon = subagent(snmpd.socket)
    daemon.await_line(f"{CONNECTED} {snmpd.socket}")
    assert differences(walk(snmpd), EXPECTED) == []


def test_the_configuration_may_say_where_the_master_is(master, subagent):
    snmpd = master().start()
    daemon = subagent(None, config=ACCESS + f"agentXSocket {snmpd.socket},tcp:127.0.0.1:1\n")
    assert daemon.master == snmpd.socket
    await_served(snmpd)


def test_descriptors_beyond_1023_are_served(master, tmp_path):
    snmpd = master().start()
    daemon = Subagent(tmp_path, snmpd.socket)
    soft, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
    if hard < 2048:
        pytest.skip("so many descriptors cannot be had here")
    resource.setrlimit(resource.RLIMIT_NOFILE, (2048, hard))
    taken = [os.open("/dev/null", os.O_RDONLY) for _ in range(1100)]
    try:
        for descriptor in taken:
            os.set_inheritable(descriptor, True)
        with open(daemon.out, "wb") as out, open(daemon.err, "wb") as err:
            daemon.process = subprocess.Popen(daemon.command, stdin=subprocess.DEVNULL, stdout=out, stderr=err,
                                              env=daemon.environment, close_fds=False)
    finally:
        for descriptor in taken:
            os.close(descriptor)
        resource.setrlimit(resource.RLIMIT_NOFILE, (soft, hard))
    daemon.await_line(CONNECTED)
    assert differences(walk(snmpd), EXPECTED) == []
    descriptors = [int(name) for name in os.listdir(f"/proc/{daemon.process.pid}/fd")]
    assert max(descriptors) > 1100
    daemon.publish(SWITCHED)
    await_true(lambda: name_at(snmpd, MOVED) == b"to-paris", "the row to move")
    daemon.stop()


# Masters that come and go


def test_the_master_may_start_later(master, subagent):
    snmpd = master()
    daemon = subagent(snmpd.socket)
    daemon.await_line(CANNOT)
    snmpd.start()
    daemon.await_line(CONNECTED)
    assert differences(walk(snmpd), EXPECTED) == []
    assert [line.split(" master ")[0] for line in daemon.lines()] == [
        "AgentX, cannot connect to the", "AgentX, connected to the"]


def test_a_master_that_ends_is_said_once_and_found_again(both):
    snmpd, daemon = both
    snmpd.end()
    daemon.await_line(LOST)
    daemon.await_line(CANNOT)
    snmpd.start()
    daemon.await_line(AGAIN)
    assert differences(walk(snmpd), EXPECTED) == []
    connected, lost, cannot, again = daemon.lines()
    assert connected == f"{CONNECTED} {snmpd.socket}"
    assert lost == f"{LOST} {snmpd.socket}: it has closed the connection; trying to connect again"
    assert cannot.startswith(f"{CANNOT} {snmpd.socket}: ")
    assert again == f"{AGAIN} {snmpd.socket}"


def resident(process):
    """Memory in kB, or nothing where a sanitizer keeps what has been freed."""
    if "libasan" in open(f"/proc/{process.pid}/maps", encoding="utf-8").read():
        return None
    return int(re.search(r"VmRSS:\s+(\d+) kB", open(f"/proc/{process.pid}/status", encoding="utf-8").read())[1])


def test_a_master_killed_twenty_times_leaves_nothing_behind(both):
    """Under a manager that walks all the time. The rows are derived once, whatever the master does."""
    snmpd, daemon = both
    over = threading.Event()

    def keep_walking():
        while not over.is_set():
            subprocess.run(["snmpbulkwalk", "-v2c", "-c", "public", "-t", "0.2", "-r", "0", "-On", snmpd.address, ROOT],
                           env=snmpd.environment, stdin=subprocess.DEVNULL, capture_output=True, check=False)

    walker = threading.Thread(target=keep_walking)
    walker.start()
    try:
        first = None
        for times in range(1, 21):
            snmpd.kill()
            snmpd.launch()
            daemon.await_line(AGAIN, times)
            assert differences(walk(snmpd), EXPECTED) == [], f"after {times} restarts"
            if times == 5:
                first = resident(daemon.process), len(os.listdir(f"/proc/{daemon.process.pid}/fd"))
    finally:
        over.set()
        walker.join()
    memory, descriptors = resident(daemon.process), len(os.listdir(f"/proc/{daemon.process.pid}/fd"))
    assert descriptors == first[1]
    assert memory is None or memory - first[0] < 1024, "15 connections take no memory with them"
    assert daemon.count(LOST) == 20


def test_the_same_rows_are_served_after_a_reconnection(master, subagent):
    """They were not derived again: the trace of the derivation has nothing new."""
    snmpd = master().start()
    daemon = subagent(snmpd.socket, "--trace", "RsvpSnmpSm=9", "--trace", "MplsSnmp=9")
    daemon.await_line(CONNECTED)
    derived = daemon.count(" trace: ")
    snmpd.kill()
    snmpd.start()
    daemon.await_line(AGAIN)
    assert differences(walk(snmpd), EXPECTED) == []
    assert daemon.count(" trace: ") == derived > 0


def test_a_master_that_has_been_stopped_holds_nothing_up(master, subagent):
    """State changes go on being applied and derived, and afterwards all is served."""
    snmpd = master().start()
    daemon = subagent(snmpd.socket, "--trace", "MplsSnmp=9", config=LESS_IMPATIENT)
    daemon.await_line(CONNECTED)
    snmpd.pause()
    daemon.publish(SWITCHED)
    daemon.await_line(HOP_GONE)
    daemon.await_line("does not answer")
    daemon.publish(json.dumps(STATE))
    daemon.await_line(HOP_GONE_AGAIN)
    snmpd.resume()
    daemon.await_line("answers again")
    for settled in (f"{TABLES['tunnel']}.1.5", TABLES["perf"]):   # the hops have another list now
        assert differences(walk(snmpd, settled), below(settled)) == []
    assert daemon.lines() == [f"{CONNECTED} {snmpd.socket}", f"AgentX, the master at {snmpd.socket} does not answer",
                              f"AgentX, the master at {snmpd.socket} answers again"]


def test_a_master_that_stays_silent_is_given_up_and_found_again(master, subagent):
    snmpd = master().start()
    daemon = subagent(snmpd.socket, "--trace", "MplsSnmp=9", config=IMPATIENT)
    daemon.await_line(CONNECTED)
    snmpd.pause()
    # What it was asked meanwhile it reads when it goes on.
    for _ in range(50):
        late = Manager(snmpd.address)
        late.send(ber.message(ber.GETBULK, [(ROOT, ber.NULL)], third=50))
        late.close()
    daemon.await_line(LOST)
    daemon.publish(SWITCHED)
    daemon.await_line(HOP_GONE)
    snmpd.resume()
    daemon.await_line(AGAIN)
    assert name_at(snmpd, MOVED) == b"to-paris"
    assert [line for line in daemon.lines() if LOST in line] == [
        f"{LOST} {snmpd.socket}: it does not answer; trying to connect again"]


def test_a_master_that_does_not_read_holds_nothing_up(tmp_path, subagent):
    """It asks and asks, and lets the answers lie: more than the connection holds. In the end it gets them all."""
    asked = 15000
    with ScriptedMaster(tmp_path / "agentx") as greedy:
        daemon = subagent(greedy.address, "--trace", "MplsSnmp=9")
        greedy.take_on()
        daemon.await_line(CONNECTED)
        for packet in range(asked):
            greedy.stream.sendall(agentx.get(NAME, packet))
        daemon.publish(SWITCHED)
        daemon.await_line(HOP_GONE)
        for packet in range(asked):
            answer = greedy.receive()
            while answer.type != agentx.RESPONSE:  # it asks whether anybody is there
                answer = greedy.receive()
            assert answer.packet == packet


def test_a_master_that_accepts_and_says_nothing_holds_nothing_up(tmp_path, subagent):
    with ScriptedMaster(tmp_path / "agentx") as silent:
        daemon = subagent(silent.address, "--trace", "MplsSnmp=9", config=IMPATIENT)
        daemon.publish(SWITCHED)
        daemon.await_line(HOP_GONE)
        daemon.await_line(f"{CANNOT} {silent.address}: it does not answer")


@pytest.mark.parametrize("error, text", [
    (263, "duplicateRegistration; does another subagent serve the same tables?"), (267, "requestDenied"),
    (999, "error 999")])
def test_a_refused_registration_is_said_once_and_tried_again(tmp_path, subagent, error, text):
    with ScriptedMaster(tmp_path / "agentx") as strict:
        daemon = subagent(strict.address, config=IMPATIENT)
        for _ in range(2):
            strict.accept()
            strict.answer(strict.receive())
            strict.answer(strict.receive(), error)
            strict.stream.close()
        strict.take_on()
        daemon.await_line(CONNECTED)
        assert daemon.lines() == [f"{CANNOT} {strict.address}: it refuses a registration: {text}",
                                  f"{CONNECTED} {strict.address}"]


def test_a_session_that_the_master_closes_is_opened_again(tmp_path, subagent):
    with ScriptedMaster(tmp_path / "agentx") as moody:
        daemon = subagent(moody.address)
        moody.take_on()
        moody.stream.sendall(agentx.message(agentx.CLOSE, bytes([5, 0, 0, 0])))
        moody.take_on()
        daemon.await_line(AGAIN)
        assert f"{LOST} {moody.address}: it has closed the session; trying to connect again" in daemon.lines()


# Ending


def test_at_the_end_the_master_is_told(both):
    """Its tables are gone from the master at once, and the master has nothing to complain of."""
    snmpd, daemon = both
    assert name_at(snmpd) == b"to-paris"
    before = snmpd.log()
    daemon.stop()
    assert walk(snmpd) == []
    assert snmpd.log() == before


def test_the_session_is_closed_with_the_reason_shutdown(tmp_path, subagent):
    with ScriptedMaster(tmp_path / "agentx") as polite:
        daemon = subagent(polite.address)
        polite.take_on()
        daemon.await_line(CONNECTED)
        daemon.process.send_signal(signal.SIGTERM)
        *others, last = [polite.receive() for _ in range(2 + agentx.REGISTRATIONS)]
        assert {request.type for request in others} == {agentx.UNREGISTER, agentx.REMOVE_AGENT_CAPS}
        assert (last.type, last.session, last.payload[0]) == (agentx.CLOSE, agentx.SESSION, 5)
        with pytest.raises(EOFError):
            polite.receive()


def test_a_master_that_has_been_stopped_does_not_keep_it_from_ending(both):
    snmpd, daemon = both
    snmpd.pause()
    daemon.stop()


# What is said when there is no connection


def complaint(daemon):
    daemon.await_line(CANNOT)
    [line] = daemon.lines()
    return line.removeprefix(f"{CANNOT} {daemon.master}: ")


def test_a_socket_that_does_not_exist_is_named_with_the_remedy(subagent, tmp_path):
    assert complaint(subagent(f"unix:{tmp_path}/agentx")) == (
        'No such file or directory; is snmpd running, with the lines "master agentx" and '
        f'"agentXSocket unix:{tmp_path}/agentx" in its snmpd.conf?')


def test_so_is_a_socket_that_nobody_listens_on(subagent, tmp_path):
    with socket.socket(socket.AF_UNIX) as left_over:
        left_over.bind(f"{tmp_path}/agentx")
    assert complaint(subagent(f"{tmp_path}/agentx")) == (
        'Connection refused; nobody listens there: is snmpd running, with the lines "master agentx" and '
        f'"agentXSocket unix:{tmp_path}/agentx" in its snmpd.conf?')


def test_a_file_is_no_socket(subagent, tmp_path):
    (tmp_path / "agentx").touch()
    assert complaint(subagent(f"unix:{tmp_path}/agentx")) == "Connection refused; this is no socket"


@pytest.fixture
def unprivileged(open_path):
    """A function that runs an mplsted as somebody who is not root, until it has said what is wrong."""
    nobody = pwd.getpwnam("nobody")
    open_path.chmod(0o777)
    options = {"user": nobody.pw_uid, "group": nobody.pw_gid, "extra_groups": []} if os.getuid() == 0 else {}

    def complain(address):
        daemon = Subagent(open_path, f"unix:{address}")
        del daemon.environment["SNMP_PERSISTENT_DIR"]
        with subprocess.Popen(daemon.command, env=daemon.environment, cwd=open_path,
                              stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
                              encoding="utf-8", **options) as process:
            try:
                line = process.stderr.readline()
            finally:
                process.terminate()
        assert f"{CANNOT} unix:{address}: Permission denied; " in line, line
        return line.rstrip().split("Permission denied; ")[1]

    return complain


def owner(path):
    status = path.stat()
    return f"mode {stat.S_IMODE(status.st_mode):04o}, uid {status.st_uid}, gid {status.st_gid}"


def test_a_directory_that_is_closed_to_us_is_named(unprivileged, open_path):
    (open_path / "closed").mkdir(mode=0o700)
    (open_path / "closed" / "deeper").mkdir(mode=0o755)
    if os.getuid() != 0:
        (open_path / "closed").chmod(0)
    wanted = owner(open_path / "closed")
    said = unprivileged(open_path / "closed" / "deeper" / "agentx")
    (open_path / "closed").chmod(0o700)
    assert said == (f'the directory {open_path}/closed ({wanted}) is closed to us; "chmod o+x {open_path}/closed" opens it, '
                    'and where snmpd makes it a second mode in snmpd.conf, as in "agentXPerms 0660 0755"')


def test_a_socket_that_we_may_not_write_to_is_named(unprivileged, open_path):
    path = open_path / "agentx"
    with socket.socket(socket.AF_UNIX) as listener:
        listener.bind(str(path))
        listener.listen()
        path.chmod(0o755 if os.getuid() == 0 else 0o500)
        who = pwd.getpwnam("nobody").pw_uid if os.getuid() == 0 else os.getuid()
        assert unprivileged(path) == (
            f"we may not write to the socket ({owner(path)}); snmpd gives it to others with modes, a user and a group "
            f'in snmpd.conf, as in "agentXPerms 0660 0755 {who}"')


@pytest.mark.parametrize("address, text", [
    ("carrier-pigeon", "carrier-pigeon: this is no address of an AgentX master; one looks like "
                         "unix:/run/agentx/master or tcp:127.0.0.1:705"),
    ("udp:127.0.0.1:705", "udp:127.0.0.1:705: this is no address of an AgentX master; one looks like "
                          "unix:/run/agentx/master or tcp:127.0.0.1:705"),
    (f"unix:/{'x' * 120}", f"unix:/{'x' * 120}: the path of a socket has at most 107 characters"),
])
def test_what_is_no_address_keeps_it_from_starting(tmp_path, address, text):
    done = run(tmp_path, "--state", HEAD_END, "--agentx", address)
    assert (done.returncode, done.stdout, done.stderr) == (1, "", f"mplsted: {text}\n")


def test_a_subagent_does_not_listen(tmp_path):
    done = run(tmp_path, "--state", HEAD_END, "--agentx", "--listen", "udp:127.0.0.1:0")
    assert (done.returncode, done.stdout) == (2, "")
    assert done.stderr == "mplsted: --listen excludes --agentx: see 'mplsted --help'\n"
