# SPDX-License-Identifier: MIT
"""mplste show reads the tables over SNMP and prints what an operator and a program want to know."""

import json
import os
import re
import socket
import subprocess
from pathlib import Path

import pytest
from support.stand_in import StandIn, hops, tunnel

MPLSTE = Path(os.environ["MPLSTE_BUILD_DIR"]) / "mplste"

TUNNELS = (
    tunnel("to-paris", 12, "10.0.0.9", hopTableIndex=3, sessionAttributes="a8", instanceUpTime=27390612,
           packets=12345678901, octets=9876543210123)
    | tunnel("nach-Köln-東京", 13, "10.0.0.8", hopTableIndex=4, setupPrio=5, holdingPrio=3, sessionAttributes="a8",
             localProtectInUse=1, instanceUpTime=3612300, packets=5, octets=640)
    | tunnel("evil\x1b[31m\n", 40000, "203.0.113.8", instance=2**32 - 1, operStatus=2)
    | hops(3, "gold", ["10.0.12.2", "10.0.23.3"]) | hops(4, "silver", ["2001:db8::1"]))


@pytest.fixture(scope="module")
def agent(tmp_path_factory):
    with StandIn(tmp_path_factory.mktemp("agent")) as stand_in:
        yield stand_in


@pytest.fixture
def mplste(agent):
    """A function that runs mplste against the agent, which serves TUNNELS."""
    agent.publish(TUNNELS)

    def run(*arguments, **environment):
        environment = os.environ | {"MPLSTE_AGENT": agent.address} | environment
        return subprocess.run([MPLSTE, *arguments], env=environment, stdin=subprocess.DEVNULL, capture_output=True,
                              encoding="utf-8", timeout=60)

    return run


def output(done):
    assert (done.returncode, done.stderr) == (0, "")
    return done.stdout


def refusal(done, code):
    """The one line on stderr of a command that has failed with code."""
    assert (done.returncode, done.stdout) == (code, "")
    assert re.fullmatch(r"mplste: .+\n", done.stderr), done.stderr
    return done.stderr.removeprefix("mplste: ").removesuffix("\n")


def test_tunnels_are_a_table_in_the_agents_order(mplste):
    assert output(mplste("show", "tunnels")) == """\
NAME              ID                INGRESS    EGRESS       STATE  PRIO  FLAGS              UP TIME
to-paris          12/1              192.0.2.1  10.0.0.9     up     7/0   FRR            3d 04:05:06
nach-Köln-東京    13/1              192.0.2.1  10.0.0.8     up     5/3   FRR protected     10:02:03
evil\\x1b[31m\\x0a  40000/4294967295  192.0.2.1  203.0.113.8  down   7/0   -                 00:00:00

3 tunnels, 2 up, 1 down, 1 protected
"""


def test_tunnels_for_programs_have_every_object_by_its_name(mplste):
    tunnels = json.loads(output(mplste("show", "tunnels", "--json")))["tunnels"]
    assert tunnels[1] == {
        "mplsTunnelIndex": 13, "mplsTunnelInstance": 1, "mplsTunnelIngressLSRId": "192.0.2.1",
        "mplsTunnelEgressLSRId": "10.0.0.8", "mplsTunnelName": "nach-Köln-東京", "mplsTunnelDescr": "",
        "mplsTunnelIsIf": False, "mplsTunnelIfIndex": 0, "mplsTunnelOwner": "rsvpTe", "mplsTunnelRole": "head",
        "mplsTunnelSignallingProto": "rsvp", "mplsTunnelSetupPrio": 5, "mplsTunnelHoldingPrio": 3,
        "mplsTunnelSessionAttributes": ["fastReroute", "isPersistent", "recordRoute"],
        "mplsTunnelLocalProtectInUse": True, "mplsTunnelHopTableIndex": 4, "mplsTunnelPathInUse": 1,
        "mplsTunnelIncludeAnyAffinity": 0, "mplsTunnelIncludeAllAffinity": 0, "mplsTunnelExcludeAnyAffinity": 0,
        "mplsTunnelInstanceUpTime": 3612300, "mplsTunnelPathChanges": 0, "mplsTunnelStateTransitions": 1,
        "mplsTunnelAdminStatus": "up", "mplsTunnelOperStatus": "up", "mplsTunnelRowStatus": "active",
        "mplsTunnelStorageType": "readOnly"}
    assert [row["mplsTunnelName"] for row in tunnels] == ["to-paris", "nach-Köln-東京", "evil\x1b[31m\n"]


