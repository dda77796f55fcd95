# SPDX-License-Identifier: MIT
"""mplste simulate makes up a head end that mplsted serves, and changes to it that mplsted follows."""

import json
import re
import signal
import subprocess
from collections import Counter

import jsonschema
import pytest
from support.manager import Manager
from support.mplsted import BUILD, SOURCE, Mplsted
from support.stand_in import await_true
from support.tree import TABLES

MPLSTE = BUILD / "mplste"
MERGE_PATCH = SOURCE / "scripts" / "merge-patch"

NAME, HOP_LIST, UP_TIME, OPER_STATUS = (f"{TABLES['tunnel']}.1.{column}" for column in (5, 20, 28, 35))
HOP_ADDRESS = f"{TABLES['hop']}.1.5"


def run(*arguments):
    return subprocess.run([MPLSTE, "simulate", *map(str, arguments)], stdin=subprocess.DEVNULL, capture_output=True,
                          encoding="utf-8", timeout=60)


def output(*arguments):
    done = run(*arguments)
    assert (done.returncode, done.stderr) == (0, "")
    return done.stdout


def patches(*arguments):
    return [json.loads(line) for line in output(*arguments).splitlines()]


def validator(name):
    path = SOURCE / "docs" / name
    schema = json.loads(path.read_text(encoding="utf-8"))
    return jsonschema.Draft202012Validator(
        schema, resolver=jsonschema.RefResolver(base_uri=path.as_uri(), referrer=schema),
        format_checker=jsonschema.FormatChecker())


def walk(manager, root):
    """{index below root: (type, value)}."""
    return {oid.removeprefix(root + "."): value for oid, value in manager.walk(root).items()}


def column(manager, oid):
    return {index: value for index, (_, value) in walk(manager, oid).items()}


def answers(address):
    """({what: value}, {tunnel: up time}) of all three tables. An agent numbers its lists of hops as they come, so that
    a list is called after its tunnel here."""
    manager = Manager(address)
    try:
        rows = {table: walk(manager, oid) for table, oid in TABLES.items()}
    finally:
        manager.close()
    tunnel_of = {str(value): index.removeprefix("1.20.") for index, (_, value) in rows["tunnel"].items()
                 if index.startswith("1.20.")}
    values, up_times = {}, {}
    for table, variables in rows.items():
        for index, (kind, value) in variables.items():
            _, number, key = index.split(".", 2)
            if table == "tunnel" and number == "20":
                value = tunnel_of[str(value)]
            elif table == "hop":
                hop_list, key = key.split(".", 1)
                key = tunnel_of.get(hop_list, f"no tunnel: {hop_list}"), key
            if kind == "Timeticks":
                up_times[key] = value
            else:
                values[table, number, key] = kind, value
    return values, up_times


@pytest.mark.parametrize("arguments", [(), ("--tunnels", 1, "--hops", 0), ("--tunnels", 30, "--hops", 64, "--seed", 9)])
def test_the_document_and_the_patches_keep_to_the_schemas(arguments):
    validator("state.schema.json").validate(json.loads(output(*arguments)))
    patch_schema = validator("state-patch.schema.json")
    for patch in patches(*arguments, "--churn", 40):
        patch_schema.validate(patch)


def test_the_same_options_print_the_same():
    assert output() == output("--tunnels", 100, "--hops", 5, "--seed", 1)
    assert output() != output("--seed", 2)
    assert output("--churn", 30) == output("--churn", 30)
    assert output("--churn", 40).startswith(output("--churn", 30))
    assert output("--churn", 0) == ""


def test_every_entry_has_a_line_of_its_own():
    text = output("--tunnels", 7)
    entries = [line for line in text.splitlines() if line.startswith("    ")]
    assert len(entries) == sum(map(len, json.loads(text).values()))
    assert '"subTunnelConfig": {' in text


@pytest.mark.parametrize("tunnels, hops", [(150, 5), (20, 0), (40, 12)])
def test_the_agent_serves_a_row_for_each_tunnel(tmp_path, tunnels, hops):
    document = output("--tunnels", tunnels, "--hops", hops)
    with Mplsted(tmp_path, state=document) as daemon:
        assert daemon.ready()[0] == tunnels
        manager = Manager(daemon.address)
        names = column(manager, NAME)
        assert [int(index.split(".")[0]) for index in names] == list(range(1, tunnels + 1)), "one for each tunnel id"
        lists = column(manager, HOP_LIST)
        hops_of = Counter(index.split(".")[0] for index in column(manager, HOP_ADDRESS))
        assert hops_of == {str(number): hops for number in lists.values() if hops}
        states = Counter(column(manager, OPER_STATUS).values())
        statuses = json.loads(document)["subTunnelStatus"].values()
        assert states[1] == sum("up" in status for status in statuses)
        assert states[1] + states[2] == tunnels, "also those that are down have a row"
        manager.close()


