# SPDX-License-Identifier: MIT
"""mplste doctor finds what keeps managers from seeing the tunnels, and prints the lines that mend it."""

import os
import pwd
import re
import signal
import socket
import subprocess
import tempfile

import pytest
from support.master import Master
from support.mplsted import BUILD, Mplsted
from support.publisher import Publisher
from support.stand_in import await_true
from support.state import STATE

MPLSTE = BUILD / "mplste"
AGENTX = "master agentx\nagentXSocket unix:{}\n"


@pytest.fixture(scope="module")
def daemon(tmp_path_factory):
    folder = tmp_path_factory.mktemp("mplsted")
    with Mplsted(folder, "--publish", folder / "publish.sock", file=False) as mplsted:
        mplsted.socket = folder / "publish.sock"
        with Publisher(mplsted.socket) as publisher:
            publisher.changed({"$replace": STATE})
        yield mplsted


@pytest.fixture
def master(tmp_path):
    """The path of a socket that anybody may connect to."""
    path = tmp_path / "agentx"
    with socket.socket(socket.AF_UNIX) as listener:
        listener.bind(str(path))
        listener.listen()
        path.chmod(0o777)
        yield path


@pytest.fixture
def doctor(daemon, tmp_path):
    """A function that lets the doctor look at a snmpd.conf of these lines: the exit status, and what it said."""
    def look(snmpd_conf=None, *arguments, publish=daemon.socket):
        conf = tmp_path / "snmpd.conf"
        if snmpd_conf is not None:
            conf.write_text(snmpd_conf, encoding="utf-8")
        done = subprocess.run([MPLSTE, "doctor", "--snmpd-conf", conf, *arguments], capture_output=True, check=False,
                              encoding="utf-8", timeout=60, env=os.environ | {"MPLSTE_SOCKET": str(publish)})
        return done.returncode, done.stdout
    return look


def remedies(output):
    """What is said behind each line that begins with BAD."""
    found, lines = {}, None
    for line in output.splitlines():
        if line.startswith("BAD"):
            lines = found[line.removeprefix("BAD").strip()] = []
        elif line.startswith("good"):
            lines = None
        else:
            lines.append(line.strip())
    return found


def test_where_all_is_well_nothing_is_to_be_mended(doctor, master):
    code, output = doctor(AGENTX.format(master) + "rocommunity public 127.0.0.1 .1.3.6.1.2.1\n")
    assert code == 0 and not remedies(output), output
    assert output.count("good ") == len(output.splitlines()) == 6


def test_where_mplsted_answers_itself_an_snmpd_beside_it_is_no_matter(daemon):
    done = subprocess.run([MPLSTE, "doctor", "--socket", daemon.socket], capture_output=True, check=False,
                          encoding="utf-8", timeout=60)
    assert done.returncode == 0, done.stdout
    assert f"good it answers managers itself, at {daemon.address}\n" in done.stdout
    assert "snmpd" not in done.stdout


def test_where_there_is_no_snmpd_none_is_missed(doctor):
    code, output = doctor()
    assert code == 0, output
    assert "snmpd.conf: no such file; no snmpd to serve through\n" in output


def test_a_configuration_that_cannot_be_read(doctor, tmp_path):
    (tmp_path / "folder").write_text("", encoding="utf-8")
    code, output = doctor(None, "--snmpd-conf", tmp_path / "folder" / "snmpd.conf")
    assert code == 2
    assert remedies(output) == {f"{tmp_path}/folder/snmpd.conf cannot be read: Not a directory":
                                ["run this command as root"]}


def test_mplsted_that_is_not_there(doctor, tmp_path):
    code, output = doctor(publish=tmp_path / "none.sock")
    assert code == 2
    [(what, lines)] = remedies(output).items()
    assert "none.sock" in what and f"mplstePublish {tmp_path}/none.sock" in lines


