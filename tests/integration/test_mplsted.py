# SPDX-License-Identifier: MIT
"""mplsted as a daemon: how it starts, what it says, whom it lets in, and how it ends."""

import os
import pwd
import re
import signal
import stat
import subprocess
import tempfile
from pathlib import Path

import pytest
from support import ber
from support.manager import Manager
from support.mplsted import ACCESS, BUILD, HEAD_END, SANITIZER, SOURCE, V3, Mplsted, run
from support.stand_in import await_true
from support.tree import ROOT, TABLES, below, parse

NAME = f"{TABLES['tunnel']}.1.5.12.1.167772161.167772169"
SYSTEM_NAME = ".1.3.6.1.2.1.1.5.0"
PUBLIC = ("-v2c", "-c", "public")
URGENT = re.compile(r" (error|warning|info): ")


def name_at(daemon, address, access=PUBLIC):
    done = subprocess.run(["snmpget", *access, "-t", "10", "-r", "1", "-Onqv", address, NAME], env=daemon.environment,
                          capture_output=True, encoding="utf-8", timeout=60)
    return done.stdout or done.stderr


# Starting


def test_it_says_what_it_serves_once_all_rows_are_there(mplsted):
    daemon = mplsted()
    tunnels, state, [address], access = daemon.ready()
    assert (tunnels, state, access) == (13, str(daemon.state), f"access as in {daemon.folder}/access.conf")
    assert re.fullmatch(r"udp:127\.0\.0\.1:[1-9]\d+", address), "the port that it was given"
    assert len(parse(daemon.snmp("snmpbulkwalk", f"{TABLES['tunnel']}.1.5").stdout)) == 13
    assert not URGENT.search(daemon.log())


def test_the_line_is_said_for_an_empty_state_too(mplsted):
    assert mplsted(state="{}").ready()[0] == 0


def test_nobody_has_to_listen_to_what_it_says(tmp_path):
    """Started without standard streams, nothing of what it opens gets into their place."""
    daemon = Mplsted(tmp_path)
    closed = ["/bin/sh", "-c", 'exec "$@" <&- >&- 2>&-', "sh"]
    process = subprocess.Popen([*closed, *daemon.command], env=daemon.environment)
    try:
        streams = [f"/proc/{process.pid}/fd/{stream}" for stream in range(3)]
        await_true(lambda: (tmp_path / "net-snmp" / "mplsted.conf").exists(), "mplsted to serve")
        assert [os.readlink(stream) for stream in streams] == ["/dev/null"] * 3
    finally:
        process.terminate()
        assert process.wait(60) == 0


def test_it_listens_in_several_places(mplsted, tmp_path):
    places = ("udp:127.0.0.1:0", "tcp:127.0.0.1:0", "udp6:[::1]:0", f"unix:{tmp_path}/socket")
    daemon = mplsted(listen=places, access=None)
    _, _, addresses, _ = daemon.ready()
    assert [address.split(":")[0] for address in addresses] == ["udp", "tcp", "udp6", "unix"]
    for address in addresses:
        assert name_at(daemon, address) == '"to-paris"\n', address
    daemon.stop()
    assert not (tmp_path / "socket").exists()


def test_the_configuration_may_say_where(mplsted):
    daemon = mplsted(listen=(), access=ACCESS + "agentaddress udp:127.0.0.1:0,tcp:127.0.0.1:0\n")
    _, _, addresses, _ = daemon.ready()
    assert [address.rsplit(":", 1)[0] for address in addresses] == ["udp:127.0.0.1", "tcp:127.0.0.1"]
    assert name_at(daemon, addresses[1]) == '"to-paris"\n'


