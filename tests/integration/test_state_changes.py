# SPDX-License-Identifier: MIT
"""The tables follow the published state, and a state that cannot be used changes nothing."""

import json
import os

import pytest
from support.ber import NO_SUCH_INSTANCE
from support.manager import Manager
from support.mplsted import HEAD_END, Mplsted
from support.stand_in import await_true
from support.state import STATE, SWITCH_OVER, merged
from support.tree import EXPECTED, ROOT, TABLES, parse

NAME = f"{TABLES['tunnel']}.1.5"

PARIS, AMSTERDAM, FRANKFURT, MADRID = ("12.1.167772161.167772169", "13.1.167772161.167772165",
                                       "14.5.167772161.167772167", "15.4.167772161.167772174")


@pytest.fixture(scope="module")
def daemon(tmp_path_factory):
    with Mplsted(tmp_path_factory.mktemp("mplsted")) as mplsted:
        yield mplsted


@pytest.fixture
def agent(daemon):
    """A manager of the agent, which serves the example head end again after each test."""
    manager = Manager(daemon.address)
    yield manager
    daemon.publish(json.dumps(STATE))
    await_true(lambda: walk(manager, NAME) == ROWS, "the example head end")
    manager.close()


def walk(manager, column, between=lambda index: None):
    """The indices of a column, read with one GETNEXT after the other; between is called after each."""
    found, oid = [], column
    while True:
        [(oid, (kind, _))] = manager.get_next(oid).varbinds
        if kind != "STRING" or not oid.startswith(column + "."):
            return found
        found.append(oid.removeprefix(column + "."))
        between(found[-1])


ROWS = [oid.removeprefix(NAME + ".") for oid, _ in EXPECTED if oid.startswith(NAME + ".")]


def publish(daemon, patch):
    daemon.publish(json.dumps(merged(STATE, patch)))


def without(tunnel):
    return {"subTunnelStatus": {tunnel: None}}


def await_gone(manager, index):
    await_true(lambda: manager.value(f"{NAME}.{index}")[0] == NO_SUCH_INSTANCE, f"row {index} to go")


def test_a_switch_over_moves_the_row(daemon, agent):
    hop_list = agent.value(f"{TABLES['tunnel']}.1.20.{PARIS}")[1]
    assert len(walk(agent, f"{TABLES['hop']}.1.12.{hop_list}")) == 3
    publish(daemon, SWITCH_OVER)
    await_gone(agent, PARIS)
    moved = "12.2.167772161.167772169"
    await_true(lambda: agent.value(f"{NAME}.{moved}") == ("STRING", b"to-paris"), "the row of the secondary LSP")
    assert walk(agent, NAME) == [moved, *ROWS[1:]]
    assert agent.value(f"{TABLES['tunnel']}.1.30.{moved}") == ("Counter32", 4)
    assert agent.value(f"{TABLES['perf']}.1.1.{moved}") == ("Counter32", 0)
    hop_list = agent.value(f"{TABLES['tunnel']}.1.20.{moved}")[1]
    hops = walk(agent, f"{TABLES['hop']}.1.5.{hop_list}.1")
    assert [agent.value(f"{TABLES['hop']}.1.5.{hop_list}.1.{hop}")[1] for hop in hops] == [
        bytes([10, 1, 6, 2]), bytes([10, 6, 9, 2])]


def test_attributes_change_in_place(daemon, agent):
    oper_status = f"{TABLES['tunnel']}.1.35.{PARIS}"
    assert agent.value(oper_status) == ("INTEGER", 1)
    publish(daemon, {"subTunnelStatus": {"cli:to-paris": {"up": False}}})
    await_true(lambda: agent.value(oper_status) == ("INTEGER", 2), "the tunnel to go down")
    assert walk(agent, NAME) == ROWS


def test_all_rows_go_and_come_back(daemon, agent):
    daemon.publish("{}")
    await_true(lambda: walk(agent, NAME) == [], "all rows to go")
    left = parse(daemon.snmp("snmpbulkwalk", ROOT).stdout)
    assert not [oid for oid, _ in left if oid.startswith(tuple(f"{table}." for table in TABLES.values()))]
    assert [value for _, value in left[:2]] == ["Gauge32: 0"] * 2, "none is configured, and none active"
    daemon.publish(json.dumps(STATE))
    await_true(lambda: walk(agent, NAME) == ROWS, "the rows to come back")


