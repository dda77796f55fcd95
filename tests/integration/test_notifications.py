# SPDX-License-Identifier: MIT
# ctest-labels: slow
"""Notifications as a stock snmptrapd gets them from mplsted: which come, in which order, with what in them, and that no
others do."""

import json
import os
import signal
import socket

import pytest
from support.manager import Manager
from support.master import Master, Snmpd
from support.mplsted import ACCESS, BUILD
from support.publisher import Publisher
from support.stand_in import await_true
from support.state import STATE, SWITCH_OVER, merged
from support.trapd import MIB, TRAP_OID, USER, V3, Trapd

ENGINE = "0x80001f880300000000000001"
RECEIVER = "0x80001f880300000000000002"
PARIS = "to-paris 12.1.167772161.167772169"
PARIS_SWITCHED = "to-paris 12.2.167772161.167772169"
VIENNA = "to-vienna 18.3.167772161.167772177"
ZURICH = "to-zurich 17.1.167772161.167772171"


def status(tunnel, **attributes):
    return {"subTunnelStatus": {f"cli:{tunnel}": attributes}}


class Agent:
    """An mplsted, the snmptrapd that it notifies, and somebody who publishes to it."""

    def __init__(self, daemon, trapd):
        self.daemon, self.trapd = daemon, trapd
        self.publisher = Publisher(daemon.folder / "publish.sock")
        self.vienna = False

    def publish(self, *patches):
        for patch in patches:
            assert self.publisher.changed(patch) > 0

    def told(self):
        """What has been told since the last time, as texts. That nothing else is to come is known by the tunnel to
        Vienna, which goes up or down behind it."""
        self.vienna = not self.vienna
        self.publish(status("to-vienna", up=self.vienna))
        return [str(note) for note in self.trapd.until(f"{'up' if self.vienna else 'down'} {VIENNA}")]

    def close(self):
        self.publisher.close()


@pytest.fixture
def trapd(tmp_path):
    with Trapd(tmp_path, USER.format(engine=f"-e {ENGINE} ")) as receiver:
        yield receiver


@pytest.fixture
def agent(mplsted, trapd, tmp_path):
    """A function that starts an agent with lines of configuration."""
    started = []

    def start(*lines, arguments=(), **options):
        lines = lines or (f"trap2sink 127.0.0.1:{trapd.port} public",)
        access = "\n".join([ACCESS, f"exactEngineID {ENGINE}", *lines, ""])
        daemon = mplsted("--publish", tmp_path / "publish.sock", *arguments, access=access, **options)
        started.append(Agent(daemon, trapd))
        return started[-1]

    yield start
    for one in started:
        one.close()


def test_what_the_example_switch_over_sends(agent, trapd):
    running = agent()
    running.publish(SWITCH_OVER)
    assert running.told() == [f"rerouted {PARIS_SWITCHED}"]
    note = trapd.all()[0]
    assert note.message == "TRAP2, SNMP v2c, community public"
    index = PARIS_SWITCHED.split()[1]
    assert note.variables[1:] == [(TRAP_OID, f"OID: {MIB}.0.3"),
                                  (f"{MIB}.2.2.1.34.{index}", "INTEGER: 1"),
                                  (f"{MIB}.2.2.1.35.{index}", "INTEGER: 1"),
                                  (f"{MIB}.2.2.1.5.{index}", 'STRING: "to-paris"')]


def receiver_line(version, kind, port):
    if version == "3":
        confirm = f"-Ci -e {RECEIVER}" if kind == "inform" else f"-e {ENGINE}"
        return f"trapsess {confirm} {V3} 127.0.0.1:{port}"
    return f"{'informsink' if kind == 'inform' else 'trap2sink'} 127.0.0.1:{port} public"


