# SPDX-License-Identifier: MIT
"""mplste publish, state, status and trace against a running mplsted."""

import json
import os
import re
import subprocess

import pytest
from support.mplsted import BUILD, HEAD_END, SOURCE, Mplsted
from support.publisher import Publisher
from support.state import STATE, SWITCH_OVER, merged

MPLSTE = BUILD / "mplste"
SWITCH_OVER_FILE = SOURCE / "examples" / "switchover.json"


@pytest.fixture(scope="module")
def daemon(tmp_path_factory):
    folder = tmp_path_factory.mktemp("mplsted")
    with Mplsted(folder, "--publish", folder / "publish.sock", file=False) as mplsted:
        mplsted.socket = folder / "publish.sock"
        yield mplsted


@pytest.fixture
def mplste(daemon):
    """A function that runs mplste. mplsted has the example head end before each test."""
    with Publisher(daemon.socket) as publisher:
        publisher.changed({"$replace": STATE})

    def execute(*arguments, text=None):
        return subprocess.run([MPLSTE, *arguments], input=text, stdin=subprocess.DEVNULL if text is None else None,
                              capture_output=True, encoding="utf-8", timeout=60,
                              env=os.environ | {"MPLSTE_SOCKET": str(daemon.socket)})
    return execute


def output(done):
    assert (done.returncode, done.stderr) == (0, "")
    return done.stdout


def failure(done, code):
    assert done.returncode == code, done
    assert re.fullmatch(r"mplste: .+\n", done.stderr)
    return done.stderr.removeprefix("mplste: ").rstrip("\n")


def state(mplste):
    return json.loads(output(mplste("state")))


def test_a_patch_is_published(mplste):
    assert output(mplste("publish", SWITCH_OVER_FILE)) == "1 patch published, 1 entry changed\n"
    [(tunnel, status)] = SWITCH_OVER["subTunnelStatus"].items()
    assert state(mplste)["subTunnelStatus"][tunnel]["activeLsp"] == status["activeLsp"]
    assert output(mplste("publish", SWITCH_OVER_FILE)) == "1 patch published, 0 entries changed\n"


def test_a_document_replaces_the_state(mplste):
    before = state(mplste)
    output(mplste("publish", "-", text='{"pathSpec": {"cli:new": {}}}'))
    assert "cli:new" in state(mplste)["pathSpec"]
    assert output(mplste("publish", "--replace", HEAD_END)) == "1 document published, 1 entry changed\n"
    assert state(mplste) == before


def test_patches_come_one_on_a_line_or_on_several(mplste):
    text = ('{"pathSpec": {"cli:a": {}}}\n{"pathSpec": {"cli:b": {"name": "}{\\"\\\\"}}}\n\n'
            '{\n  "pathSpec": {\n    "cli:c": {}\n  }\n}{"pathSpec": {"cli:a": null, "cli:b": null, "cli:c": null}}')
    before = state(mplste)
    assert output(mplste("publish", "--verbose", "-", text=text)) == (
        "line 1: 1 entry changed\nline 2: 1 entry changed\nline 4: 1 entry changed\nline 8: 3 entries changed\n"
        "4 patches published, 6 entries changed\n")
    assert state(mplste) == before


def test_what_goes_on_in_a_head_end_can_be_piped_in(mplste):
    simulate = [MPLSTE, "simulate", "--tunnels", "30"]
    document = subprocess.run(simulate, stdout=subprocess.PIPE, encoding="utf-8", check=True).stdout
    patches = subprocess.run([*simulate, "--churn", "100"], stdout=subprocess.PIPE, encoding="utf-8", check=True).stdout
    assert output(mplste("publish", "--replace", "-", text=document)).startswith("1 document published, ")
    published = output(mplste("publish", "-", text=patches))
    assert re.fullmatch(r"100 patches published, \d\d\d entries changed\n", published)
    wanted = json.loads(document)
    for patch in patches.splitlines():
        wanted = merged(wanted, json.loads(patch))
    assert state(mplste).keys() == wanted.keys()
    assert {name: entries.keys() for name, entries in state(mplste).items()} == \
        {name: entries.keys() for name, entries in wanted.items()}


