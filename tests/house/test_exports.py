# SPDX-License-Identifier: MIT
# ctest-labels: release-only
"""What libraries show to the process that loads them: their functions, and nothing that keeps them from unloading."""

import os
import re
import subprocess
from pathlib import Path

EXPORTS = {
    "init_mplsTeStdMIB(Vel::String)",
    "initialize_table_mplsTunnelTable(Vel::Ptr<Snmp::Config const>, Vel::String)",
    "initialize_table_mplsTunnelHopTable(Vel::Ptr<Snmp::Config const>, Vel::String)",
    "initialize_table_mplsTunnelPerfTable(Vel::Ptr<Snmp::Config const>, Vel::String)",
    "unregister_mplsTeStdMIB(Vel::String)",
}

OWN = re.compile(r"\b(Vel|Orb|Flo|Trel|Lanu|Rsvp|Tallies|Tunnel|Snmp|SnmpUtil)::")


def symbols(listing):
    """(type, name) of each line of nm's output; the address may be missing."""
    found = []
    for line in listing.splitlines():
        words = line.split(maxsplit=2) if line[:1].strip() else ["", *line.split(maxsplit=1)]
        found.append((words[1], words[2]))
    return found


def exported(library="mplsTeStdMIB.so"):
    module = Path(os.environ["MPLSTE_BUILD_DIR"]) / library
    assert module.is_file(), f"{module} has not been built"
    command = ["nm", "--dynamic", "--defined-only", "--demangle", str(module)]
    return symbols(subprocess.run(command, check=True, capture_output=True, encoding="utf-8").stdout)


def test_the_module_exports_its_interface_and_nothing_else():
    names = [name for _, name in exported()]
    assert sorted(names) == sorted(EXPORTS)


def test_the_interface_is_code():
    assert {kind for kind, _ in exported()} == {"T"}


def test_no_unique_symbol_keeps_the_module_mapped():
    assert [name for kind, name in exported() if kind == "u"] == []


def test_what_snmpd_loads_exports_what_snmpd_calls():
    assert sorted(exported("mplsTe.so")) == [("T", "deinit_mplsTe"), ("T", "init_mplsTe")]


def test_the_framework_exports_what_is_its_own():
    """Another library that took a template of the standard library from it would keep it from unloading."""
    found = exported("libmplste.so")
    assert found and [name for kind, name in found if kind == "u" or not OWN.search(name)] == []


def test_a_listing_is_read():
    listing = (
        "0000000000001139 T init_mplsTeStdMIB(Vel::String)\n"
        "0000000000004030 u Vel::counter<int>()::value\n"
        "                 w __cxa_finalize\n"
    )
    assert symbols(listing) == [
        ("T", "init_mplsTeStdMIB(Vel::String)"),
        ("u", "Vel::counter<int>()::value"),
        ("w", "__cxa_finalize"),
    ]