def test_mplsted_that_does_not_answer(doctor, tmp_path):
    with Mplsted(tmp_path, "--publish", tmp_path / "mute.sock", file=False) as mplsted:
        mplsted.process.send_signal(signal.SIGSTOP)
        code, output = doctor(None, "--timeout", "0.2", publish=tmp_path / "mute.sock")
        mplsted.process.send_signal(signal.SIGCONT)
    assert code == 2
    assert remedies(output) == {f"{tmp_path}/mute.sock: mplsted does not answer":
                                ["ask again with a longer --timeout, and start mplsted again if that does not help"]}


@pytest.mark.parametrize("arguments, complaint, remedy", [
    (["--publish-mode", "0600"], "Permission denied",
     ["run this command as root, or as a member of the group that the socket is open to"]),
    (["--publish-mode", "0666", "--publish-allow", "uid:0"], "may not publish here",
     ["run this command as root, or let yourself in, in mplsted.conf:", "mplstePublishAllow uid:0",
      f"mplstePublishAllow uid:{pwd.getpwnam('nobody').pw_uid}"]),
])
@pytest.mark.skipif(os.geteuid() != 0, reason="only root may be somebody else")
def test_mplsted_that_lets_somebody_else_in(tmp_path, arguments, complaint, remedy):
    with tempfile.TemporaryDirectory() as folder:   # those of pytest are closed themselves
        os.chmod(folder, 0o755)
        path = f"{folder}/publish.sock"
        with Mplsted(tmp_path, "--publish", path, *arguments, file=False):
            done = subprocess.run([MPLSTE, "doctor", "--socket", path, "--snmpd-conf", f"{folder}/none"],
                                  capture_output=True, check=False, encoding="utf-8", timeout=60, cwd="/",
                                  user="nobody", group="nogroup", extra_groups=[])
    assert done.returncode == 2
    [(what, lines)] = remedies(done.stdout).items()
    assert what.endswith(complaint) and lines == remedy


def test_a_state_that_nobody_publishes(doctor, tmp_path):
    with Mplsted(tmp_path, "--publish", tmp_path / "empty.sock", file=False):
        code, output = doctor(publish=tmp_path / "empty.sock")
    assert code == 2
    assert remedies(output) == {"there is no state file, and nobody has published anything":
                                [f"mplste publish --socket {tmp_path}/empty.sock STATE.json"]}


def test_counters_that_are_not_there(doctor, tmp_path):
    name = f"mplste-doctor-{os.getpid()}"
    with Mplsted(tmp_path, "--publish", tmp_path / "counting.sock", "--counters", name):
        code, output = doctor(publish=tmp_path / "counting.sock")
    assert code == 2
    assert remedies(output) == {
        f"the counters {name} are not there, or not to be read: packets and octets read as 0":
            ["start the process that counts, or look at what there is:", f"mplste counters --name {name} list"]}


def test_a_document_that_was_refused(doctor, tmp_path):
    with Mplsted(tmp_path, "--publish", tmp_path / "refusing.sock") as _:
        with Publisher(tmp_path / "refusing.sock") as publisher:
            publisher.refusal({"nonsense": {}})
        code, output = doctor(publish=tmp_path / "refusing.sock")
    assert code == 2
    [what] = remedies(output)
    assert what.startswith("documents were refused (1), the last at ") and "nonsense" in what


def test_a_document_that_was_refused_and_published_again(doctor, tmp_path):
    """The advice is followed, and nothing is left to be mended."""
    with Mplsted(tmp_path, "--publish", tmp_path / "refusing.sock") as mplsted:
        with Publisher(tmp_path / "refusing.sock") as publisher:
            publisher.refusal({"nonsense": {}})
            publisher.changed({"pathSpec": {}})
            code, output = doctor(publish=tmp_path / "refusing.sock")
            assert code == 0, output
            assert "/nonsense: there is no such collection; what came from there later was accepted\n" in output

            good = mplsted.state.read_text(encoding="utf-8")
            mplsted.publish("{}}")
            await_true(lambda: publisher.status()["refused"]["documents"] == 2, "the file to be refused")
            assert doctor(publish=tmp_path / "refusing.sock")[0] == 2
            mplsted.publish(good)
            await_true(lambda: publisher.status()["refused"]["last"]["mended"], "the file to be accepted")
            code, output = doctor(publish=tmp_path / "refusing.sock")
            assert code == 0, output
            assert output.count(str(mplsted.state)) == 2, "as the source, and once in what was refused"


