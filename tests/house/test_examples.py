# SPDX-License-Identifier: MIT
# ctest-labels: release-only
"""The example head end shows what a head end can be, and the switch-over moves one row."""

import collections
import ipaddress

import pytest
import tree


def rows(state):
    """Index of each row that a fresh start derives from state, with the LSP request that it stands for."""
    status = state["subTunnelStatus"]
    requests = collections.defaultdict(list)
    for request, sp in state["spIdForLspRequestConfigId"].items():
        requests[sp].append(request)
    found = {}
    for sp, claims in requests.items():
        tunnel = claims[0].split("@")[0]
        if (len(claims) == 1 and status.get(tunnel, {}).get("activeLsp") == claims[0]
                and tunnel in state["subTunnelConfig"] and claims[0] in state["lspRequestStatus"]
                and sp in state["spStatus"]):
            destination, tunnel_id, sender, lsp_id = sp.split("/")
            addresses = (int(ipaddress.IPv4Address(address)) for address in (sender, destination))
            found[".".join(map(str, (tunnel_id, lsp_id, *addresses)))] = claims[0]
    return found


@pytest.fixture
def head_end():
    return tree.example("headend.json")


def test_it_starts_with_thirteen_rows(head_end):
    assert rows(head_end) == {
        "12.1.167772161.167772169": "cli:to-paris@primary.1",
        "13.1.167772161.167772165": "cli:to-amsterdam@primary.1",
        "14.5.167772161.167772167": "cli:to-frankfurt@primary.5",
        "15.4.167772161.167772174": "cli:to-madrid@secondary.4",
        "17.1.167772161.167772171": "cli:to-zurich@primary.1",
        "18.3.167772161.167772177": "cli:to-vienna@primary.3",
        "39.1.167772161.167772180": "cli:to-rome#1@primary.1",
        "40.7.167772161.167772180": "cli:to-rome#2@secondary.7",
        "501.11.167772161.167772186": "controller:lon-waw-voice@primary.11",
        "502.65537.167772161.167772163": "controller:lon-dub-backup@primary.0",
        "503.2.167772161.3405803816": "controller:peering-new-york@primary.2",
        "32769.1.167772161.167772166": "auto:bypass%40lon-bru-1@primary.1",
        "32770.2.167772161.167772183": "auto:mesh-stockholm@primary.2",
    }


def test_the_switch_over_moves_the_row_to_the_secondary_lsp(head_end):
    before = rows(head_end)
    after = rows(tree.merged(head_end, tree.example("switchover.json")))
    assert set(before) - set(after) == {"12.1.167772161.167772169"}
    assert set(after) - set(before) == {"12.2.167772161.167772169"}
    assert after["12.2.167772161.167772169"] == "cli:to-paris@secondary.2"


def test_the_switch_over_replaces_the_path_and_counts_it(head_end):
    before = head_end["subTunnelStatus"]["cli:to-paris"]
    after = tree.merged(head_end, tree.example("switchover.json"))["subTunnelStatus"]["cli:to-paris"]
    assert after["activePath"] == {"1": "10.1.6.2", "2": "10.6.9.2"}
    assert len(before["activePath"]) == 3, "one hop has to go"
    assert after["pathChanges"] == before["pathChanges"] + 1
    assert after["stateTransitions"] == before["stateTransitions"] + 1


def test_it_shows_every_kind_of_tunnel(head_end):
    config, status = head_end["subTunnelConfig"], head_end["subTunnelStatus"]
    sps = collections.Counter(head_end["spIdForLspRequestConfigId"].values())
    active = {entry.get("activeLsp") for entry in status.values()}
    assert {name.split(":")[0] for name in config} == {"cli", "auto", "controller"}
    assert {name for name in config if "#" in name} == {"cli:to-rome#1", "cli:to-rome#2"}
    assert any(entry.get("secondaryPathSpec") for entry in config.values())
    assert any(entry.get("fastReroute") for entry in config.values())
    assert {"code": 25, "value": 3} in head_end["lspRequestStatus"]["cli:to-frankfurt@primary.5"]["errors"]
    assert [name for name, entry in status.items() if not entry["up"]] == ["cli:to-vienna", "cli:to-lisbon"]
    assert status["cli:to-lisbon"]["activeLsp"] is None
    assert sps["10.0.0.6/16/10.0.0.1/1"] == 2, "two requests on one sp id: ambiguous, no row"
    assert set(head_end["lspRequestStatus"]) - active, "requests that are not the active LSP"
    assert {entry["type"] for entry in head_end["pathSpec"].values()} == {"explicit", "dynamic"}


def test_what_it_refers_to_is_there(head_end):
    assert set(head_end["spIdForLspRequestConfigId"].values()) == set(head_end["spStatus"])
    assert set(head_end["spIdForLspRequestConfigId"]) == set(head_end["lspRequestStatus"])
    assert set(head_end["subTunnelConfig"]) == set(head_end["subTunnelStatus"])
    for entry in head_end["subTunnelConfig"].values():
        for which in ("primaryPathSpec", "secondaryPathSpec"):
            assert entry.get(which) is None or entry[which] in head_end["pathSpec"]
    for request in head_end["spIdForLspRequestConfigId"]:
        tunnel = request.split("@")[0]
        indexed = head_end["tunnelIndexForSubTunnelConfigId" if "#" in tunnel else "tunnelIndexForTunnelSpecId"]
        assert tunnel in indexed
