# SPDX-License-Identifier: MIT
# ctest-labels: release-only
"""What the module shows to the process that loads it: its five functions, and nothing that keeps it from unloading."""

import os
import subprocess
from pathlib import Path

EXPORTS = {
    "init_mplsTeStdMIB(Vel::String)",
    "initialize_table_mplsTunnelTable(Vel::Ptr<Snmp::Config const>, Vel::String)",
    "initialize_table_mplsTunnelHopTable(Vel::Ptr<Snmp::Config const>, Vel::String)",
    "initialize_table_mplsTunnelPerfTable(Vel::Ptr<Snmp::Config const>, Vel::String)",
    "unregister_mplsTeStdMIB(Vel::String)",
}


def symbols(listing):
    """(type, name) of each line of nm's output; the address may be missing."""
    found = []
    for line in listing.splitlines():
        words = line.split(maxsplit=2) if line[:1].strip() else ["", *line.split(maxsplit=1)]
        found.append((words[1], words[2]))
    return found


def exported():
    module = Path(os.environ["MPLSTE_BUILD_DIR"]) / "mplsTeStdMIB.so"
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
