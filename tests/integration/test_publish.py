# SPDX-License-Identifier: MIT
"""Publishing over a socket: what publishers may do to mplsted, and what they may not."""

import json
import os
import resource
import socket
import stat
import subprocess
import sys

import pytest
from support.ber import NO_SUCH_INSTANCE
from support.manager import Manager
from support.mplsted import BUILD, Mplsted, environment, run
from support.publisher import LONGEST_LINE, Publisher
from support.stand_in import await_true
from support.state import STATE, SWITCH_OVER, merged
from support.tree import EXPECTED, TABLES

NAME = f"{TABLES['tunnel']}.1.5"
PARIS, PARIS_MOVED = "12.1.167772161.167772169", "12.2.167772161.167772169"
ROWS = [oid.removeprefix(NAME + ".") for oid, _ in EXPECTED if oid.startswith(NAME + ".")]
NOTHING = {"changed": 0, "ok": True}

# The resident memory of the process may grow by so much while it serves all the publishers of this file. What it holds
# of any one is less than a tenth of what they send. With sanitizers, everything is larger.
SANITIZED = "MPLSTE_SANITIZE:BOOL=ON" in (BUILD / "CMakeCache.txt").read_text(encoding="utf-8")
GROWTH = (192 if SANITIZED else 24) << 20
FREED_AT_ONCE = {"ASAN_OPTIONS": "quarantine_size_mb=1", "MALLOC_TRIM_THRESHOLD_": "131072"}


@pytest.fixture(scope="module")
def daemon(tmp_path_factory):
    folder = tmp_path_factory.mktemp("mplsted")
    with Mplsted(folder, "--publish", folder / "publish.sock", file=False, **FREED_AT_ONCE) as mplsted:
        mplsted.socket = folder / "publish.sock"
        with Publisher(mplsted.socket) as publisher:
            publisher.changed({"$replace": STATE})
            mplsted.memory = memory(mplsted)
        yield mplsted


def memory(daemon):
    """Octets of resident memory."""
    with open(f"/proc/{daemon.process.pid}/statm", encoding="ascii") as statm:
        return int(statm.read().split()[1]) * resource.getpagesize()


@pytest.fixture
def publisher(daemon):
    """A well-behaved publisher. After the test, whatever others have done, the example head end can be published and is
    served, and the process is about as large as it was."""
    with Publisher(daemon.socket) as connection:
        yield connection
        connection.changed({"$replace": STATE})
        with_manager(daemon, lambda manager: await_true(lambda: rows(manager) == ROWS, "the rows of the example"))
        await_true(lambda: connection.status()["state"]["publish"]["connections"] == 1, "the others to be gone")
        assert memory(daemon) < daemon.memory + GROWTH


def with_manager(daemon, work):
    manager = Manager(daemon.address)
    try:
        return work(manager)
    finally:
        manager.close()


def rows(manager):
    """The indices of the tunnel rows."""
    found, oid = [], NAME
    while True:
        [(oid, (kind, _))] = manager.get_next(oid).varbinds
        if kind != "STRING" or not oid.startswith(NAME + "."):
            return found
        found.append(oid.removeprefix(NAME + "."))


def padded(patch, size):
    """The patch as a line of so many octets, its end not counted."""
    text = json.dumps(patch)
    return (text[0] + " " * (size - len(text)) + text[1:]).encode()


# What is published is served


def test_a_switch_over_that_is_published_moves_the_row(daemon, publisher):
    def moved(manager):
        assert manager.value(f"{NAME}.{PARIS}") == ("STRING", b"to-paris")
        assert publisher.changed(SWITCH_OVER) == 1
        await_true(lambda: manager.value(f"{NAME}.{PARIS_MOVED}") == ("STRING", b"to-paris"), "the row to move")
        assert manager.value(f"{NAME}.{PARIS}")[0] == NO_SUCH_INSTANCE

    with_manager(daemon, moved)
    assert publisher.changed(SWITCH_OVER) == 0, "that is so already"


def test_a_document_replaces_the_state_and_comes_back_as_it_was(daemon, publisher):
    document = publisher.state()
    assert publisher.changed({"$replace": document}) == 0
    assert publisher.changed({"$replace": {}}) > 0
    assert publisher.state() == {}
    with_manager(daemon, lambda manager: await_true(lambda: rows(manager) == [], "all rows to go"))
    assert publisher.changed({"$replace": document}) > 0
    assert publisher.state() == document