@pytest.mark.parametrize("reached", [AMSTERDAM, FRANKFURT])
@pytest.mark.parametrize("gone, tunnel", [(PARIS, "cli:to-paris"), (AMSTERDAM, "cli:to-amsterdam"),
                                          (FRANKFURT, "cli:to-frankfurt"), (MADRID, "cli:to-madrid")])
def test_a_row_that_goes_during_a_walk_takes_no_other_with_it(daemon, agent, reached, gone, tunnel):
    def between(index):
        if index == reached:
            publish(daemon, without(tunnel))
            await_gone(agent, gone)

    seen_before_it_went = ROWS.index(gone) <= ROWS.index(reached)
    assert walk(agent, NAME, between) == [row for row in ROWS if row != gone or seen_before_it_went]


def test_a_row_that_comes_during_a_walk_is_met_when_it_is_ahead(daemon, agent):
    publish(daemon, {"subTunnelStatus": {"cli:to-paris": None, "cli:to-madrid": None}})
    await_gone(agent, PARIS)
    await_gone(agent, MADRID)

    def between(index):
        if index == AMSTERDAM:
            daemon.publish(json.dumps(STATE))
            await_true(lambda: agent.value(f"{NAME}.{MADRID}")[0] == "STRING", "the row to come back")

    assert walk(agent, NAME, between) == ROWS[1:]


WHOLE = HEAD_END.read_text(encoding="utf-8")

BAD = {
    "an empty file": ("", "the file is empty"),
    "no JSON": ("up", "line 1, column 1: "),
    "a document that breaks off": (WHOLE[:len(WHOLE) // 2], "line "),
    "a document that breaks off at its end": (WHOLE.rstrip()[:-1], "line "),
    "two documents": (WHOLE + WHOLE, "line "),
    "a list": ("[]", "/: expected an object"),
    "an unknown collection": ('{"tunnels": {}}', "/tunnels: "),
    "an unknown attribute": ('{"subTunnelStatus": {"cli:to-paris": {"active": true}}}',
                             "/subTunnelStatus/cli:to-paris/active: "),
    "a wrong type": ('{"subTunnelStatus": {"cli:to-paris": {"up": "yes"}}}', "/subTunnelStatus/cli:to-paris/up: "),
    "a number too large": ('{"spStatus": {"10.0.0.9/12/10.0.0.1/1": {"setupPriority": 65536}}}',
                           "/spStatus/10.0.0.9/12/10.0.0.1/1/setupPriority: "),
    "a tunnel spec id without its source": ('{"tunnelIndexForTunnelSpecId": {"to-paris": 1}}',
                                            "/tunnelIndexForTunnelSpecId/to-paris: "),
    "an LSP request id without its number": ('{"lspRequestStatus": {"cli:to-paris@primary": {}}}',
                                             "/lspRequestStatus/cli:to-paris@primary: "),
    "an sp id with IPv6 addresses": ('{"spStatus": {"2001:db8::9/12/2001:db8::1/1": {}}}', "/spStatus/2001:db8::9"),
    "octets that are no UTF-8": ('{"pathSpec": {"cli:\udcff": {}}}', "line 1, column "),
}


@pytest.mark.parametrize("text, place", BAD.values(), ids=BAD)
def test_a_state_that_cannot_be_used_is_reported_and_changes_nothing(daemon, agent, text, place):
    served = without_times(daemon.snmp("snmpbulkwalk", ROOT).stdout)
    assert len(served) == len(EXPECTED)
    before = len(daemon.log())
    new = daemon.state.with_suffix(".new")
    new.write_bytes(text.encode(errors="surrogateescape"))
    os.replace(new, daemon.state)
    await_true(lambda: daemon.log()[before:].endswith("\n"), "a line in the log")
    line = daemon.log()[before:]
    assert f" error: {daemon.state}: {place}" in line and line.count("\n") == 1
    assert without_times(daemon.snmp("snmpbulkwalk", ROOT).stdout) == served


def without_times(text):
    return [(oid, "a time" if value.startswith("Timeticks") else value) for oid, value in parse(text)]


def test_a_state_file_that_goes_away_changes_nothing(daemon, agent):
    before = len(daemon.log())
    daemon.state.unlink()
    await_true(lambda: daemon.log()[before:].endswith("\n"), "a line in the log")
    assert f"{daemon.state}: No such file or directory" in daemon.log()[before:]
    assert walk(agent, NAME) == ROWS