@pytest.mark.parametrize("arguments, code, text", [
    ([], 2, r"--state or --publish is required, or a line mplsteState or mplstePublish in mplsted\.conf: see 'mplsted --help'"),
    (["--state", HEAD_END, "--port", "161"], 2, r".*--port.*: see 'mplsted --help'"),
    (["--state", HEAD_END, "surplus"], 2, r".*surplus.*: see 'mplsted --help'"),
    (["--state", ""], 2, r"--state must not be empty"),
    (["--state", HEAD_END, "--trace", "mplsTeStdMIB=3-99"], 2, r"--trace mplsTeStdMIB=3-99: .*99.*"),
    (["--state", "none.json"], 1, r"none\.json: No such file or directory"),
    (["--state", "."], 1, r"\.: this is not a regular file"),
    (["--state", SOURCE / "README.md"], 1, r".*/README\.md: line 1, column 1: .*"),
    (["--state", HEAD_END, "--config", "none.conf"], 1,
     r"cannot read the configuration none\.conf: No such file or directory"),
    (["--state", HEAD_END, "--listen", "udp:127.0.0.1:0", "--module", "/none/mplsTeStdMIB.so"], 1,
     r"cannot load the module: /none/mplsTeStdMIB\.so: .*No such file or directory; name another with --module"),
    (["--state", HEAD_END, "--listen", "udp:127.0.0.1:0", "--module", BUILD / "libmplste.so"], 1,
     r".*/libmplste\.so is not a MIB module: .*; name another with --module"),
    (["--state", HEAD_END, "--listen", "udp:192.0.2.1:1161"], 1,
     r"cannot listen on udp:192\.0\.2\.1:1161: Cannot assign requested address"),
    (["--state", HEAD_END, "--listen", "carrier-pigeon:1"], 1, r"cannot listen on carrier-pigeon:1: .*"),
])
def test_what_keeps_it_from_starting_is_said_on_one_line(tmp_path, arguments, code, text):
    done = run(tmp_path, *arguments)
    assert (done.returncode, done.stdout) == (code, "")
    assert re.fullmatch(f"mplsted: {text}\n", done.stderr), done.stderr


def test_a_port_in_use_is_named_with_the_reason(mplsted, tmp_path):
    address = mplsted().address
    done = run(tmp_path, "--state", HEAD_END, "--listen", address)
    assert (done.returncode, done.stdout) == (1, "")
    assert done.stderr == f"mplsted: cannot listen on {address}: Address already in use\n"


@pytest.mark.parametrize("option, text", [
    ("--version", r"mplsted \d+\.\d+\.\d+\nbuilt with net-snmp \d\S*, .*, spdlog \d\S* by .+\n"),
    ("--help", r"Serves [^\n]+\nUsage: .*"),
])
def test_what_only_informs_ends_at_once(tmp_path, option, text):
    done = run(tmp_path, option)
    assert (done.returncode, done.stderr) == (0, "")
    assert re.fullmatch(text, done.stdout, re.DOTALL)


# Access


@pytest.mark.parametrize("lines, complaint", [
    ("rocommunity public\nrocomunity secret\n", "line 2: Warning: Unknown token: rocomunity."),
    ("rouser\n", "line 1: Error: Blank line following rouser token."),
    ("rocommunity public\nview all included .1.3.six\n", "line 2: Error: bad SUBTREE object id"),
    ("rocommunity public\n\n createUser operator SHA\n",
     "line 3: Error: createUser wants a passphrase behind the authentication protocol"),
    ("CREATEUSER operator SHA\n", "line 1: Error: createUser wants a passphrase behind the authentication protocol"),
    ('createUser -e 0x80001f88 "the operator" "SHA-256"\n',
     "line 1: Error: createUser wants a passphrase behind the authentication protocol"),
    ("trapsess -Ci -v 3 -u watcher 127.0.0.1\n",
     "line 1: Error: trapsess wants the engine of a receiver of SNMPv3 informs, as -e 0x..."),
    ("rocommunity public\nTrapSess -v3 -u watcher -C i 127.0.0.1\n",
     "line 2: Error: trapsess wants the engine of a receiver of SNMPv3 informs, as -e 0x..."),
    ("trapsess -Ci -u watcher 127.0.0.1\n",
     "line 1: Error: trapsess wants the engine of a receiver of SNMPv3 informs, as -e 0x..."),
    ("agentaddress udp:127.0.0.1:0\n", "it lets nobody in; add a line such as: rocommunity public 127.0.0.1"),
])
def test_a_bad_configuration_is_refused_with_the_place(tmp_path, lines, complaint):
    config = tmp_path / "access.conf"
    config.write_text(lines, encoding="utf-8")
    done = run(tmp_path, "--state", HEAD_END, "--config", config, "--listen", "udp:127.0.0.1:0")
    assert (done.returncode, done.stdout, done.stderr) == (1, "", f"mplsted: {config}: {complaint}\n")


def test_so_is_what_it_includes(tmp_path):
    (tmp_path / "more").mkdir()
    (tmp_path / "more" / "users.conf").write_text("includeFile more\n", encoding="utf-8")
    (tmp_path / "more" / "more").write_text("# users\ncreateUser operator SHA\n", encoding="utf-8")
    config = tmp_path / "access.conf"
    config.write_text(f"includeDir {tmp_path}/more\n", encoding="utf-8")
    done = run(tmp_path, "--state", HEAD_END, "--config", config, "--listen", "udp:127.0.0.1:0")
    assert (done.returncode, done.stderr) == (1, f"mplsted: {tmp_path}/more/more: line 2: Error: createUser wants a "
                                                 "passphrase behind the authentication protocol\n")