@pytest.mark.parametrize("version, kind, message", [
    ("2c", "trap", "TRAP2, SNMP v2c, community public"),
    ("2c", "inform", "INFORM, SNMP v2c, community public"),
    ("3", "trap", "TRAP2, SNMP v3, user watcher, context "),
    ("3", "inform", "INFORM, SNMP v3, user watcher, context "),
])
def test_every_kind_of_message_says_the_same(agent, tmp_path, version, kind, message):
    # Of an inform the receiver is the engine, of a trap the sender.
    engine = "" if kind == "inform" else f"-e {ENGINE} "
    with Trapd(tmp_path, f"exactEngineID {RECEIVER}", USER.format(engine=engine), name="receiver") as receiver:
        running = agent(receiver_line(version, kind, receiver.port))
        running.trapd = receiver
        # One after the other: informs that have to be sent again may overtake each other.
        for patch, text in ((status("to-paris", up=False), f"down {PARIS}"),
                            (status("to-paris", up=True), f"up {PARIS}"), (SWITCH_OVER, f"rerouted {PARIS_SWITCHED}")):
            running.publish(patch)
            assert receiver.until(text) == []
        assert running.told() == []
        assert {note.message for note in receiver.all()} == {message}


def test_informs_without_an_engine_need_none_named(agent, trapd):
    running = agent(f"trapsess -Ci -v 2c -c public 127.0.0.1:{trapd.port}")
    running.publish(SWITCH_OVER)
    assert running.told() == [f"rerouted {PARIS_SWITCHED}"]
    assert {note.message for note in trapd.all()} == {"INFORM, SNMP v2c, community public"}


def test_a_receiver_of_snmpv1_traps_gets_them_translated(agent, tmp_path):
    with Trapd(tmp_path, name="receiver") as receiver:
        running = agent(f"trapsink 127.0.0.1:{receiver.port} public")
        running.publish(status("to-paris", up=False))
        line = await_true(lambda: [text for text in receiver.log().splitlines() if "SNMP v1" in text],
                          "a trap of SNMPv1")[0]
        # RFC 3576: the enterprise is the notification's OID without its last two components, 0 and the trap's number.
        assert f"|{MIB}.2.2.1.35.12.1.167772161.167772169 = INTEGER: 2|" in line


# What is published, one document after the other, and what is told of it.
SCENARIOS = {
    "down_and_up": ([status("to-paris", up=False), status("to-paris", up=True)], [f"down {PARIS}", f"up {PARIS}"]),
    "one_that_is_withdrawn_goes_down": ([{"subTunnelStatus": {"cli:to-paris": None}}], [f"down {PARIS}"]),
    "one_whose_lsp_loses_its_sp_id_goes_down":
        ([{"spIdForLspRequestConfigId": {"cli:to-paris@primary.1": None}},
          {"spIdForLspRequestConfigId": {"cli:to-paris@primary.1": "10.0.0.9/12/10.0.0.1/1"}}],
         [f"down {PARIS}", f"up {PARIS}"]),
    "one_that_is_down_is_withdrawn_in_silence":
        ([status("to-paris", up=False), {"subTunnelStatus": {"cli:to-paris": None}}], [f"down {PARIS}"]),
    "a_switch_over_and_back":
        ([SWITCH_OVER, status("to-paris", activeLsp="cli:to-paris@primary.1")],
         [f"rerouted {PARIS_SWITCHED}", f"rerouted {PARIS}"]),
    "a_switch_over_to_an_lsp_that_comes_with_it":
        ([merged(status("to-paris", activeLsp="cli:to-paris@secondary.9"),
                 {"lspRequestStatus": {"cli:to-paris@secondary.9": {}},
                  "spIdForLspRequestConfigId": {"cli:to-paris@secondary.9": "10.0.0.9/12/10.0.0.1/9"},
                  "spStatus": {"10.0.0.9/12/10.0.0.1/9": {}}})],
         ["rerouted to-paris 12.9.167772161.167772169"]),
    "make_before_break":
        ([{"lspRequestStatus": {"cli:to-zurich@primary.2": {}},
           "spIdForLspRequestConfigId": {"cli:to-zurich@primary.2": "10.0.0.11/17/10.0.0.1/2"},
           "spStatus": {"10.0.0.11/17/10.0.0.1/2": {}}},
          merged(status("to-zurich", activeLsp="cli:to-zurich@primary.2", activePath={"2": "10.6.8.2"}),
                 {"spIdForLspRequestConfigId": {"cli:to-zurich@primary.1": None}})],
         ["reoptimized to-zurich 17.2.167772161.167772171"]),
    "another_path": ([status("to-zurich", activePath={"2": "10.6.8.2"})], [f"reoptimized {ZURICH}"]),
    "another_path_after_a_failure":
        ([merged(status("to-zurich", activePath={"2": "10.6.8.2"}),
                 {"lspRequestStatus": {"cli:to-zurich@primary.1": {"errors": [{"code": 24, "value": 5}]}}})],
         [f"rerouted {ZURICH}"]),
    "fast_reroute":
        ([{"lspRequestStatus": {"cli:to-paris@primary.1": {"errors": [{"code": 25, "value": 3}]}}}],
         [f"rerouted {PARIS}"]),
    "an_sp_id_becomes_ambiguous_and_is_so_no_more":
        ([{"spIdForLspRequestConfigId": {"cli:to-amsterdam@secondary.9": "10.0.0.9/12/10.0.0.1/1"}},
          status("to-paris", up=False), status("to-paris", up=True),
          {"spIdForLspRequestConfigId": {"cli:to-amsterdam@secondary.9": None}}],
         [f"down {PARIS}", f"up {PARIS}"]),
    "what_is_no_change_to_managers":
        ([status("to-paris", pathChanges=77), {"pathSpec": {"cli:gold": {"type": "dynamic"}}},
          {"spStatus": {"10.0.0.9/12/10.0.0.1/1": {"setupPriority": 3}}},
          {"subTunnelConfig": {"cli:to-paris": {"fastReroute": False}}}], []),
    "a_new_tunnel":
        ([{"subTunnelConfig": {"cli:to-oslo": {}},
           "subTunnelStatus": {"cli:to-oslo": {"up": True, "activeLsp": "cli:to-oslo@primary.1"}},
           "lspRequestStatus": {"cli:to-oslo@primary.1": {}},
           "spIdForLspRequestConfigId": {"cli:to-oslo@primary.1": "200.0.0.1/99/10.0.0.1/1"},
           "spStatus": {"200.0.0.1/99/10.0.0.1/1": {}}}],
         ["up to-oslo 99.1.167772161.3355443201"]),
}


