# SPDX-License-Identifier: MIT
# ctest-labels: release-only slow
"""A master that stands still for half a minute, much longer than mplsted waits for it, while publishers go on."""

import time

from support.manager import Manager
from support.master import Master
from support.mplsted import Mplsted
from support.publisher import Publisher
from support.stand_in import await_true
from support.state import STATE, SWITCH_OVER
from support.tree import ROOT, TABLES

SECONDS = 31
NAME = f"{TABLES['tunnel']}.1.5.12.1.167772161.167772169"
UP_TIME = f"{TABLES['tunnel']}.1.28."


def path_changes(number):
    return {"subTunnelStatus": {"cli:to-paris": {"pathChanges": number}}}


def served(manager):
    """All rows, but for how long the tunnels have been up."""
    return {oid: value for oid, value in manager.walk(ROOT).items() if not oid.startswith(UP_TIME)}


def served_by_an_agent_of_its_own(folder, *documents):
    folder.mkdir()
    with Mplsted(folder, "--publish", folder / "publish.sock", file=False) as daemon, \
            Publisher(folder / "publish.sock") as publisher:
        for document in documents:
            publisher.changed(document)
        await_true(lambda: publisher.status()["tasks"] == 0, "the derivation")
        manager = Manager(daemon.address)
        try:
            return served(manager)
        finally:
            manager.close()


def test_what_is_published_meanwhile_is_applied_and_all_is_served_afterwards(tmp_path):
    path = tmp_path / "publish.sock"
    with Master(tmp_path) as snmpd, Mplsted(tmp_path, "--agentx", snmpd.socket, "--publish", path, "--notifications",
                                            "off", listen=(), access="", file=False), Publisher(path) as publisher:
        publisher.changed({"$replace": STATE})
        manager = Manager(snmpd.address)
        await_true(lambda: manager.value(NAME)[1] == b"to-paris", "the tunnels")

        snmpd.pause()
        assert publisher.changed(SWITCH_OVER) == 1
        published = 1000
        until = time.monotonic() + SECONDS
        while time.monotonic() < until:
            published += 1
            assert publisher.changed(path_changes(published)) == 1
            assert publisher.state()["subTunnelStatus"]["cli:to-paris"]["pathChanges"] == published
            time.sleep(0.2)   # it is time that is to pass
        status = publisher.status()
        assert status["agentx"]["state"] != "connected" and status["tasks"] == 0
        assert status["rows"]["mplsTunnelTable"] == 13
        snmpd.resume()

        await_true(lambda: publisher.status()["agentx"]["state"] == "connected", "the master to be found again")
        expected = served_by_an_agent_of_its_own(tmp_path / "own", {"$replace": STATE}, SWITCH_OVER,
                                                 path_changes(published))
        await_true(lambda: served(manager) == expected, "all rows")
        manager.close()