def test_hops_are_shown_with_their_tunnel(mplste):
    assert output(mplste("show", "hops")) == """\
TUNNEL          LIST  PATH    HOP  ADDRESS          TYPE    INCLUDE  COMPUTED
to-paris           3  gold      1  10.0.12.2/32     strict  yes      explicit
to-paris           3  gold      2  10.0.23.3/32     strict  yes      explicit
nach-Köln-東京     4  silver    1  2001:db8::1/128  strict  yes      explicit

3 hops in 2 paths
"""
    assert json.loads(output(mplste("show", "hops", "--json")))["hops"][2] == {
        "mplsTunnelHopListIndex": 4, "mplsTunnelHopPathOptionIndex": 1, "mplsTunnelHopIndex": 1,
        "mplsTunnelHopAddrType": "ipv6", "mplsTunnelHopIpAddr": "2001:db8::1", "mplsTunnelHopIpPrefixLen": 128,
        "mplsTunnelHopAsNumber": "c0:80:c0:80", "mplsTunnelHopAddrUnnum": "c0:80:c0:80",
        "mplsTunnelHopLspId": "c0:80", "mplsTunnelHopType": "strict", "mplsTunnelHopInclude": True,
        "mplsTunnelHopPathOptionName": "silver", "mplsTunnelHopEntryPathComp": "explicit",
        "mplsTunnelHopRowStatus": "active", "mplsTunnelHopStorageType": "readOnly",
        "mplsTunnelName": "nach-Köln-東京"}


def test_counters_are_shown_in_64_bits(mplste):
    assert output(mplste("show", "perf")).splitlines()[1:2] == [
        "to-paris          12/1              192.0.2.1  10.0.0.9     12345678901  9876543210123"]
    assert json.loads(output(mplste("show", "perf", "--json")))["perf"][0] == {
        "mplsTunnelIndex": 12, "mplsTunnelInstance": 1, "mplsTunnelIngressLSRId": "192.0.2.1",
        "mplsTunnelEgressLSRId": "10.0.0.9", "mplsTunnelPerfPackets": 12345678901 % 2**32,
        "mplsTunnelPerfHCPackets": 12345678901, "mplsTunnelPerfBytes": 9876543210123 % 2**32,
        "mplsTunnelPerfHCBytes": 9876543210123, "mplsTunnelName": "to-paris"}


def test_one_tunnel_is_shown_with_everything_about_it(mplste):
    assert output(mplste("show", "tunnel", "to-paris")) == """\
to-paris  12/1  192.0.2.1 -> 10.0.0.9  up

description         ""                                    path option in use  1
is interface        no                                    include any         0
interface index     0                                     include all         0
owner               rsvpTe                                exclude any         0
role                head                                  up time             3d 04:05:06
signalling          rsvp                                  path changes        0
setup priority      7                                     state transitions   1
holding priority    0                                     admin status        up
session attributes  fastReroute isPersistent recordRoute  state               up
protection in use   no                                    row status          active
hop list            3                                     storage type        readOnly

PATH  HOP  ADDRESS       TYPE    INCLUDE  COMPUTED
gold    1  10.0.12.2/32  strict  yes      explicit
gold    2  10.0.23.3/32  strict  yes      explicit

12345678901 packets, 9876543210123 bytes
"""
    shown = json.loads(output(mplste("show", "tunnel", "to-paris", "--json")))["tunnels"]
    assert [row["mplsTunnelIndex"] for row in shown] == [12]
    assert [hop["mplsTunnelHopIpAddr"] for hop in shown[0]["hops"]] == ["10.0.12.2", "10.0.23.3"]
    assert shown[0]["perf"]["mplsTunnelPerfHCBytes"] == 9876543210123