def test_the_state_outlives_its_publisher(daemon, publisher):
    with Publisher(daemon.socket) as other:
        other.changed({"pathSpec": {"cli:left-behind": {}}})
    assert "cli:left-behind" in publisher.state()["pathSpec"]


def test_two_publishers_at_once_both_have_their_say(daemon, publisher):
    with Publisher(daemon.socket) as other:
        for number in range(50):
            for connection, name in ((publisher, "one"), (other, "other")):
                connection.send(json.dumps({"pathSpec": {f"cli:{name}-{number}": {}}}).encode() + b"\n")
        for connection in (publisher, other):
            assert [connection.answer() for _ in range(50)] == [{"ok": True, "changed": 1}] * 50
    assert len(publisher.state()["pathSpec"]) == len(STATE["pathSpec"]) + 100


# What is refused changes nothing


@pytest.mark.parametrize("line, error", [
    (b'{"pathSpec": {"cli:\xff": {}}}', "column 20: invalid string: ill-formed UTF-8 byte"),
    (b'{"subTunnelStatus": {"cli:to-paris": {"up": 1}}}',
     "/subTunnelStatus/cli:to-paris/up: expected true or false but found 1"),
    (b'{"subTunnelStatus": {"cli:to-paris": null}, "tunnels": {}}', "/tunnels: there is no such collection"),
    (b'{"$replace": []}', "/: expected an object but found an array"),
    (b'{"$replace": {"tunnels": {}}}', "/tunnels: there is no such collection"),
    (b'{"$replace": {}, "pathSpec": {}}', "column 16: there is something behind the end of the document"),
    (b'{"$replace": {}', "column 15: the text ends too early"),
    (b'{"subTunnelStatus": {"cli:to-paris": null}', "column 43: the text ends too early"),
    (b"up", "column 1: expected a value but found \"u\""),
    (b"\0", "column 1: expected a value but found octet 0x00"),
    (b"[" * 100_000, "/: expected an object but found an array"),
], ids=lambda value: str(value)[:30])
def test_a_line_that_cannot_be_used_is_refused_with_the_place(publisher, line, error):
    before = publisher.state()
    assert publisher.refusal(line) == error
    assert publisher.state() == before
    refused = publisher.status()["refused"]
    assert refused["documents"] > 0 and refused["last"]["from"] == f"uid {os.getuid()} (gid {os.getgid()})"
    assert refused["last"]["reason"] == error


def test_lines_may_end_in_cr_lf_and_empty_ones_are_passed_over(publisher):
    publisher.send(b'\n\r\n \t \r\n{"pathSpec": {"cli:crlf": {}}}\r\n\n{"pathSpec": {"cli:crlf": {}}}\n')
    assert publisher.answer() == {"ok": True, "changed": 1}
    assert publisher.answer() == NOTHING


def test_a_line_of_16_mib_is_taken_and_one_octet_more_is_not(publisher):
    assert publisher.changed(padded({"pathSpec": {"cli:long": {}}}, LONGEST_LINE)) == 1
    publisher.send(padded({"pathSpec": {"cli:longer": {}}}, LONGEST_LINE + 1) + b"\n" +
                   b'{"pathSpec": {"cli:next": {}}}\n')
    assert publisher.answer() == {"ok": False, "error": "the line is too long: it has more than 16777216 octets"}
    assert publisher.answer() == {"ok": True, "changed": 1}, "the line behind it is understood"
    assert publisher.status()["refused"]["last"]["reason"].startswith("the line is too long: "), "operators see it"
    assert not {"cli:longer"} & publisher.state()["pathSpec"].keys()


def test_a_line_without_end_takes_no_memory(daemon, publisher):
    """What is beyond the limit is dropped as it comes; the publisher is told at once."""
    with Publisher(daemon.socket) as endless:
        for _ in range(64):
            endless.send(b" " * (1 << 20))
        assert endless.answer()["error"] == "the line is too long: it has more than 16777216 octets"
        assert memory(daemon) < daemon.memory + GROWTH
        assert endless.ask(b"\n{}") == NOTHING


# Publishers that come to grief