def test_without_a_configuration_this_machine_may_read_the_tables(mplsted):
    daemon = mplsted(access=None)
    assert daemon.ready()[3] == "community public, read-only"
    assert daemon.snmp("snmpget", NAME, SYSTEM_NAME).stdout.startswith(f'{NAME} = STRING: "to-paris"\n')
    done = daemon.snmp("snmpset", SYSTEM_NAME, "s", "elsewhere", check=False)
    assert "Reason: noAccess" in done.stderr
    # Users and rights are nobody's business.
    assert parse(daemon.snmp("snmpwalk", ".1.3.6.1.6").stdout) == []


def test_the_configuration_is_found_where_net_snmp_looks(mplsted, tmp_path):
    (tmp_path / "conf").mkdir()
    (tmp_path / "conf" / "mplsted.conf").write_text("rocommunity hidden 127.0.0.1\n", encoding="utf-8")
    daemon = mplsted(access=None, SNMPCONFPATH=f"/none:{tmp_path}/conf")
    assert daemon.ready()[3] == f"access as in {tmp_path}/conf/mplsted.conf"
    assert name_at(daemon, daemon.address, ("-v2c", "-c", "hidden")) == '"to-paris"\n'


def test_a_given_configuration_is_the_only_one(mplsted, tmp_path):
    (tmp_path / "conf").mkdir()
    (tmp_path / "conf" / "mplsted.conf").write_text("what is this?\n", encoding="utf-8")
    daemon = mplsted(SNMPCONFPATH=f"{tmp_path}/conf")
    assert daemon.ready()[3] == f"access as in {tmp_path}/access.conf"
    assert daemon.log() == ""


def test_who_is_not_let_in_gets_no_answer(mplsted):
    daemon = mplsted()
    manager = Manager(daemon.address)
    manager.send(ber.message(ber.GET, [(NAME, ber.NULL)], request_id=1, community=b"guessed"))
    manager.send(ber.message(ber.GET, [(NAME, ber.NULL)], request_id=2))
    assert ber.Response(manager.socket.recv(65536)).request_id == 2, "the first answer is that to the second request"
    manager.close()


def test_version_3_wants_the_right_passphrase(mplsted):
    daemon = mplsted()
    assert name_at(daemon, daemon.address, V3) == '"to-paris"\n'
    wrong = [word.replace("authenticates", "guesses it") for word in V3]
    assert "Authentication failure" in name_at(daemon, daemon.address, wrong)
    unprotected = ["-v3", "-l", "noAuthNoPriv", "-u", "operator"]
    assert "authorizationError" in name_at(daemon, daemon.address, unprotected)
    assert name_at(daemon, daemon.address, V3) == '"to-paris"\n'


def kept(daemon):
    text = (daemon.folder / "net-snmp" / "mplsted.conf").read_text(encoding="utf-8")
    return dict(re.findall(r"^(engineBoots|oldEngineID) (.+)$", text, re.MULTILINE))


def test_the_version_3_engine_stays_itself_and_counts_its_starts(mplsted):
    daemon = mplsted()
    first = kept(daemon)
    daemon.kill()   # what must be kept is kept from the start
    daemon.start()
    second = kept(daemon)
    assert (first["engineBoots"], second["engineBoots"]) == ("1", "2")
    assert first["oldEngineID"] == second["oldEngineID"]
    assert name_at(daemon, daemon.address, V3) == '"to-paris"\n'


@pytest.fixture
def open_folder():
    """A folder that all users may write to. Not in pytest's own, which every start of pytest closes to others."""
    with tempfile.TemporaryDirectory() as name:
        os.chmod(name, 0o777)
        yield Path(name)


def test_without_a_place_to_keep_things_it_keeps_them_to_itself(open_folder):
    daemon = Mplsted(open_folder, access=None)
    del daemon.environment["SNMP_PERSISTENT_DIR"]
    nobody = pwd.getpwnam("nobody")
    options = {"user": nobody.pw_uid, "group": nobody.pw_gid, "extra_groups": []} if os.getuid() == 0 else {}
    before = set(open_folder.iterdir())
    process = subprocess.Popen(daemon.command, env=daemon.environment, stdin=subprocess.DEVNULL, encoding="utf-8",
                               stdout=subprocess.PIPE, stderr=subprocess.PIPE, cwd=open_folder, **options)
    try:
        assert process.stdout.readline().startswith("ready: ")
        [private] = set(open_folder.iterdir()) - before
        assert private.name.startswith("mplsted.") and stat.S_IMODE(private.stat().st_mode) == 0o700
    finally:
        process.terminate()
        _, log = process.communicate(timeout=60)
    assert (process.returncode, log) == (0, "")
    assert set(open_folder.iterdir()) == before