def test_all_instances_of_a_tunnel_are_shown(mplste, agent):
    agent.publish(tunnel("moving", 12, "10.0.0.9", instance=1) | tunnel("moving", 12, "10.0.0.9", instance=2))
    shown = output(mplste("show", "tunnel", "moving")).splitlines()
    assert [line for line in shown if line.startswith("moving")] == [
        "moving  12/1  192.0.2.1 -> 10.0.0.9  up", "moving  12/2  192.0.2.1 -> 10.0.0.9  up"]


def test_a_tunnel_that_does_not_exist_is_named(mplste, agent):
    assert refusal(mplste("show", "tunnel", "to-\x1bnowhere"), 1) == (
        f'no tunnel named "to-\\x1bnowhere" at {agent.address}: \'mplste show tunnels\' lists those there are')


def test_hundreds_of_tunnels_come_all_and_in_order(mplste, agent):
    expected = [f"t{number}" for number in range(1, 301)]
    variables = {}
    for number, name in enumerate(expected, 1):
        variables |= tunnel(name, number, "200.0.0.1")
    agent.publish(variables)
    lines = output(mplste("show", "tunnels")).splitlines()
    assert [line.split()[0] for line in lines[1:301]] == expected
    assert lines[-1] == "300 tunnels, 300 up, 0 down"


def test_a_row_with_missing_columns_is_shown_with_dashes(mplste, agent):
    agent.publish(tunnel("whole", 1, "10.0.0.1")
                  | tunnel("partly", 2, "10.0.0.1", setupPrio=None, sessionAttributes=None, instanceUpTime=None,
                           operStatus=None))
    assert output(mplste("show", "tunnels")).splitlines()[1:3] == [
        "whole   1/1  192.0.2.1  10.0.0.1  up     7/0   -      00:00:00",
        "partly  2/1  192.0.2.1  10.0.0.1  -      -/0   -             -"]
    partly = json.loads(output(mplste("show", "tunnels", "--json")))["tunnels"][1]
    assert partly["mplsTunnelSetupPrio"] is None and partly["mplsTunnelHoldingPrio"] == 0


def test_an_agent_without_tunnels_is_no_error(mplste, agent):
    agent.publish({})
    assert output(mplste("show", "tunnels")) == "0 tunnels, 0 up, 0 down\n"
    assert output(mplste("show", "hops")) == "0 hops in 0 paths\n"
    assert output(mplste("show", "perf")) == "0 tunnels, 0 packets, 0 bytes\n"
    assert json.loads(output(mplste("show", "tunnels", "--json"))) == {"tunnels": []}


def test_the_users_snmp_configuration_neither_matters_nor_makes_noise(mplste, tmp_path):
    (tmp_path / ".snmp").mkdir()
    (tmp_path / ".snmp" / "snmp.conf").write_text("nonsense here\ndefVersion 1\ndefCommunity wrong\nmibs +ALL\n")
    (tmp_path / ".snmp" / "mibs").mkdir()
    (tmp_path / ".snmp" / "mibs" / "BROKEN-MIB.txt").write_text("BROKEN-MIB DEFINITIONS ::= BEGIN nonsense")
    environment = {"HOME": str(tmp_path), "SNMPCONFPATH": str(tmp_path / ".snmp"), "MIBS": "ALL"}
    assert "3 tunnels" in output(mplste("show", "tunnels", **environment))
    assert not (tmp_path / ".snmp" / "mib_indexes").exists()


def test_options_win_over_the_environment(mplste, agent):
    assert "3 tunnels" in output(mplste("show", "tunnels", "--agent", agent.address, "--community", "public",
                                        MPLSTE_AGENT="udp:127.0.0.1:1", MPLSTE_COMMUNITY="wrong"))


def test_an_agent_that_hides_the_tables_is_told_from_an_empty_one(mplste, agent):
    for view, table in ("tunnels", "mplsTunnelTable"), ("hops", "mplsTunnelHopTable"), ("perf", "mplsTunnelPerfTable"):
        assert refusal(mplste("show", view, MPLSTE_COMMUNITY="narrow"), 2) == (
            f"{agent.address} does not serve {table}: is the module loaded there, and does the community's view "
            "include 1.3.6.1.2.1.10.166?")