def test_a_patch_is_sent_as_soon_as_it_is_there(mplste, daemon):
    with subprocess.Popen([MPLSTE, "publish", "-v", "--socket", daemon.socket, "-"], stdin=subprocess.PIPE,
                          stdout=subprocess.PIPE, encoding="utf-8") as process:
        for number in range(3):
            process.stdin.write('{"pathSpec": {"cli:now-%d": {}}}\n' % number)
            process.stdin.flush()
            assert process.stdout.readline() == f"line {number + 1}: 1 entry changed\n"
        process.stdin.close()
        assert process.stdout.readline() == "3 patches published, 3 entries changed\n"
        assert process.wait(60) == 0


@pytest.mark.parametrize("text, complaint", [
    ('{"pathSpec": {"cli:a": {}}}\n\n{"pathSpec": {"cli:b": 3}}\n',
     "line 3: /pathSpec/cli:b: expected an object but found 3"),
    ('{}\n{"pathSpec":\n  {"cli:\u00e9": {}, "cli:b": x}}\n', 'line 3, column 26: expected a value but found "x"'),
    ('{"pathSpec": {"cli:b": {}}', "line 1, column 27: the text ends too early"),
    ('{}\n{"pathSpec": {\n{}\n', 'line 3, column 1: expected a name in quotes but found "{"'),
    ("{}\n\nup\n{}\n", 'line 3, column 1: expected a value but found "u"'),
    ('{"$reload": null}', "line 1: /$reload: there is no such request; there are $replace, $state, $status, $events and $trace"),
])
def test_a_patch_that_is_refused_is_reported_with_its_place(mplste, text, complaint):
    assert failure(mplste("publish", "-", text=text), 2) == f"standard input: {complaint}"
    assert "cli:b" not in state(mplste)["pathSpec"]


def test_a_document_that_is_refused_is_reported_with_its_place(mplste, tmp_path):
    file = tmp_path / "state.json"
    file.write_text('{\n  "pathSpec": {\n    "cli:a": {"type": explicit}\n  }\n}\n', encoding="utf-8")
    assert failure(mplste("publish", "--replace", file), 2) == \
        f'{file}: line 3, column 23: expected a value but found "e"'
    assert failure(mplste("publish", "--replace", "-", text="{}{}"), 1) == \
        "standard input: line 1: --replace wants one document"


def test_what_cannot_be_sent_is_said_on_one_line(mplste, tmp_path):
    assert failure(mplste("publish", tmp_path / "none"), 1) == f"{tmp_path}/none: No such file or directory"
    assert failure(mplste("publish", tmp_path), 1) == f"{tmp_path}: Is a directory"
    assert failure(mplste("publish", "-", text=" \n"), 1) == "standard input: there is nothing in it"
    assert failure(mplste("publish"), 1).startswith("FILE is required")


@pytest.mark.parametrize("command", [["publish", SWITCH_OVER_FILE], ["state"], ["status"], ["trace", "MplsSnmp=0"]],
                         ids=lambda command: command[0])
def test_without_an_mplsted_the_exit_status_says_so(mplste, tmp_path, command):
    path = tmp_path / "none.sock"
    assert failure(mplste(*command, "--socket", path), 2) == \
        f"{path}: no mplsted listens there; does one run with --publish?"


def test_the_state_is_printed_as_a_document_and_survives_the_journey(mplste, daemon, tmp_path):
    printed = output(mplste("state"))
    assert {name: entries.keys() for name, entries in json.loads(printed).items()} == \
        {name: entries.keys() for name, entries in STATE.items()}
    lines = printed.splitlines()
    assert lines[0] == "{" and lines[-1] == "}"
    assert sum(line.startswith("    ") for line in lines) == sum(map(len, STATE.values())), "an entry on each line"
    assert output(mplste("publish", "--replace", "-", text=printed)) == "1 document published, 0 entries changed\n"
    (tmp_path / "run").mkdir()
    with Mplsted(tmp_path / "run", "--publish", tmp_path / "s", state=printed) as other:
        assert other.ready()[0] == 13
        assert output(mplste("state", "--socket", tmp_path / "s")) == printed
    output(mplste("publish", "--replace", "-", text="{}"))
    assert output(mplste("state")) == "{\n}\n"


