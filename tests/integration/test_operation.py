# SPDX-License-Identifier: MIT
"""mplsted as operators run it: options in its configuration, checked and read again, and a service manager that is told."""

import os
import re
import shutil
import signal
import socket
import subprocess

import pytest
from support.mplsted import ACCESS, HEAD_END, PROGRAM, V3, Mplsted, environment, run
from support.stand_in import await_true
from support.tree import TABLES

NAME = f"{TABLES['tunnel']}.1.5.12.1.167772161.167772169"
MOVED = f"{TABLES['tunnel']}.1.5.12.9.167772161.167772169"
LISTEN = ["--listen", "udp:127.0.0.1:0"]


def configure(folder, text):
    """Writes an access configuration, and returns its path."""
    (folder / "access.conf").write_text(text, encoding="utf-8")
    return folder / "access.conf"


def reload(daemon, says):
    """Has the daemon read its files again, and waits until it says so."""
    before = len(daemon.log())
    daemon.process.send_signal(signal.SIGHUP)
    await_true(lambda: re.search(says, daemon.log()[before:]), says)


def name_at(daemon, access=("-v2c", "-c", "public"), oid=NAME):
    done = subprocess.run(["snmpget", *access, "-t", "1", "-r", "1", "-Onqv", daemon.address, oid],
                          env=daemon.environment, capture_output=True, encoding="utf-8", timeout=60)
    return done.stdout or done.stderr


# Options in the configuration


def test_the_configuration_may_say_all(tmp_path, mplsted):
    (tmp_path / "other.json").write_text(HEAD_END.read_text(encoding="utf-8"), encoding="utf-8")
    access = ACCESS + f"mplsteState {tmp_path}/other.json\nmplsteTrace mplsTeStdMIB=2\nagentaddress udp:127.0.0.1:0\n"
    daemon = Mplsted(tmp_path, access=access, listen=())
    daemon.command = [PROGRAM, "--config", tmp_path / "access.conf"]
    with daemon:
        assert daemon.ready()[:2] == (13, f"{tmp_path}/other.json")
        assert name_at(daemon) == '"to-paris"\n'
        assert " trace: mplsTeStdMIB 2: " in daemon.log()


def test_the_command_line_wins(mplsted, tmp_path):
    daemon = mplsted(access=ACCESS + "mplsteState /none.json\nmplsteLogLevel debug\n")
    assert daemon.ready()[1] == str(daemon.state)


def test_the_configuration_may_name_a_master(tmp_path):
    """Who may read is the master's affair then; also when the configuration is read again."""
    daemon = Mplsted(tmp_path)
    config = configure(tmp_path, f"mplsteState {HEAD_END}\nmplsteAgentX unix:{tmp_path}/none\n")
    with open(daemon.out, "wb") as out, open(daemon.err, "wb") as err:
        daemon.process = subprocess.Popen([PROGRAM, "--config", config], stdout=out, stderr=err, cwd=tmp_path,
                                          stdin=subprocess.DEVNULL, env=daemon.environment)
    try:
        await_true(lambda: f"AgentX, master at unix:{tmp_path}/none" in daemon.out.read_text(), "the ready line")
        reload(daemon, "info: the configuration has been read again")
    finally:
        daemon.process.terminate()
        assert daemon.process.wait(20) == 0


@pytest.mark.parametrize("line, complaint", [
    ("mplsteTrace mplsTeStdMIB", "mplsteTrace: it must be HANDLE=LEVELS, such as mplsTeStdMIB=0-2"),
    ("mplsteLog file", "mplsteLog: it must be stderr or syslog"),
    ("mplsteLogLevel 3", "mplsteLogLevel: it must be error, warning, info or debug"),
    ("mplsteCountersOwner nobody-of-this-name",
     'mplsteCountersOwner: there is no user "nobody-of-this-name"'),
    ('mplsteState "a" b', "mplsteState: there is more behind the value: b"),
])
def test_a_wrong_value_is_refused_with_its_place(tmp_path, line, complaint):
    config = configure(tmp_path, f"{ACCESS}\n{line}\n")
    done = run(tmp_path, "--state", HEAD_END, "--config", config, *LISTEN)
    number = ACCESS.count("\n") + 2
    assert (done.returncode, done.stdout) == (1, "")
    assert done.stderr == f"mplsted: {config}: line {number}: Error: {complaint}\n"


# Checking