def test_egresses_lie_on_both_sides_of_128():
    spIds = json.loads(output("--tunnels", 50))["spStatus"]
    assert {int(spId.split(".")[0]) >= 128 for spId in spIds} == {False, True}


def test_the_agent_follows_what_goes_on(tmp_path):
    """After all the patches, it answers as an agent that has been started on the result."""
    options = ("--tunnels", 80, "--hops", 4, "--seed", 3)
    changes = patches(*options, "--churn", 60)
    (tmp_path / "old").mkdir()
    (tmp_path / "new").mkdir()
    with Mplsted(tmp_path / "old", state=output(*options)) as daemon:
        before = answers(daemon.address)[0]
        for patch in changes:
            subprocess.run([MERGE_PATCH, daemon.state, "-"], input=json.dumps(patch), encoding="utf-8", check=True)
        with Mplsted(tmp_path / "new", state=daemon.state.read_text(encoding="utf-8")) as fresh:
            wanted, wanted_times = answers(fresh.address)
            assert wanted != before
            assert len(wanted_times) == fresh.ready()[0] >= 76
            await_true(lambda: answers(daemon.address)[0] == wanted, "the last patch to be followed")
            values, times = answers(daemon.address)
            assert values == wanted and times.keys() == wanted_times.keys()
            far = {index for index in times if (times[index] - wanted_times[index]) % 2**32 > 6000}
            assert not far, "up times that differ"


@pytest.mark.parametrize("arguments, reason", [
    (["--tunnels", 0], "--tunnels: Value 0 not in range 1 to 65535: see 'mplste simulate --help'"),
    (["--tunnels", 65536], "--tunnels: Value 65536 not in range 1 to 65535: see 'mplste simulate --help'"),
    (["--tunnels", "many"], "--tunnels: Value many not in range 1 to 65535: see 'mplste simulate --help'"),
    (["--hops", 65], "--hops: Value 65 not in range 0 to 64: see 'mplste simulate --help'"),
    (["--hops", -1], "--hops: Value -1 not in range 0 to 64: see 'mplste simulate --help'"),
    (["--seed", -1], "--seed: Value -1 not in range 0 to 9223372036854775807: see 'mplste simulate --help'"),
    (["--churn", -1], "--churn: Value -1 not in range 0 to 9223372036854775807: see 'mplste simulate --help'"),
    (["--churn", "x"], "--churn: Value x not in range 0 to 9223372036854775807: see 'mplste simulate --help'"),
    (["surplus"], "'surplus' is one word too many: see 'mplste simulate --help'"),
])
def test_a_wrong_option_is_said_on_one_line(arguments, reason):
    done = run(*arguments)
    assert (done.returncode, done.stdout, done.stderr) == (1, "", f"mplste: {reason}\n")


def test_an_output_that_cannot_be_written_is_a_failure():
    with open("/dev/full", "wb") as full:
        done = subprocess.run([MPLSTE, "simulate"], stdout=full, stderr=subprocess.PIPE, encoding="utf-8", timeout=60)
    assert (done.returncode, done.stderr) == (1, "mplste: cannot write the output: No space left on device\n")


@pytest.mark.parametrize("arguments", [["--tunnels", "20000"], ["--churn", "1000000"]])
@pytest.mark.parametrize("restore_signals", [True, False], ids=["", "where SIGPIPE is ignored"])
def test_it_ends_quietly_when_nobody_reads_on(arguments, restore_signals):
    with subprocess.Popen([MPLSTE, "simulate", *arguments], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, restore_signals=restore_signals) as process:
        assert process.stdout.readline().startswith(b"{")
        process.stdout.close()
        assert process.wait(60) == -signal.SIGPIPE
        assert process.stderr.read() == b""


def test_help_tells_the_options_and_their_defaults():
    text = output("--help")
    for option in ("--tunnels N=100", "--hops N=5", "--seed N=1", "--churn N"):
        assert re.search(rf"^ +{option} ", text, re.MULTILINE), option