@pytest.mark.parametrize("name", SCENARIOS)
def test_what_is_told_of(agent, name):
    patches, expected = SCENARIOS[name]
    running = agent()
    running.publish(*patches)
    assert running.told() == expected


def test_resynchronisation_tells_of_what_has_changed_and_of_nothing_else(agent):
    running = agent()
    assert running.publisher.ask({"$replace": STATE})["changed"] == 0
    assert running.told() == []
    # The rest as it is now: the tunnel to Vienna is up.
    now = merged(merged(STATE, status("to-vienna", up=True)), SWITCH_OVER)
    assert running.publisher.ask({"$replace": now})["changed"] == 1
    assert running.told() == [f"rerouted {PARIS_SWITCHED}"]


def test_a_state_file_that_is_read_again_tells_of_what_has_changed_and_of_nothing_else(agent):
    running = agent()
    running.daemon.publish(json.dumps(STATE, indent=3))
    running.daemon.process.send_signal(signal.SIGHUP)
    running.daemon.publish(json.dumps(merged(STATE, SWITCH_OVER)))
    running.trapd.until(f"rerouted {PARIS_SWITCHED}")
    assert running.told() == []


def test_a_restart_tells_nothing(agent, trapd):
    running = agent()
    running.publish(status("to-paris", up=False))
    assert running.told() == [f"down {PARIS}"]
    running.close()
    running.daemon.stop()
    running.daemon.start()
    again = Agent(running.daemon, trapd)
    assert again.told() == [], "neither that the tunnels are up nor that the one to Paris is up again"
    again.close()


def test_without_a_state_file_the_first_document_is_what_was_known_before(agent):
    running = agent(file=False)
    running.publish(STATE)
    assert running.told() == []
    running.publish(SWITCH_OVER)
    assert running.told() == [f"rerouted {PARIS_SWITCHED}"]