def test_a_silent_agent_is_named_with_what_to_check(mplste, agent):
    message = ("no answer from {} within 0.4 s: is the agent running there, and may this community read? "
               "See --agent, --community and --timeout")
    patience = "--timeout", "0.2", "--retries", "1"
    assert refusal(mplste("show", "tunnels", "--community", "wrong", *patience), 2) == message.format(agent.address)
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as silent:
        silent.bind(("127.0.0.1", 0))
        address = f"udp:127.0.0.1:{silent.getsockname()[1]}"
        for view in "tunnels", "hops", "perf":
            assert refusal(mplste("show", view, "--agent", address, *patience), 2) == message.format(address)


@pytest.mark.parametrize("address, reason", [
    ("udp:no.such.host.invalid:161",
     "cannot resolve udp:no.such.host.invalid:161: no such host is known here; "),
    ("carrier-pigeon:coop", "cannot resolve carrier-pigeon:coop: no such host is known here; "),
    ("unix:/nonexistent/socket",
     "cannot reach unix:/nonexistent/socket (No such file or directory): is the agent running there? "),
])
def test_an_address_that_leads_nowhere_is_named(mplste, address, reason):
    assert refusal(mplste("show", "tunnels", "--agent", address), 2) == (
        f"{reason}--agent is udp:HOST:PORT, tcp:HOST:PORT or unix:PATH")


@pytest.mark.parametrize("arguments, reason", [
    ([], "a command is missing; there are show, watch, counters, simulate, publish, state, status, events, trace, doctor: "
         "see 'mplste --help'"),
    (["shwo", "tunnels"], "there is no command 'shwo', 'show' is probably meant: see 'mplste --help'"),
    (["show"], "a command is missing; there are tunnels, hops, perf, tunnel: see 'mplste show --help'"),
    (["show", "rows"], "there is no command 'rows'; there are tunnels, hops, perf, tunnel: see 'mplste show --help'"),
    (["show", "tunnel"], "NAME is required: see 'mplste show tunnel --help'"),
    (["show", "tunnel", "a", "b"], "'b' is one word too many: see 'mplste show tunnel --help'"),
    (["show", "tunnels", "--colour"], "there is no option '--colour': see 'mplste show tunnels --help'"),
    (["show", "tunnels", "--comunity=x"],
     "there is no option '--comunity', '--community' is probably meant: see 'mplste show tunnels --help'"),
    (["--json", "show", "tunnels"],
     "'--json' belongs behind 'mplste show tunnels': see 'mplste show tunnels --help'"),
    (["counters", "list", "--nam", "x"],
     "there is no option '--nam', '--name' is probably meant: see 'mplste counters list --help'"),
    (["show", "tunnels", "--timeout", "soon"],
     "--timeout: Value soon not in range 0.010000 to 3600.000000: see 'mplste show tunnels --help'"),
    (["watch", "--interval", "0"],
     "--interval: Value 0 not in range 0.100000 to 86400.000000: see 'mplste watch --help'"),
])
def test_wrong_usage_is_told_in_one_line(mplste, arguments, reason):
    assert refusal(mplste(*arguments), 1) == reason


def test_help_and_version_are_on_stdout(mplste):
    assert re.fullmatch(r"mplste \d+\.\d+\.\d+\nbuilt with net-snmp \d\S*, fmt \d\S*, CLI11 \d\S*, nlohmann-json \d\S* "
                        r"by (GNU|Clang) \d\S* \(.+\)\n", output(mplste("--version")))
    assert "--agent ADDRESS=udp:127.0.0.1:11161 (Env:MPLSTE_AGENT)" in output(
        subprocess.run([MPLSTE, "show", "tunnels", "--help"], capture_output=True, encoding="utf-8",
                       env={key: value for key, value in os.environ.items() if not key.startswith("MPLSTE_")}))


def test_output_that_cannot_be_written_is_an_error(mplste, agent):
    with open("/dev/full", "w", encoding="utf-8") as full:
        done = subprocess.run([MPLSTE, "show", "tunnels", "--agent", agent.address], stdout=full,
                              stderr=subprocess.PIPE, encoding="utf-8", timeout=60)
    assert (done.returncode, done.stderr) == (1, "mplste: cannot write the output: No space left on device\n")