def test_a_publisher_that_is_killed_in_the_middle_of_a_line_leaves_nothing_half_done(daemon, publisher):
    script = ("import socket, sys\n"
              "s = socket.socket(socket.AF_UNIX)\n"
              f"s.connect({str(daemon.socket)!r})\n"
              "s.sendall(b'{\"pathSpec\": {\"cli:whole\": {}}}\\n{\"pathSpec\": {\"cli:half\": {}}')\n"
              "print(s.recv(100).decode(), end='', flush=True)\n"
              "sys.stdin.read()\n")
    with subprocess.Popen([sys.executable, "-c", script], stdin=subprocess.PIPE, stdout=subprocess.PIPE) as process:
        assert json.loads(process.stdout.readline()) == {"ok": True, "changed": 1}
        process.kill()
    await_true(lambda: publisher.status()["state"]["publish"]["connections"] == 1, "its connection to end")
    specs = publisher.state()["pathSpec"]
    assert "cli:whole" in specs and "cli:half" not in specs


def test_half_a_patch_and_then_silence_holds_up_nobody(daemon, publisher):
    with Publisher(daemon.socket) as silent:
        silent.send(b'{"pathSpec": {"cli:half": {}')
        assert publisher.changed({"pathSpec": {"cli:other": {}}}) == 1
        assert "cli:half" not in publisher.state()["pathSpec"]
        assert silent.ask(b"}}") == {"ok": True, "changed": 1}, "it may go on at any time"


def test_whoever_closes_its_side_reads_the_answers_to_whole_lines(daemon, publisher):
    with Publisher(daemon.socket) as other:
        other.send(b'{"pathSpec": {"cli:a": {}}}\n{"pathSpec": {"cli:b": {}}}\n{"pathSpec": {"cli:c": {}}}')
        other.socket.shutdown(socket.SHUT_WR)
        assert [other.answer() for _ in range(4)] == [
            {"ok": True, "changed": 1}, {"ok": True, "changed": 1},
            {"ok": False, "error": "the last line has no end, and is dropped"}, None]
    assert "cli:c" not in publisher.state()["pathSpec"]


def test_two_hundred_publishers_that_say_nothing_hold_up_nobody(daemon, publisher):
    silent = [Publisher(daemon.socket) for _ in range(200)]
    await_true(lambda: publisher.status()["state"]["publish"]["connections"] == 201, "all connections")
    assert publisher.changed(SWITCH_OVER) == 1
    with_manager(daemon, lambda manager: await_true(
        lambda: manager.value(f"{NAME}.{PARIS_MOVED}")[0] == "STRING", "the row to move"))
    assert silent[-1].changed({"pathSpec": {"cli:last": {}}}) == 1
    for connection in silent:
        connection.close()