def test_beyond_the_rate_the_last_state_of_each_tunnel_is_told(agent, trapd):
    running = agent(f"trap2sink 127.0.0.1:{trapd.port} public", "mplsteNotificationMaxRate 1")
    flaps = [status(tunnel, up=up) for _ in range(10) for up in (False, True) for tunnel in ("to-paris", "to-zurich")]
    running.publish(status("to-amsterdam", up=False), *flaps, status("to-zurich", up=False))
    told = running.told()
    assert told[0].startswith("down to-amsterdam")
    assert told[1:] == [f"down {ZURICH}"], "the tunnel to Paris is as it was"
    notifications = running.publisher.status()["notifications"]
    assert notifications == {"maxRate": 1, "sent": 3, "coalesced": 40, "waiting": 0}


def test_receivers_that_do_not_answer_keep_nobody_waiting_and_take_bounded_memory(agent, trapd):
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as silent:
        silent.bind(("127.0.0.1", 0))
        running = agent(f"informsink 127.0.0.1:{silent.getsockname()[1]} public", "informsink 127.0.0.1:9 public",
                        f"trap2sink 127.0.0.1:{trapd.port} public", "mplsteNotificationMaxRate 0")
        for _ in range(40):
            running.publish(*(status(tunnel, up=up) for up in (False, True)
                              for tunnel in ("to-paris", "to-zurich", "to-amsterdam")))
        # Each is answered before the next, so none of them has waited for the six seconds that an inform has.
        assert "Gauge32: " in running.daemon.snmp("snmpget", f"{MIB}.1.2.0").stdout
        assert len(running.told()) == 240


def test_more_informs_than_may_be_under_way_wait_in_the_agent(agent):
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as silent:
        silent.bind(("127.0.0.1", 0))
        running = agent(f"informsink 127.0.0.1:{silent.getsockname()[1]} public", "mplsteNotificationMaxRate 0")

        def sent():
            return running.publisher.status()["notifications"]

        def flap():
            running.publish(*(status(tunnel, up=up) for up in (False, True)
                              for tunnel in ("to-paris", "to-zurich", "to-amsterdam")))
            return sent()["waiting"] > 0 or sent()["coalesced"] > 0

        await_true(flap, "the informs that may be under way")
        assert 1000 <= sent()["sent"] <= 2000


def test_the_scalars_count_the_tunnels_as_they_come_and_go(agent):
    running = agent()
    daemon = running.daemon

    def scalar(place):
        return daemon.snmp("snmpget", f"{MIB}.{place}").stdout.strip().split(" = ", 1)[1]

    configured = int(scalar("1.1.0").removeprefix("Gauge32: "))
    active = int(scalar("1.2.0").removeprefix("Gauge32: "))
    assert configured == running.publisher.status()["rows"]["mplsTunnelTable"]
    column = daemon.snmp("snmpwalk", f"{MIB}.2.2.1.35").stdout
    assert (configured, active) == (column.count("INTEGER:"), column.count("INTEGER: 1"))
    running.publish(status("to-paris", up=False), {"subTunnelStatus": {"cli:to-zurich": None}})
    assert scalar("1.1.0") == f"Gauge32: {configured - 1}"
    assert scalar("1.2.0") == f"Gauge32: {active - 2}"


def test_what_the_other_scalars_say_is_in_the_configuration(agent, trapd):
    def scalars(daemon):
        return [daemon.snmp("snmpget", f"{MIB}.{place}").stdout.strip().split(" = ", 1)[1]
                for place in ("1.3.0", "1.4.0", "1.5.0", "2.11.0")]

    running = agent(f"trap2sink 127.0.0.1:{trapd.port} public", "mplsteTEDistProto isis", "mplsteTEDistProto ospf",
                    "mplsteNotificationMaxRate 7")
    assert scalars(running.daemon) == ["Hex-STRING: 60 ", "Gauge32: 256", "Gauge32: 7", "INTEGER: 1"] \
        or scalars(running.daemon) == ['STRING: "`"', "Gauge32: 256", "Gauge32: 7", "INTEGER: 1"]
    for place in ("1.5.0", "2.11.0"):
        done = running.daemon.snmp("snmpset", f"{MIB}.{place}", "i" if place == "2.11.0" else "u", "2",
                                   access=("-v2c", "-c", "private"), check=False)
        assert "notWritable" in done.stderr + done.stdout
    # Read again.
    config = running.daemon.folder / "access.conf"
    config.write_text(f"{ACCESS}\nmplsteNotificationMaxRate 0\n", encoding="utf-8")
    running.daemon.process.send_signal(signal.SIGHUP)
    await_true(lambda: "the configuration has been read again" in running.daemon.log(), "the configuration to be read")
    assert scalars(running.daemon)[1:] == ["Gauge32: 256", "Gauge32: 0", "INTEGER: 2"], "there is no receiver any more"