def test_the_status_is_printed_for_people(mplste, daemon):
    output(mplste("publish", SWITCH_OVER_FILE))
    failure(mplste("publish", "-", text='{"up": 1}'), 2)
    lines = dict(re.findall(r"^(\S.*?)  +(\S.*)$", output(mplste("status")), re.MULTILINE))
    me = os.getuid()
    process = rf"\d+\.\d+\.\d+, process {daemon.process.pid}, since \S+Z \(\d\d:\d\d:\d\d\)"
    assert re.fullmatch(process, lines["mplsted"])
    assert lines["SNMP"] == daemon.address
    assert lines["AgentX"] == lines["state file"] == lines["counters"] == "-"
    assert re.fullmatch(rf"{daemon.socket}, 1 now, \d+ so far, 0 refused, last uid {me}", lines["publishers"])
    assert re.fullmatch(rf"\d+ documents?, last \S+Z from uid {me} \(gid {os.getgid()}\): "
                        r"/up: there is no such collection", lines["refused"])
    assert lines["rows"] == "mplsTunnelTable 13"
    assert lines["hop lists"] == "13"
    assert lines["entries"] == f"pathSpec {len(STATE['pathSpec'])}"
    assert re.search(r"^ +tunnel rows built \d+$", output(mplste("status")), re.MULTILINE)


def test_the_status_is_printed_for_programs(mplste, daemon):
    status = json.loads(output(mplste("status", "--json")))
    assert status["pid"] == daemon.process.pid and status["rows"]["mplsTunnelTable"] == 13


def test_trace_levels_are_set(mplste, daemon):
    before = len(daemon.log())
    assert output(mplste("trace", "RsvpSnmpSm=9")) == ""
    output(mplste("publish", SWITCH_OVER_FILE))
    assert " trace: RsvpSnmpSm 9: " in daemon.log()[before:]
    assert output(mplste("trace", "RsvpSnmpSm=0")) == ""
    assert '"RsvpSnmpSm" is probably meant' in failure(mplste("trace", "RsvpSnmpS=1"), 2)
    assert "must be HANDLE=LEVELS" in failure(mplste("trace", "RsvpSnmpSm"), 2)


def test_what_can_be_traced_is_listed_as_the_documents_say(mplste):
    output(mplste("trace", "mplsTeStdMIB=0-2"))
    output(mplste("trace", "comes-later=3"))
    lines = output(mplste("trace")).splitlines()
    output(mplste("trace", "mplsTeStdMIB=0"))
    assert re.split("  +", lines[0]) == ["HANDLE", "IN FORCE", "LEVEL", "SHOWS"]
    found, force, handle = set(), {}, None
    for line in lines[1:]:
        if not line.startswith(" "):
            handle, force[handle], *rest = re.split("  +", line)
        else:
            rest = re.split("  +", line.lstrip())
        if rest[0] != "-":
            found.add((handle, *rest))
        else:
            assert (handle, rest[1]) == ("comes-later", "nothing traces under that name so far")
    assert (force["mplsTeStdMIB"], force["comes-later"], force["MplsSnmpAgent"]) == ("0-2", "3", "0")
    said = re.findall(r"^\| `(\w+)` \| (\d) \| (.+) \|$", (SOURCE / "docs/mplsted.md").read_text(), re.MULTILINE)
    there = [row for row in said if row[0] in force]
    assert len(there) >= 8 and found == set(there)


@pytest.mark.parametrize("command, words", [
    ("publish", ["FILE", "--replace", "--verbose", "--socket", "MPLSTE_SOCKET"]), ("state", ["--socket"]),
    ("status", ["--json"]), ("trace", ["LEVELS"])])
def test_help_tells_the_options(mplste, command, words):
    text = output(mplste(command, "--help"))
    assert all(word in text for word in words), text
