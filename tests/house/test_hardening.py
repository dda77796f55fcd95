# SPDX-License-Identifier: MIT
# ctest-labels: release-only
"""What is shipped makes the most of what compiler, linker and loader do against those who find a hole in it."""

import os
import re
import subprocess
from pathlib import Path

import pytest

BUILD = Path(os.environ["MPLSTE_BUILD_DIR"])
PROGRAMS = ["mplsted", "mplste"]
LIBRARIES = ["libmplste.so", "mplsTeStdMIB.so", "mplsTe.so"]


def elf(what, name):
    path = BUILD / name
    assert path.is_file(), f"{path} has not been built"
    return subprocess.run(["readelf", "--wide", what, path], check=True, capture_output=True, encoding="utf-8").stdout


def is_bound_at_start(dynamic):
    return bool(re.search(r"\(FLAGS\).*\bBIND_NOW\b|\(FLAGS_1\).*\bNOW\b", dynamic))


def segment(headers, name):
    """The flags of a segment, such as "RW"; nothing when there is none."""
    found = re.search(rf"^ +{name} +(?:0x[0-9a-f]+ +){{5}}([RWE ]+?) +0x", headers, re.MULTILINE)
    return found and found[1].replace(" ", "")


@pytest.mark.parametrize("name", PROGRAMS)
def test_programs_are_loaded_where_nobody_can_tell(name):
    assert re.search(r"\(FLAGS_1\).*\bPIE\b", elf("--dynamic", name))


@pytest.mark.parametrize("name", PROGRAMS + LIBRARIES)
def test_what_the_loader_has_filled_in_is_not_written_any_more(name):
    assert segment(elf("--program-headers", name), "GNU_RELRO") == "R"
    assert is_bound_at_start(elf("--dynamic", name))


@pytest.mark.parametrize("name", PROGRAMS + LIBRARIES)
def test_nothing_is_both_written_and_run(name):
    headers = elf("--program-headers", name)
    assert segment(headers, "GNU_STACK") == "RW"
    flags = re.findall(r"^ +LOAD +(?:0x[0-9a-f]+ +){5}([RWE ]+?) +0x", headers, re.MULTILINE)
    assert flags and not [flag for flag in flags if {"W", "E"} <= set(flag)]


@pytest.mark.parametrize("name", PROGRAMS + LIBRARIES)
def test_the_stack_is_guarded(name):
    assert "__stack_chk_fail" in elf("--dyn-syms", name)


def test_calls_into_the_c_library_are_checked():
    """Where the compiler knows how large a buffer is."""
    assert re.search(r"__\w+_chk@", "".join(elf("--dyn-syms", name) for name in PROGRAMS + LIBRARIES)
                     .replace("__stack_chk_fail", ""))


def test_headers_are_read():
    headers = ("  GNU_STACK      0x000000 0x0000000000000000 0x0000000000000000 0x000000 0x000000 RWE 0x10\n"
               "  GNU_RELRO      0x1488e0 0x00000000001488e0 0x00000000001488e0 0x003720 0x003720 R   0x1\n")
    assert [segment(headers, name) for name in ("GNU_STACK", "GNU_RELRO", "TLS")] == ["RWE", "R", None]
    assert not is_bound_at_start(" 0x000000006ffffffb (FLAGS_1)            Flags: PIE")
    assert is_bound_at_start(" 0x000000006ffffffb (FLAGS_1)            Flags: NOW PIE")