# Serving


def test_another_context_is_empty_and_does_no_harm(mplsted):
    daemon = mplsted("--context", "red", "--context", "blue")
    done = daemon.snmp("snmpgetnext", "-t", "1", "-r", "0", ROOT, access=[*V3, "-n", "red"], check=False)
    assert ROOT + "." not in done.stdout
    assert name_at(daemon, daemon.address, V3) == '"to-paris"\n'


def test_trace_lines_are_written_when_they_are_asked_for(mplsted):
    daemon = mplsted("--trace", "mplsTeStdMIB=2", "--trace", "RsvpSnmpSm=9", "--trace", "mplsTeStdMiB=0")
    assert re.search(r" trace: RsvpSnmpSm 9: ", daemon.log())
    name_at(daemon, daemon.address)
    assert re.search(r" trace: mplsTeStdMIB 2: mplsTunnelTable_handler: request GET for column mplsTunnelName, key ",
                     daemon.log())
    assert re.search(r" warning: trace handle mplsTeStdMiB: nothing traces under that name so far, but .*mplsTeStdMIB",
                     daemon.log())


def test_a_manager_cannot_fill_the_log(mplsted):
    daemon = mplsted()
    row = below(TABLES["tunnel"])[0][0].split(".1.5.")[1]
    for _ in range(3):
        for column in (11, 17, 11, 18):
            daemon.snmp("snmpget", f"{TABLES['tunnel']}.1.{column}.{row}")
    lines = [line.split(" trace: ")[1] for line in daemon.log().splitlines()]
    assert "mplsTeStdMIB 0: mplsTunnelTable invalid column 11" in lines
    assert len(lines) == len(set(lines))


def test_a_walk_says_nothing_that_an_operator_must_see(mplsted):
    daemon = mplsted("--log-level", "info")
    row = below(TABLES["tunnel"])[0][0].split(".1.5.")[1]
    for table in TABLES.values():
        daemon.snmp("snmpwalk", table)
        for column in range(40):
            daemon.snmp("snmpgetnext", f"{table}.1.{column}")
            daemon.snmp("snmpget", f"{table}.1.{column}.{row}")
    daemon.snmp("snmpbulkwalk", ".1")
    assert daemon.log() == ""


def test_nor_can_octets_that_are_no_message(mplsted):
    daemon = mplsted()
    manager = Manager(daemon.address)
    octets = ber.message(ber.GET, [(NAME, ber.NULL)])
    for _ in range(5):
        manager.send(octets.replace(b"\xa0", b"\x84"))
    manager.value(NAME)
    manager.close()
    assert daemon.log().count("Bad PDU type received: 0x84") == 1


def test_it_sleeps_while_nothing_happens(mplsted):
    """It waits in select, for descriptors alone: the fifth argument, the time to wait at most, is null."""
    daemon = mplsted()
    name_at(daemon, daemon.address)

    def waits_without_end():
        try:
            with open(f"/proc/{daemon.process.pid}/syscall", encoding="ascii") as call:
                words = call.read().split()
        except PermissionError:
            pytest.skip("another process must not be looked at here")
        return words[0].isdigit() and words[5] == "0x0"

    await_true(waits_without_end, "mplsted to sleep")
    name_at(daemon, daemon.address)
    await_true(waits_without_end, "mplsted to sleep again")


# Ending


@pytest.mark.parametrize("how", [signal.SIGTERM, signal.SIGINT], ids=lambda how: how.name)
def test_a_signal_ends_it_cleanly(mplsted, tmp_path, how):
    daemon = mplsted()
    process = daemon.process
    name_at(daemon, daemon.address)
    daemon.stop(how)
    assert process.returncode == 0
    assert sorted(path.name for path in tmp_path.iterdir()) == ["access.conf", "err", "net-snmp", "out", "state.json"]


def test_it_can_end_while_requests_are_under_way(mplsted):
    daemon = mplsted()
    manager = Manager(daemon.address)
    for request in range(200):
        manager.send(ber.message(ber.GETBULK, [(ROOT, ber.NULL)], request_id=request, third=100))
    daemon.stop()
    manager.close()


def test_a_sanitizer_s_report_would_be_noticed():
    assert SANITIZER.search("==1==ERROR: AddressSanitizer: heap-use-after-free")
    assert SANITIZER.search("==1==ERROR: LeakSanitizer: detected memory leaks")
    assert SANITIZER.search("Watch.cpp:22:4: runtime error: null pointer passed as argument 1")