def test_a_snmpd_that_takes_no_subagents(doctor):
    code, output = doctor("rocommunity public\n")
    assert code == 2
    [lines] = remedies(output).values()
    assert lines[1:] == ["master agentx", "agentXSocket unix:/run/agentx/master",
                         "agentXPerms 0660 0755 Debian-snmp mplste"]


def test_a_snmpd_that_loads_mplste_needs_no_subagents(doctor):
    code, output = doctor("dlmod mplsTe /usr/lib/mplste/mplsTe.so\n")
    assert code == 0, output
    assert "snmpd loads mplste" in output


@pytest.mark.parametrize("rules, hides", [
    ("view systemonly included .1.3.6.1.2.1.1\nview systemonly included .1.3.6.1.2.1.25.1\n", True),
    ("view systemonly included .1.3.6.1.2.1.1\nview systemonly included .1.3.6.1.2.1.10.166\n", False),
    ("view systemonly included .1\n", False),
    ("view systemonly included .1\nview systemonly excluded .1.3.6.1.2.1.10\n", True),
    ("view systemonly included .1.3.6.1.2.1.10.166.3.2.2\n", False),
    ("view SYSTEMONLY included .1\n", True),
    ("", True),
])
def test_a_view_that_hides_the_tables(doctor, master, rules, hides):
    code, output = doctor(AGENTX.format(master) + rules + "rocommunity public default -V systemonly\n")
    assert code == (2 if hides else 0), output
    if hides:
        [lines] = remedies(output).values()
        assert lines[1:] == ["view systemonly included .1.3.6.1.2.1.10.166"]


def test_what_a_configuration_includes_is_a_part_of_it(doctor, master, tmp_path):
    """As Debian's own does."""
    (tmp_path / "snmpd.conf.d").mkdir()
    (tmp_path / "snmpd.conf.d" / "master.conf").write_text(AGENTX.format(master), encoding="utf-8")
    (tmp_path / "snmpd.conf.d" / "master.conf.old").write_text("agentXSocket unix:/none\n", encoding="utf-8")
    (tmp_path / "views").write_text("view systemonly included .1.3.6.1.2.1.10.166\nincludeFile views\n",
                                    encoding="utf-8")
    code, output = doctor(f"includeDir {tmp_path}/snmpd.conf.d\nIncludeFile views\nincludeFile none\n"
                          "rocommunity public default -V systemonly\n")
    assert code == 0, output
    assert "snmpd takes subagents" in output and f"may connect to {master}" in output


@pytest.mark.parametrize("line, hides", [
    ("rocommunity public default .1.3.6.1.2.1.1", True), ("rouser operator priv 1.3.6.1.2.1.2", True),
    ("rocommunity public default .1.3.6.1.2.1", False), ("rocommunity public default", False),
    ("rocommunity public default .1.3.6.1.2.1.10.166.3.2.2", False), ("rouser operator priv", False),
])
def test_an_oid_that_leaves_the_tables_out(doctor, master, line, hides):
    code, output = doctor(AGENTX.format(master) + line + "\n")
    assert code == (2 if hides else 0), output
    if hides:
        [(what, lines)] = remedies(output).items()
        who, oid = line.rsplit(" ", 1)
        assert what.endswith(f"snmpd.conf: {line} hides the tables from managers")
        assert lines[1:] == [f"view mplste included {oid}", "view mplste included .1.3.6.1.2.1.10.166", f"{who} -V mplste"]


@pytest.mark.parametrize("view, hides", [("some", True), ("all", False), ("none", False)])
def test_a_group_that_does_not_see_the_tables(doctor, master, view, hides):
    code, output = doctor(AGENTX.format(master) + "view some included .1.3.6.1.2.1.1\nview all included .1\n"
                          f'access readers "" any noauth exact {view} none none\n')
    assert code == (2 if hides else 0), output


