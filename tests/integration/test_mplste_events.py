# SPDX-License-Identifier: MIT
"""mplste events and mplste watch: what managers are notified of, for people and for programs."""

import json
import re
import subprocess

import pytest
from support.mplsted import BUILD, environment
from support.publisher import Publisher
from support.stand_in import DEADLINE, await_true
from support.state import SWITCH_OVER

MPLSTE = BUILD / "mplste"
LINE = re.compile(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z  (.*)")


def status(**attributes):
    return {"subTunnelStatus": {"cli:to-paris": attributes}}


class Socket:
    def __init__(self, folder):
        self.folder, self.path = folder, folder / "publish.sock"

    def command(self, *arguments):
        return [MPLSTE, *arguments, "--socket", self.path]

    def run(self, *arguments):
        return subprocess.run(self.command(*arguments), env=environment(self.folder), stdin=subprocess.DEVNULL,
                              capture_output=True, encoding="utf-8", timeout=60, check=False)

    def start(self, *arguments):
        return subprocess.Popen(self.command(*arguments), env=environment(self.folder), stdin=subprocess.DEVNULL,
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE, encoding="utf-8")


@pytest.fixture
def agent(mplsted, tmp_path):
    """An mplsted that notifies, and the socket that it is asked over."""
    socket = Socket(tmp_path)
    socket.daemon = mplsted("--publish", socket.path, "--notifications", "on")
    with Publisher(socket.path) as publisher:
        socket.publisher = publisher
        yield socket


def test_events_are_printed_as_they_happen(agent):
    printing = agent.start("events", "--count", "3")
    try:
        await_true(lambda: agent.publisher.status()["state"]["publish"]["connections"] == 2, "mplste to connect")
        lines = []
        for patch in (status(up=False), status(up=True), SWITCH_OVER):
            agent.publisher.changed(patch)
            lines.append(LINE.fullmatch(printing.stdout.readline().rstrip())[1])
        assert lines == [
            "cli:to-paris Down: 12.1.167772161.167772169 primary.1 by 10.1.4.2 10.4.8.2 10.8.9.2 -> down",
            "cli:to-paris Up: down -> 12.1.167772161.167772169 primary.1 by 10.1.4.2 10.4.8.2 10.8.9.2",
            "cli:to-paris Rerouted: 12.1.167772161.167772169 primary.1 by 10.1.4.2 10.4.8.2 10.8.9.2 -> "
            "12.2.167772161.167772169 secondary.2 by 10.1.6.2 10.6.9.2"]
        assert printing.wait(DEADLINE) == 0
    finally:
        printing.kill()
        printing.communicate()


def test_the_latest_are_printed_for_programs(agent):
    for up in (False, True):
        agent.publisher.changed(status(up=up))
    done = agent.run("events", "--latest", "--count", "2", "--json")
    assert (done.returncode, done.stderr) == (0, "")
    events = [json.loads(line) for line in done.stdout.splitlines()]
    assert [event["notification"] for event in events] == ["mplsTunnelDown", "mplsTunnelUp"]
    assert list(events[0]) == ["time", "notification", "tunnel", "mplsTunnelName", "from", "to"]


def test_an_agent_that_ends_ends_it(agent):
    printing = agent.start("events")
    await_true(lambda: agent.publisher.status()["state"]["publish"]["connections"] == 2, "mplste to connect")
    agent.daemon.stop()
    _, error = printing.communicate(timeout=DEADLINE)
    assert printing.returncode == 2 and "mplsted has ended the connection" in error


def test_an_agent_without_notifications_says_so(mplsted, tmp_path):
    socket = Socket(tmp_path)
    mplsted("--publish", socket.path)
    done = socket.run("events")
    assert done.returncode == 2 and "there are no notifications" in done.stderr
    assert "notifications  off" in re.sub(" {2,}", "  ", socket.run("status").stdout)


def test_status_and_watch_tell_of_them(agent):
    agent.publisher.changed(SWITCH_OVER)
    shown = await_true(lambda: [line for line in agent.run("status").stdout.splitlines() if " 1 sent" in line],
                       "the notification")[0]
    assert shown.split(None, 1) == ["notifications", "1 sent, 0 coalesced, 0 waiting, 100 a second at most"]
    done = agent.run("watch", "--agent", agent.daemon.address, "--interval", "0.1", "--count", "1")
    assert done.returncode == 0, done
    assert "cli:to-paris Rerouted: " in done.stdout.splitlines()[1]