def test_many_publishers_with_half_a_large_line_each_take_bounded_memory(daemon, publisher):
    """Four large lines may be under way; of the others no more than the beginning is read."""
    half = padded({"pathSpec": {"cli:large": {}}}, LONGEST_LINE)[:LONGEST_LINE // 2]
    many = [Publisher(daemon.socket) for _ in range(20)]
    for connection in many:
        connection.socket.setblocking(False)
    waiting = {connection: half for connection in many}
    quiet = 0
    while quiet < 20:
        sent = 0
        for connection, rest in waiting.items():
            try:
                count = connection.socket.send(rest[:1 << 18]) if rest else 0
            except BlockingIOError:
                count = 0
            waiting[connection] = rest[count:]
            sent += count
        assert publisher.changed({}) == 0, "others are served"
        quiet = 0 if sent else quiet + 1
    assert sum(not rest for rest in waiting.values()) == 4
    assert memory(daemon) < daemon.memory + GROWTH + 4 * LONGEST_LINE
    for connection in many:
        connection.close()


def test_whoever_never_reads_its_answers_is_not_read_either(daemon, publisher):
    with Publisher(daemon.socket) as deaf:
        deaf.socket.setblocking(False)
        line, sent, quiet = b'{"$status": null}\n' * 1000, 0, 0
        while quiet < 20:
            try:
                count = deaf.socket.send(line[sent % len(line):])
            except BlockingIOError:
                count = 0
            sent += count
            assert publisher.changed({}) == 0, "others are served"
            quiet = 0 if count else quiet + 1
        assert memory(daemon) < daemon.memory + GROWTH
        deaf.socket.settimeout(20)
        assert all(deaf.answer()["ok"] for _ in range(sent // len(b'{"$status": null}\n'))), "no answer is lost"


# Who may publish


def test_the_socket_is_for_its_owner_and_group_if_nothing_else_is_said(daemon):
    mode = os.stat(daemon.socket).st_mode
    assert stat.S_ISSOCK(mode) and stat.S_IMODE(mode) == 0o660


def test_a_publisher_that_is_not_on_the_list_is_refused(tmp_path):
    path = tmp_path / "publish.sock"
    with Mplsted(tmp_path, "--publish", path, "--publish-allow", "uid:12345", file=False) as daemon:
        me = f"uid {os.getuid()} (gid {os.getgid()})"
        for _ in range(3):
            with Publisher(path) as refused:
                assert refused.answer() == {"ok": False, "error": f"{me} may not publish here"}
                assert refused.answer() is None
        assert daemon.log().count("refused") == 1, "the log is not filled"
        assert f" warning: {path}: refused {me}\n" in daemon.log()


def as_user(user, groups, path):
    """What mplsted answers to a process of that user and these groups."""
    script = (f"import os, socket\nos.setgroups({groups})\nos.setgid(54321)\nos.setuid({user})\n"
              f"s = socket.socket(socket.AF_UNIX)\ns.connect({str(path)!r})\n"
              "try:\n    s.sendall(b'{}\\n')\n"
              "except BrokenPipeError:\n    pass   # it is refused already\n"
              "print(s.makefile().readline())\n")
    done = subprocess.run([sys.executable, "-c", script], stdout=subprocess.PIPE, check=True, timeout=60)
    return json.loads(done.stdout)


@pytest.mark.skipif(os.getuid() != 0, reason="only root can be others")
def test_users_and_groups_are_known_by_what_the_kernel_says(tmp_path, open_path):
    path = open_path / "publish.sock"
    arguments = ("--publish", path, "--publish-mode", "0666", "--publish-owner", "12345:54321",
                 "--publish-allow", "uid:12345", "--publish-allow", "gid:998")
    with Mplsted(tmp_path, *arguments, file=False):
        status = os.stat(path)
        assert (stat.S_IMODE(status.st_mode), status.st_uid, status.st_gid) == (0o666, 12345, 54321)
        assert as_user(12345, [], path) == NOTHING
        assert as_user(12346, [998], path) == NOTHING
        assert as_user(12346, [997], path) == {"ok": False, "error": "uid 12346 (gid 54321) may not publish here"}


@pytest.mark.parametrize("arguments, complaint", [
    (["--publish", "p", "--publish-mode", "0668"],
     "--publish-mode 0668: it must be an octal number up to 0777, such as 0660"),
    (["--publish", "p", "--publish-mode", "1777"],
     "--publish-mode 1777: it must be an octal number up to 0777, such as 0660"),
    (["--publish", "p", "--publish-allow", "root"],
     "--publish-allow root: it must be uid:USER or gid:GROUP, by name or number"),
    (["--publish", "p", "--publish-owner", "nobody-of-that-name"],
     "--publish-owner nobody-of-that-name: there is no user \"nobody-of-that-name\""),
    (["--publish", "p", "--publish-owner", ":"], "--publish-owner :: it must be USER, USER:GROUP or :GROUP"),
])
def test_a_wrong_option_is_refused(tmp_path, arguments, complaint):
    done = run(tmp_path, *arguments)
    assert (done.returncode, done.stdout, done.stderr) == (2, "", f"mplsted: {complaint}\n")


# The socket's place


def test_a_socket_that_was_left_behind_is_replaced_and_one_in_use_is_not(tmp_path):
    path = tmp_path / "publish.sock"
    daemon = Mplsted(tmp_path, "--publish", path, file=False).start()
    daemon.kill()
    assert path.is_socket(), "left behind"
    daemon.start()
    done = run(tmp_path, "--publish", path, "--listen", "udp:127.0.0.1:0")
    assert (done.returncode, done.stdout, done.stderr) == (
        1, "", f"mplsted: cannot publish at {path}: process {daemon.process.pid} listens there\n")
    with Publisher(path) as publisher:
        assert publisher.changed({}) == 0
    daemon.stop()
    assert not path.exists()
    path.write_text("precious", encoding="utf-8")
    done = run(tmp_path, "--publish", path, "--listen", "udp:127.0.0.1:0")
    assert done.stderr == f"mplsted: cannot publish at {path}: there is something else that is no socket\n"
    assert path.read_text(encoding="utf-8") == "precious"


def test_of_many_that_start_at_once_one_gets_the_place(tmp_path):
    path = tmp_path / "publish.sock"
    with socket.socket(socket.AF_UNIX) as left_behind:
        left_behind.bind(str(path))
    command = [BUILD / "mplsted", "--publish", path, "--listen", "udp:127.0.0.1:0"]
    processes = [subprocess.Popen(command, env=environment(tmp_path / str(number)), stdin=subprocess.DEVNULL,
                                  stdout=subprocess.PIPE, stderr=subprocess.PIPE) for number in range(6)]
    try:
        await_true(lambda: sum(process.poll() is not None for process in processes) == 5, "five to give up")
        [winner] = [process for process in processes if process.poll() is None]
        assert winner.stdout.readline().startswith(b"ready: ")
        with Publisher(path) as publisher:
            assert publisher.status()["pid"] == winner.pid
        for process in processes:
            if process is not winner:
                assert process.stderr.read().decode() == \
                    f"mplsted: cannot publish at {path}: process {winner.pid} listens there\n"
    finally:
        for process in processes:
            if process.poll() is None:
                process.terminate()
            process.communicate(timeout=60)
    assert not path.exists()


@pytest.mark.parametrize("soft, hard, most", [(512, 2048, 1024), (400, 400, 200)])
def test_publishers_leave_mplsted_the_descriptors_that_it_needs(tmp_path, soft, hard, most):
    daemon = Mplsted(tmp_path, "--publish", tmp_path / "publish.sock")
    daemon.command = ["prlimit", f"--nofile={soft}:{hard}", *daemon.command]
    ours = resource.getrlimit(resource.RLIMIT_NOFILE)
    resource.setrlimit(resource.RLIMIT_NOFILE, (ours[1], ours[1]))
    publishers = []
    try:
        with daemon:
            for _ in range(most):
                publishers.append(Publisher(tmp_path / "publish.sock"))
                publishers[-1].send(b'{"$status":null}\n' * 100)   # and reads no answer
            for _ in range(200):
                with Publisher(tmp_path / "publish.sock") as one_more:
                    assert one_more.answer() == {"ok": False, "error": f"there are {most} connections already"}
            with_manager(daemon, lambda manager: manager.value(NAME)[1] == b"to-paris")
            for publisher in publishers:   # all at once
                publisher.close()
            with Publisher(tmp_path / "publish.sock") as publisher:
                assert publisher.changed({}) == 0
    finally:
        resource.setrlimit(resource.RLIMIT_NOFILE, ours)


def test_descriptors_beyond_1023_serve_like_others(tmp_path):
    soft, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
    if hard < 2048:
        pytest.skip("this process may not have that many descriptors")
    resource.setrlimit(resource.RLIMIT_NOFILE, (2048, hard))
    path = tmp_path / "publish.sock"
    holders = [os.open("/dev/null", os.O_RDONLY) for _ in range(1030)]
    try:
        daemon = Mplsted(tmp_path, "--publish", path, file=False)
        with open(daemon.out, "wb") as out, open(daemon.err, "wb") as err:
            daemon.process = subprocess.Popen(daemon.command, env=daemon.environment, stdin=subprocess.DEVNULL,
                                              stdout=out, stderr=err, pass_fds=holders)
    finally:
        for holder in holders:
            os.close(holder)
        resource.setrlimit(resource.RLIMIT_NOFILE, (soft, hard))
    await_true(lambda: daemon.process.poll() is not None or daemon.out.read_text().startswith("ready"), "mplsted")
    with Publisher(path) as publisher:
        assert publisher.changed({"$replace": STATE}) > 0
        assert max(map(int, os.listdir(f"/proc/{daemon.process.pid}/fd"))) > 1023
        with_manager(daemon, lambda manager: await_true(lambda: rows(manager) == ROWS, "the rows"))
    daemon.stop()


# With a state file as well


def test_what_is_published_goes_on_top_of_the_file_until_that_changes(tmp_path):
    path = tmp_path / "publish.sock"
    with Mplsted(tmp_path, "--publish", path) as daemon:
        assert daemon.ready()[1] == f"{daemon.state} and {path}"
        with Publisher(path) as publisher:
            assert publisher.changed({"$replace": STATE}) == 0, "the file is loaded first"
            assert publisher.changed(SWITCH_OVER) == 1
            file = publisher.status()["state"]["file"]
            assert (file["path"], file["loads"]) == (str(daemon.state), 1)
            daemon.publish(json.dumps(merged(STATE, {"pathSpec": {"cli:new": {}}})))
            await_true(lambda: "cli:new" in publisher.state()["pathSpec"], "the file to be read again")
            active = publisher.state()["subTunnelStatus"]["cli:to-paris"]["activeLsp"]
            assert active == STATE["subTunnelStatus"]["cli:to-paris"]["activeLsp"], "the file replaces everything"
            assert publisher.status()["state"]["file"]["loads"] == 2


# What an operator asks


def test_the_status_says_how_the_agent_fares(daemon, publisher):
    status = publisher.status()
    assert status["pid"] == daemon.process.pid
    hops = {oid for oid, _ in EXPECTED if oid.startswith(f"{TABLES['hop']}.1.5.")}
    assert status["rows"] == {"mplsTunnelTable": 13, "mplsTunnelHopTable": len(hops), "mplsTunnelPerfTable": 13}
    assert status["hopLists"] == 13
    assert status["addresses"] == [daemon.address] and status["agentx"] is None and status["counters"] is None
    state = status["state"]
    assert state["entries"] == {name: len(entries) for name, entries in STATE.items()}
    assert state["file"] is None and state["lastChange"] <= status["started"] or state["lastChange"].endswith("Z")
    assert state["publish"]["socket"] == str(daemon.socket) and state["publish"]["lastPublisher"] == os.getuid()
    before = status["work"]["tunnel rows built"]
    publisher.changed(SWITCH_OVER)
    assert publisher.status()["work"]["tunnel rows built"] == before + 1


def test_the_status_says_whether_there_are_counters(tmp_path):
    name = f"mplste-test-status-{os.getpid()}"
    path = tmp_path / "publish.sock"
    mplste = [BUILD / "mplste", "counters", "--name", name]
    with Mplsted(tmp_path, "--publish", path, "--counters", name, file=False), Publisher(path) as publisher:
        assert publisher.status()["counters"] == {"name": name, "attached": False}
        subprocess.run([*mplste, "set", "tunnel", "1", "2", "3"], check=True)
        try:
            await_true(lambda: publisher.status()["counters"]["attached"], "the counters to be found")
        finally:
            subprocess.run([*mplste, "remove", "--all"], check=True)


def test_trace_levels_are_set_while_it_runs(daemon, publisher):
    before = len(daemon.log())
    assert publisher.ask({"$trace": "RsvpSnmpSm=9"}) == {"ok": True}
    publisher.changed(SWITCH_OVER)
    assert " trace: RsvpSnmpSm 9: " in daemon.log()[before:]
    assert publisher.ask({"$trace": "RsvpSnmpSm=0"}) == {"ok": True}
    before = len(daemon.log())
    publisher.changed({"$replace": STATE})
    assert daemon.log()[before:] == ""
    assert publisher.refusal({"$trace": "RsvpSnmpSm=16"}).startswith("/$trace: ")
    assert publisher.refusal({"$trace": "RsvpSnmpSn=1"}) == \
        '/$trace: nothing traces under that name, "RsvpSnmpSm" is probably meant'
    assert publisher.refusal({"$trace": 3}) == "/$trace: expected HANDLE=LEVELS or null but found 3"


def test_trace_handles_are_listed(publisher):
    def traces():
        return {trace.pop("handle"): trace for trace in publisher.ask({"$trace": None})["traces"]}

    assert {"MplsSnmpAgent", "RsvpSnmpSm", "mplsTeStdMIB"} <= traces().keys()
    assert traces()["mplsTeStdMIB"] == {"levels": "0", "exists": True}
    publisher.ask({"$trace": "mplsTeStdMIB=0-1,8"})
    assert traces()["mplsTeStdMIB"] == {"levels": "0-1,8", "exists": True}
    publisher.ask({"$trace": "mplsTeStdMIB=0"})
    publisher.ask({"$trace": "comes-later=3"})
    assert traces()["comes-later"] == {"levels": "3", "exists": False}


def test_no_more_than_so_many_handles_are_set_for_later(publisher):
    refused = [i for i in range(110) if not publisher.ask({"$trace": f"another{i}-later=3"})["ok"]]
    assert refused and refused[0] <= 100 and len(refused) >= 10
    assert publisher.ask({"$trace": "another0-later=0"}) == {"ok": True}


def test_other_requests_are_refused(publisher):
    assert publisher.refusal({"$stats": None}) == '/$stats: there is no such request; "$state" is probably meant'
    assert publisher.refusal({"$reload": None}) == \
        "/$reload: there is no such request; there are $replace, $state, $status, $events and $trace"