def test_a_check_says_ok_and_leaves_nothing(tmp_path):
    config = configure(tmp_path, f"{ACCESS}mplsteState {HEAD_END}\n")
    done = run(tmp_path, "--check-config", "--config", config)
    assert (done.returncode, done.stdout, done.stderr) == (0, "ok\n", "")
    assert sorted(path.name for path in tmp_path.iterdir()) == ["access.conf", "net-snmp"]
    assert [path.name for path in (tmp_path / "net-snmp").iterdir()] == ["cert_indexes"]


def test_a_check_disturbs_no_agent_that_runs(mplsted, tmp_path):
    daemon = mplsted()
    kept = (tmp_path / "net-snmp" / "mplsted.conf").read_text(encoding="utf-8")
    done = run(tmp_path, "--check-config", "--state", daemon.state, "--listen", daemon.address)
    assert (done.returncode, done.stdout, done.stderr) == (0, "ok\n", "")
    assert (tmp_path / "net-snmp" / "mplsted.conf").read_text(encoding="utf-8") == kept
    assert name_at(daemon, V3) == '"to-paris"\n'


@pytest.mark.parametrize("state, access, arguments, code, complaint", [
    ('{"tunnels": {}}', ACCESS, [], 1, r".*/state\.json: .*tunnels.*"),
    ("{}", ACCESS + "rocomunity x\n", [], 1, r".*/access\.conf: line 5: Warning: Unknown token: rocomunity\."),
    ("{}", ACCESS, ["--module", "/none.so"], 1, r"cannot load the module: /none\.so: .*"),
    ("{}", ACCESS, ["--counters", "a/b"], 1, r".*a/b.*"),
    ("{}", ACCESS + "mplsteAgentX pigeon\n", [], 1, r"pigeon: this is no address of an AgentX master; .*"),
    ("{}", ACCESS + "agentXSocket pigeon\n", ["--agentx"], 1, r"pigeon: this is no address of an AgentX master; .*"),
    ("{}", ACCESS, ["--publish", "/" + "x" * 120], 1, r"cannot publish at /x+: the path of a socket has at most 107 octets"),
    ("{}", ACCESS, ["--log", "file"], 2, r"--log file: it must be stderr or syslog"),
])
def test_a_check_says_what_is_wrong(tmp_path, state, access, arguments, code, complaint):
    (tmp_path / "state.json").write_text(state, encoding="utf-8")
    done = run(tmp_path, "--check-config", "--state", tmp_path / "state.json",
               "--config", configure(tmp_path, access), *arguments)
    assert (done.returncode, done.stdout) == (code, "")
    assert re.fullmatch(f"mplsted: {complaint}\n", done.stderr), done.stderr


# Reading again


def test_rights_follow_the_configuration(mplsted, tmp_path):
    daemon = mplsted()
    assert name_at(daemon) == '"to-paris"\n'
    configure(tmp_path, ACCESS.replace("public", "changed"))
    reload(daemon, "info: the configuration has been read again")
    assert name_at(daemon, ("-v2c", "-c", "changed")) == '"to-paris"\n'
    assert "Timeout" in name_at(daemon)
    assert name_at(daemon, V3) == '"to-paris"\n'


def test_a_new_passphrase_holds_at_once(mplsted, tmp_path):
    daemon = mplsted()
    configure(tmp_path, ACCESS.replace("authenticates", "another phrase"))
    reload(daemon, "info: the configuration has been read again")
    assert name_at(daemon, [word.replace("authenticates", "another phrase") for word in V3]) == '"to-paris"\n'
    assert "Authentication failure" in name_at(daemon, V3)


def test_users_come_and_their_rights_go(mplsted, tmp_path):
    daemon = mplsted()
    configure(tmp_path, "rocommunity public 127.0.0.1\n"
                        'createUser second SHA-256 "another phrase"\nrouser second auth\n')
    reload(daemon, "info: the configuration has been read again")
    second = ["-v3", "-l", "authNoPriv", "-u", "second", "-a", "SHA-256", "-A", "another phrase"]
    assert name_at(daemon, second) == '"to-paris"\n'
    assert "authorizationError" in name_at(daemon, V3)


def test_reading_again_and_again_changes_nothing(mplsted):
    daemon = mplsted()
    for _ in range(5):
        reload(daemon, "info: the configuration has been read again")
        assert name_at(daemon) == name_at(daemon, V3) == '"to-paris"\n'
    assert "warning" not in daemon.log() and "error" not in daemon.log()