def test_a_master_that_is_not_there(doctor, tmp_path):
    code, output = doctor(AGENTX.format(tmp_path / "none"))
    assert code == 2
    [(what, lines)] = remedies(output).items()
    assert what == f"{tmp_path}/none is not there"
    assert lines[1:3] == ["master agentx", f"agentXSocket unix:{tmp_path}/none"]
    assert lines[3].startswith("agentXPerms 0660 0755 Debian-snmp ")


def test_a_master_in_a_closed_directory(doctor, master):
    master.parent.chmod(0o700)
    code, output = doctor(AGENTX.format(master), "--user", "nobody")
    master.parent.chmod(0o755)
    assert code == 2
    [(what, lines)] = remedies(output).items()
    [closed] = re.findall(r"^(\S+) \(mode 0700\) is closed to the user nobody$", what)
    assert master.is_relative_to(closed), "one on the way to it"
    assert lines[1::2] == [f"chmod o+x {closed}", "agentXPerms 0660 0755 Debian-snmp nogroup"]


@pytest.mark.skipif(os.geteuid() != 0, reason="only root may give a socket to others")
def test_a_directory_that_snmpd_has_closed_is_opened_by_what_the_doctor_says(doctor, tmp_path):
    """snmpd makes the directory for itself alone, and leaves it so when it is configured otherwise later."""
    with tempfile.TemporaryDirectory() as folder:   # those of pytest are closed themselves
        os.chmod(folder, 0o755)
        master = f"{folder}/made/agentx"
        advice = []
        for _ in range(2):
            with Master(tmp_path, *advice, socket=f"unix:{master}") as snmpd:
                (tmp_path / "snmpd.conf").chmod(0o644)
                lines = sum(remedies(doctor(None, "--agentx-socket", master, "--user", "nobody")[1]).values(), [])
                for command in [line for line in lines if line.startswith("chmod ")]:
                    subprocess.run(command.split(), check=True)
                advice = [line for line in lines if line.startswith("agentXPerms ")]
            assert "Unknown" not in snmpd.log()
        assert not lines


def of_subagent(folder, master, conf, *arguments):
    """What the doctor finds where mplsted is the subagent of this master."""
    with Mplsted(folder, "--publish", folder / "subagent.sock", "--agentx", master, listen=()) as mplsted:
        await_true(lambda: "AgentX, c" in mplsted.log(), "a word about the connection")
        done = subprocess.run([MPLSTE, "doctor", "--socket", folder / "subagent.sock", "--snmpd-conf", conf, *arguments],
                              capture_output=True, check=False, encoding="utf-8", timeout=60)
    return done.returncode, done.stdout


def test_a_subagent_without_its_master(tmp_path):
    (tmp_path / "snmpd.conf").touch()
    code, output = of_subagent(tmp_path, f"unix:{tmp_path}/none", tmp_path / "snmpd.conf")
    assert code == 2
    cut_off, no_subagents, missing = remedies(output)
    assert cut_off.startswith(f"the AgentX master at unix:{tmp_path}/none is disconnected since ")
    assert no_subagents.endswith("snmpd takes no subagents, so mplsted --agentx cannot connect")
    assert missing == f"{tmp_path}/none is not there"


def test_a_subagent_that_is_connected_has_found_its_way(tmp_path):
    with Master(tmp_path) as snmpd:
        # The service may run as somebody else than is asked for, or in groups that only its unit knows.
        code, output = of_subagent(tmp_path, snmpd.socket, snmpd.config, "--user", "nobody")
    assert code == 0, output
    assert f"good the AgentX master at {snmpd.socket} is connected since " in output


def test_a_user_that_there_is_not(doctor, master):
    code, output = doctor(AGENTX.format(master), "--user", "nobody-of-that-name")
    assert code == 1 and output == ""
