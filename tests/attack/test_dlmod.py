# SPDX-License-Identifier: MIT
# ctest-labels: release-only
"""Malformed SNMP messages over UDP and TCP, to a stock snmpd that has mplste inside: it has no sanitizers."""

from live.snmp_attack import ACCESS, ROWS, Attack
from support.master import Snmpd
from support.mplsted import BUILD, HEAD_END
from support.publisher import Publisher
from support.stand_in import await_true, free_tcp_port


def test_snmpd_with_mplste_inside_survives_malformed_messages(tmp_path):
    port, path = free_tcp_port(), tmp_path / "publish.sock"
    snmpd = Snmpd(tmp_path, f"dlmod mplsTe {BUILD / 'mplsTe.so'}", f"mplsteState {HEAD_END}", f"mplstePublish {path}",
                  f"agentAddress tcp:127.0.0.1:{port}", access=ACCESS)
    with snmpd:
        await_true(lambda: "mplste: ready: " in snmpd.log(), "the tables")
        Attack(snmpd.process, snmpd.address, ("127.0.0.1", port)).run()
        with Publisher(path) as publisher:
            assert publisher.status()["rows"]["mplsTunnelTable"] == ROWS