def test_version_3_survives_an_agent_that_is_killed_after_it(mplsted):
    """Who has seen the engine after it was read again still takes it for the same after the next start."""
    daemon = mplsted()
    reload(daemon, "info: the configuration has been read again")
    boots = [int(re.search(r"^engineBoots (\d+)", (daemon.folder / "net-snmp" / "mplsted.conf").read_text(), re.M)[1])]
    daemon.kill()
    daemon.start()
    boots.append(int(re.search(r"^engineBoots (\d+)", (daemon.folder / "net-snmp" / "mplsted.conf").read_text(),
                               re.M)[1]))
    assert boots[0] < boots[1]
    assert name_at(daemon, V3) == '"to-paris"\n'


@pytest.mark.parametrize("text, complaint", [
    (ACCESS + "rocomunity x\n", r"access\.conf: line 5: Warning: Unknown token: rocomunity\."),
    (ACCESS + "mplsteLog file\n", r"access\.conf: line 5: Error: mplsteLog: it must be stderr or syslog"),
    ("agentaddress udp:127.0.0.1:0\n", r"access\.conf: it lets nobody in; .*"),
    ("createUser operator SHA\n", r"access\.conf: line 1: Error: createUser wants a passphrase .*"),
    (None, r"cannot read the configuration .*access\.conf: No such file or directory"),
])
def test_a_configuration_that_cannot_be_used_changes_nothing(mplsted, tmp_path, text, complaint):
    daemon = mplsted()
    if text is None:
        (tmp_path / "access.conf").unlink()
    else:
        configure(tmp_path, text)
    reload(daemon, rf"error: .*{complaint}; the configuration stays as it was")
    assert name_at(daemon) == name_at(daemon, V3) == '"to-paris"\n'
    configure(tmp_path, ACCESS)
    reload(daemon, "info: the configuration has been read again")
    assert name_at(daemon) == '"to-paris"\n'


def test_nor_does_one_that_serves_nothing(tmp_path):
    """Rights are not read from one file and the rest from another."""
    serves = f"mplsteState {HEAD_END}\n"
    daemon = Mplsted(tmp_path, access=ACCESS + serves, file=False)
    with daemon:
        configure(tmp_path, ACCESS.replace("public", "changed"))
        reload(daemon, r"error: --state or --publish is required, .*; the configuration stays as it was")
        assert name_at(daemon) == '"to-paris"\n'
        configure(tmp_path, ACCESS.replace("public", "changed") + serves)
        reload(daemon, "info: the configuration has been read again")
        assert name_at(daemon, ("-v2c", "-c", "changed")) == '"to-paris"\n'


def test_a_trace_of_nothing_is_said_when_the_configuration_is_read_again(mplsted, tmp_path):
    daemon = mplsted()
    configure(tmp_path, ACCESS + "mplsteTrace nothing=1\n")
    reload(daemon, "info: the configuration has been read again")
    assert " warning: trace handle nothing: nothing traces under that name so far, but" in daemon.log()


def test_without_a_file_one_that_comes_is_found(mplsted, tmp_path):
    (tmp_path / "conf").mkdir()
    daemon = mplsted(access=None, SNMPCONFPATH=f"{tmp_path}/conf")
    reload(daemon, "info: the configuration has been read again")
    assert name_at(daemon) == '"to-paris"\n', "the default rights"
    (tmp_path / "conf" / "mplsted.conf").write_text("rocommunity found 127.0.0.1\n", encoding="utf-8")
    reload(daemon, "info: the configuration has been read again")
    assert name_at(daemon, ("-v2c", "-c", "found")) == '"to-paris"\n'
    assert "Timeout" in name_at(daemon)


def test_what_has_to_wait_is_said(mplsted, tmp_path):
    daemon = mplsted()
    configure(tmp_path, ACCESS + "mplsteContext red\nmplsteCounters c\nagentaddress udp:127.0.0.1:0\n")
    reload(daemon, "info: the configuration has been read again")
    for token in ("mplsteContext", "mplsteCounters", "agentaddress"):
        assert f" warning: {token}: the change takes effect at the next start\n" in daemon.log()