def test_sysortable_names_the_mib(agent):
    table = agent().daemon.snmp("snmpwalk", ".1.3.6.1.2.1.1.9").stdout
    assert f"OID: {MIB}\n" in table and "MPLS-TE-STD-MIB" in table


def test_without_a_receiver_nothing_is_kept_and_events_are_refused(mplsted, tmp_path):
    daemon = mplsted("--publish", tmp_path / "publish.sock")
    assert daemon.snmp("snmpget", f"{MIB}.2.11.0").stdout.endswith("INTEGER: 2\n")
    with Publisher(tmp_path / "publish.sock") as publisher:
        assert publisher.status()["notifications"] is None
        assert "there are no notifications" in publisher.refusal({"$events": None})


def test_events_are_told_over_the_socket_as_they_happen(mplsted, tmp_path):
    mplsted("--publish", tmp_path / "publish.sock", "--notifications", "on")
    path = tmp_path / "publish.sock"
    with Publisher(path) as publisher, Publisher(path) as watcher:
        latest = watcher.ask({"$events": None})
        assert (latest["events"], latest["last"], latest["missed"]) == ([], 0, 0)
        watcher.send(b'{"$events":0}\n')
        assert publisher.changed(SWITCH_OVER) == 1
        answer = watcher.answer()
        assert answer["ok"] and (answer["last"], answer["missed"]) == (1, 0)
        event, = answer["events"]
        assert event.pop("time").endswith("Z")
        assert event == {
            "notification": "mplsTunnelRerouted", "tunnel": "cli:to-paris", "mplsTunnelName": "to-paris",
            "from": {"mplsTunnelOperStatus": "up", "index": "12.1.167772161.167772169", "ingress": "10.0.0.1",
                     "egress": "10.0.0.9", "lsp": "cli:to-paris@primary.1",
                     "path": ["10.1.4.2", "10.4.8.2", "10.8.9.2"]},
            "to": {"mplsTunnelOperStatus": "up", "index": "12.2.167772161.167772169", "ingress": "10.0.0.1",
                   "egress": "10.0.0.9", "lsp": "cli:to-paris@secondary.2", "path": ["10.1.6.2", "10.6.9.2"]}}


def test_who_goes_while_waiting_for_an_event_is_let_go(mplsted, tmp_path):
    mplsted("--publish", tmp_path / "publish.sock", "--notifications", "on")
    path = tmp_path / "publish.sock"
    with Publisher(path) as publisher:
        for _ in range(20):
            with Publisher(path) as watcher:
                watcher.send(b'{"$events":0}\n')
        await_true(lambda: publisher.status()["state"]["publish"]["connections"] == 1, "the watchers to be let go")


class Documents:
    """A state file that is replaced, and what is told of each change of it."""

    def __init__(self, folder, trapd):
        self.file, self.trapd, self.now, self.vienna = folder / "state.json", trapd, STATE, False
        self.write()

    def write(self):
        new = self.file.with_suffix(".new")
        new.write_text(json.dumps(self.now), encoding="utf-8")
        os.replace(new, self.file)

    def change(self, patch):
        self.now = merged(self.now, patch)
        self.write()

    def told(self):
        """As Agent.told."""
        self.vienna = not self.vienna
        self.change(status("to-vienna", up=self.vienna))
        return [str(note) for note in self.trapd.until(f"{'up' if self.vienna else 'down'} {VIENNA}")]

    def expect_a_life_told(self):
        """Down and up, and over to the other path: each is awaited before the next, since documents may be skipped."""
        for patch, text in ((status("to-paris", up=False), f"down {PARIS}"),
                            (status("to-paris", up=True), f"up {PARIS}"), (SWITCH_OVER, f"rerouted {PARIS_SWITCHED}")):
            self.change(patch)
            assert self.trapd.until(text) == []
        assert self.told() == []


