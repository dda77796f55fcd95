# SPDX-License-Identifier: MIT
# ctest-labels: release-only
"""Whatever a manager asks, it is answered through snmpd as by mplsted itself: with LSR ids on both sides of 128.0.0.0,
where sub-identifiers no longer fit a signed number."""

import bisect
import ipaddress
import itertools
import json
import random

import pytest
from support import ber
from support.manager import Manager
from support.master import Master
from support.mplsted import Mplsted
from support.stand_in import await_true
from support.tree import ROOT, TABLES

REQUESTS = 10000
ACCESS = f"rocommunity public 127.0.0.1 {ROOT}\n"

# Around the first sub-identifier that is negative as a signed number, and at both ends.
LSR_IDS = ["0.0.0.1", "10.0.0.1", "127.255.255.254", "127.255.255.255", "128.0.0.0", "128.0.0.1", "192.0.2.7",
           "223.255.255.255", "255.255.255.254", "255.255.255.255"]

# An up time that stands still: it has not begun.
UP_SINCE = 4102444800


def head_end():
    """A tunnel from each LSR id to each, with up to three hops."""
    state = {name: {} for name in ("pathSpec", "subTunnelConfig", "subTunnelStatus", "lspRequestStatus",
                                   "spIdForLspRequestConfigId", "spStatus")}
    for number, (sender, destination) in enumerate(itertools.product(LSR_IDS, LSR_IDS), 1):
        tunnel, spec = f"cli:t{number}", f"cli:p{number}"
        lsp = f"{tunnel}@primary.1"
        session = f"{destination}/{number * 600 % 65536}/{sender}/{(number * 2**26 + 1) % 2**32}"
        state["pathSpec"][spec] = {"name": f"p{number}", "type": "explicit"}
        state["subTunnelConfig"][tunnel] = {"primaryPathSpec": spec}
        state["subTunnelStatus"][tunnel] = {
            "up": True, "activeLsp": lsp,
            "activePath": {str(hop): str(ipaddress.IPv4Address(number * 2**24 + hop))
                           for hop in range(1, number % 4 + 1)}}
        state["lspRequestStatus"][lsp] = {}
        state["spIdForLspRequestConfigId"][lsp] = session
        state["spStatus"][session] = {"setupPriority": 7, "upSince": UP_SINCE}
    return json.dumps(state)


@pytest.fixture(scope="module")
def agents(tmp_path_factory):
    """Managers of an mplsted on its own, and of an snmpd with an mplsted behind it."""
    folder = tmp_path_factory.mktemp("agents")
    for name in ("alone", "subagent", "master"):
        (folder / name).mkdir()
    with Mplsted(folder / "alone", state=head_end(), access=ACCESS) as alone, \
            Master(folder / "master", access=ACCESS) as master, \
            Mplsted(folder / "subagent", "--agentx", master.socket, "--notifications", "off", state=head_end(), access=None,
                    listen=()) as subagent:
        await_true(lambda: "connected to the master" in subagent.log(), "the connection")
        managers = Manager(alone.address), Manager(master.address)
        yield managers
        for manager in managers:
            manager.close()


@pytest.fixture(scope="module")
def served(agents):
    """The names of all variables, walked without a subagent."""
    alone, _ = agents
    names, oid = [], ROOT
    while True:
        for oid, (kind, _) in alone.get_bulk(oid, max_repetitions=50).varbinds:
            if kind == ber.END_OF_MIB_VIEW:
                return names
            names.append(oid)


def somewhere(chance, served):
    """A name in the tables or about them."""
    oid = chance.choice(served)
    parts = ber.numbers(oid)
    kind = chance.randrange(8)
    if kind < 3:
        return oid
    if kind == 3:   # another column
        return "." + ".".join(map(str, (*parts[:12], chance.randrange(45), *parts[13:])))
    if kind == 4:   # cut off
        return "." + ".".join(map(str, parts[:chance.randrange(8, len(parts))]))
    if kind == 5:   # longer
        return oid + "." + ".".join(str(chance.choice((0, 1, 2**31, 2**32 - 1))) for _ in range(chance.randint(1, 4)))
    if kind == 6:   # a neighbour of an index, or far from all
        at = chance.randrange(min(13, len(parts) - 1), len(parts))
        other = chance.choice((parts[at] - 1, parts[at] + 1, 2**31 - 1, 2**31, 2**32 - 1, chance.randrange(2**32)))
        return "." + ".".join(map(str, (*parts[:at], max(0, other) % 2**32, *parts[at + 1:])))
    return chance.choice((".1.3.6.1.2.1.10.165.9", ".1.3.6.1.2.1.10.166", ".1.3.6.1.2.1.10.166.3.2.3.1.1.7",
                          f"{ROOT}.3.2.4294967295", f"{ROOT}.3.2.10", ".1.3.6.1.2.1.10.167", ".1.0", ".1.3.6.1.4.1.1.0",
                          *TABLES.values()))


def answers(managers, ask):
    return [(response.error, response.index, response.varbinds) for response in map(ask, managers)]


def check_bulk(managers, in_order, oids, non_repeaters, repetitions):
    """Agents may cut a GETBULK short where they like, behind its first round; what comes is the same. When a variable
    of several comes to the end before its repetitions do, snmpd 5.9.3 answers with genErr at times, whatever subagent
    it has; and the name that it gives an endOfMibView is not always the one that was asked for."""
    alone, through = (manager.get_bulk(*oids, non_repeaters=non_repeaters, max_repetitions=repetitions)
                      for manager in managers)
    assert alone.error == ber.NO_ERROR
    left = [len(in_order) - bisect.bisect_right(in_order, ber.numbers(oid)) for oid in oids[non_repeaters:]]
    if through.error == ber.GEN_ERR and len(left) > 1 and min(left) < repetitions:
        return False
    assert through.error == ber.NO_ERROR
    shorter = min(len(alone.varbinds), len(through.varbinds))
    assert shorter >= (len(oids) if repetitions else non_repeaters)
    ended = [[kind == ber.END_OF_MIB_VIEW or (name, (kind, value)) for name, (kind, value) in answer.varbinds[:shorter]]
             for answer in (alone, through)]
    assert ended[0] == ended[1]
    return True


def test_ten_thousand_random_requests_are_answered_alike(agents, served):
    chance = random.Random(2741)
    assert len(served) == 100 * (23 + 4) + 150 * 12 + 6
    in_order = [ber.numbers(oid) for oid in served]
    compared = 0
    for number in range(REQUESTS):
        oids = [somewhere(chance, served) for _ in range(chance.randint(1, 10))]
        kind = number % 3
        if kind == 2:
            compared += check_bulk(agents, in_order, oids, chance.randint(0, len(oids)), chance.randint(0, 12))
        else:
            ask = ("get", "get_next")[kind]
            alone, through = answers(agents, lambda manager: getattr(manager, ask)(*oids))
            assert through == alone, f"request {number}: {oids}"
            compared += 1
    assert compared > REQUESTS * 0.9


def test_a_walk_through_the_master_meets_every_row(agents, served):
    _, through = agents
    names, oid = [], ROOT
    while True:
        [(oid, (kind, _))] = through.get_next(oid).varbinds
        if kind == ber.END_OF_MIB_VIEW:
            break
        names.append(oid)
    assert names == served