def test_traces_come_and_go(mplsted, tmp_path):
    daemon = mplsted()
    configure(tmp_path, ACCESS + "mplsteTrace mplsTeStdMIB=2\n")
    reload(daemon, "info: the configuration has been read again")
    name_at(daemon)
    assert " trace: mplsTeStdMIB 2: " in daemon.log()
    configure(tmp_path, ACCESS)
    reload(daemon, "info: the configuration has been read again")
    lines = daemon.log().count(" trace: ")
    name_at(daemon)
    assert daemon.log().count(" trace: ") == lines


def test_the_state_is_read_again_too(mplsted, tmp_path):
    """Also where its changes went unnoticed: here they are made through another name in another folder."""
    daemon = mplsted()
    (tmp_path / "elsewhere").mkdir()
    os.link(daemon.state, tmp_path / "elsewhere" / "state.json")
    text = daemon.state.read_text(encoding="utf-8").replace("10.0.0.9/12/10.0.0.1/1", "10.0.0.9/12/10.0.0.1/9")
    (tmp_path / "elsewhere" / "state.json").write_text(text, encoding="utf-8")
    assert name_at(daemon) == '"to-paris"\n'
    reload(daemon, "info: the configuration has been read again")
    await_true(lambda: name_at(daemon, oid=MOVED) == '"to-paris"\n', "the row to move")


# The log


def test_what_is_not_urgent_enough_is_not_logged(mplsted, tmp_path):
    daemon = mplsted("--log-level", "error", "--trace", "mplsTeStdMIB=2", "--trace", "nothing=1")
    name_at(daemon)
    configure(tmp_path, "rocomunity\n")
    reload(daemon, "error: ")
    assert {line.split(" ")[2] for line in daemon.log().splitlines()} == {"error:"}


def test_the_log_goes_to_syslog(tmp_path):
    """In a namespace of its own, whose /dev/log is the test's."""
    if not shutil.which("unshare") or subprocess.run(["unshare", "--mount", "true"], capture_output=True).returncode:
        pytest.skip("no namespace can be made here")
    (tmp_path / "dev").mkdir()
    daemon = Mplsted(tmp_path, "--log", "syslog", "--trace", "nothing=1")
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as log:
        log.bind(str(tmp_path / "dev" / "log"))
        log.settimeout(20)
        script = ('for file in null urandom random; do : > "$0/$file"; mount --bind /dev/$file "$0/$file"; done; '
                  'mount --bind "$0" /dev && exec "$@"')
        daemon.command = ["unshare", "--mount", "sh", "-c", script, tmp_path / "dev", *daemon.command]
        with daemon:
            text = log.recv(65536).decode()
            # daemon facility (3), warning (4)
            assert re.match(r"<28>.* mplsted\[\d+\]: trace handle nothing: nothing traces under that name so far, but", text)
            assert daemon.log() == ""


# The service manager


@pytest.fixture(params=["path", "abstract"])
def manager(request, tmp_path):
    """The socket of a service manager, and its name."""
    name = f"{tmp_path}/notify" if request.param == "path" else f"@mplste-test-{os.getpid()}"
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as listening:
        listening.bind("\0" + name[1:] if name[0] == "@" else name)
        listening.settimeout(20)
        yield listening, name


def test_the_service_manager_is_told(manager, tmp_path):
    listening, name = manager

    def heard():
        return dict(line.split("=", 1) for line in listening.recv(65536).decode().split("\n"))

    daemon = Mplsted(tmp_path, NOTIFY_SOCKET=name)
    with daemon:
        assert heard() == {"READY": "1", "STATUS": "answering, while the state is being loaded"}
        assert heard() == {"STATUS": daemon.out.read_text(encoding="utf-8").rstrip("\n")}
        daemon.process.send_signal(signal.SIGHUP)
        reloading = heard()
        assert reloading.pop("RELOADING") == "1" and int(reloading.pop("MONOTONIC_USEC")) > 0 and not reloading
        assert heard() == {"READY": "1", "STATUS": daemon.out.read_text(encoding="utf-8").rstrip("\n")}
    assert heard() == {"STOPPING": "1"}


def test_who_cannot_start_does_not_say_that_it_is_ready(manager, tmp_path):
    listening, name = manager
    done = subprocess.run([PROGRAM, "--state", HEAD_END, "--listen", "udp:192.0.2.1:1161"], check=False,
                          env=environment(tmp_path) | {"NOTIFY_SOCKET": name}, capture_output=True, timeout=60)
    assert done.returncode == 1
    listening.setblocking(False)
    with pytest.raises(BlockingIOError):
        listening.recv(65536)