def snmpd_receivers(trapd, other):
    """Both kinds of message: what a stock snmpd sends to its receivers is its own affair."""
    return [f"exactEngineID {ENGINE}", f"trap2sink 127.0.0.1:{trapd.port} public",
            f"trapsess -Ci {V3} 127.0.0.1:{other.port}"]


def expect_the_same(other, trapd):
    """What one receiver was told comes to the other one, too."""
    await_true(lambda: len(other.all()) >= len(trapd.all()), "as many at the other receiver")
    assert [str(note) for note in other.all()] == [str(note) for note in trapd.all()]


def test_a_master_notifies_its_receivers(tmp_path, trapd, mplsted):
    documents = Documents(tmp_path, trapd)
    with Trapd(tmp_path, USER.format(engine=""), name="other") as other, \
            Master(tmp_path, *snmpd_receivers(trapd, other)) as master:
        subagent = mplsted("--agentx", master.socket, listen=(), access=None)
        documents.expect_a_life_told()
        expect_the_same(other, trapd)
        assert {note.message for note in trapd.all()} == {"TRAP2, SNMP v2c, community public"}
        assert {note.message for note in other.all()} == {"INFORM, SNMP v3, user watcher, context "}
        reader = Manager(master.address)
        assert reader.value(f"{MIB}.2.11.0") == ("INTEGER", 1)
        assert reader.value(f"{MIB}.1.1.0")[1] == 13
        assert MIB.lstrip(".") in str(reader.walk(".1.3.6.1.2.1.1.9.1.2"))
        reader.close()
        subagent.stop()


def test_what_happens_while_there_is_no_master_is_told_in_the_end_when_there_is_one(tmp_path, trapd, mplsted):
    documents = Documents(tmp_path, trapd)
    with Master(tmp_path, f"trap2sink 127.0.0.1:{trapd.port} public") as master:
        subagent = mplsted("--agentx", master.socket, listen=(), access=None)
        documents.change(SWITCH_OVER)
        assert trapd.until(f"rerouted {PARIS_SWITCHED}") == []
        master.end()
        await_true(lambda: "lost the master" in subagent.log(), "mplsted to notice")
        # While a document is the latest there is, all are read.
        documents.change(status("to-zurich", up=False))
        master.start()
        assert trapd.until(f"down {ZURICH}") == [], "and nothing of all the tunnels that are as they were"
        assert documents.told() == []


def test_a_stock_snmpd_with_mplste_inside_notifies_its_receivers(tmp_path, trapd):
    if not (BUILD / "mplsTe.so").exists() or "debug" in BUILD.name:
        pytest.skip("a stock snmpd cannot load what is built with sanitizers")
    documents = Documents(tmp_path, trapd)
    with Trapd(tmp_path, USER.format(engine=""), name="other") as other:
        snmpd = Snmpd(tmp_path)
        snmpd.configure(f"dlmod mplsTe {BUILD / 'mplsTe.so'}", f"mplsteState {documents.file}",
                        *snmpd_receivers(trapd, other))
        with snmpd:
            await_true(lambda: "mplste: ready" in snmpd.log(), "the tables")
            documents.expect_a_life_told()
            expect_the_same(other, trapd)
            reader = Manager(snmpd.address)
            assert reader.value(f"{MIB}.1.1.0")[1] == 13
            assert MIB.lstrip(".") in str(reader.walk(".1.3.6.1.2.1.1.9.1.2"))
            # Its configuration is read again: what is loaded goes and comes, and nothing is told of that.
            snmpd.process.send_signal(signal.SIGHUP)
            await_true(lambda: snmpd.log().count("mplste: ready") == 2, "the tables again")
            assert documents.told() == []
            reader.close()
