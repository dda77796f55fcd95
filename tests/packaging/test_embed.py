# SPDX-License-Identifier: MIT
# ctest-labels: release-only
"""The example host is built from what is installed, and from nothing else, and its rows follow a change."""

import json
import os
import re
import shutil
import subprocess
from pathlib import Path

import pytest
from support.mplsted import environment
from support.stand_in import free_udp_port
from support.tree import TABLES, below

SOURCE = Path(os.environ["MPLSTE_SOURCE_DIR"])


@pytest.fixture(scope="module")
def embed(prefix, tmp_path_factory):
    """The example, built away from the tree."""
    folder = tmp_path_factory.mktemp("embed")
    shutil.copytree(SOURCE / "examples" / "embed", folder / "source")
    build = folder / "build"
    for command in (["cmake", "-G", "Ninja", "-S", folder / "source", "-B", build, f"-DCMAKE_PREFIX_PATH={prefix}",
                     "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON"],
                    ["cmake", "--build", build]):
        done = subprocess.run(command, capture_output=True, encoding="utf-8")
        assert done.returncode == 0, done.stdout + done.stderr
    return build


def run(embed, folder, *files, listen=None):
    return subprocess.run([embed / "embed", listen or f"udp:127.0.0.1:{free_udp_port()}", *files], env=environment(folder), cwd=folder, capture_output=True,
                          encoding="utf-8", timeout=60)


def test_no_path_of_the_tree_is_used(embed, prefix):
    commands = json.loads((embed / "compile_commands.json").read_text(encoding="utf-8"))
    assert len(commands) == 1
    assert f"{prefix}/include/mplste" in commands[0]["command"]
    for name in ("compile_commands.json", "build.ninja", "CMakeCache.txt"):
        assert not re.search(rf"{re.escape(str(SOURCE))}(/|\b)", (embed / name).read_text(encoding="utf-8")), name


def rows(column, value):
    """Lines "index = value" of a column of the example head end."""
    return [f"{oid[len(column) + 1:].replace('.', ' ')} = {value(text)}" for oid, text in below(column)]


def address(text):
    """An address of IPv4 as net-snmp prints its octets, in the usual notation."""
    return ".".join(str(int(octet, 16)) for octet in text.removeprefix("Hex-STRING: ").split())


def test_it_prints_the_rows_before_and_after_the_change(embed, tmp_path):
    done = run(embed, tmp_path, SOURCE / "examples" / "headend.json", SOURCE / "examples" / "switchover.json")
    assert done.returncode == 0, done.stderr
    tunnels, hops, tunnels_after, hops_after = [
        part.splitlines() for part in re.split(r"^(?:Tunnels|Hops) (?:before|after):\n", done.stdout, flags=re.M)[1:]]
    assert tunnels == rows(f"{TABLES['tunnel']}.1.5", lambda text: text.removeprefix('STRING: "').rstrip('"'))
    assert len(hops) == len(below(f"{TABLES['hop']}.1.5"))
    assert set(tunnels) - set(tunnels_after) == {"12 1 167772161 167772169 = to-paris"}
    assert set(tunnels_after) - set(tunnels) == {"12 2 167772161 167772169 = to-paris"}
    assert {line.split(" = ")[1] for line in set(hops) - set(hops_after)} == {"10.1.4.2", "10.4.8.2", "10.8.9.2"}
    assert {line.split(" = ")[1] for line in set(hops_after) - set(hops)} == {"10.1.6.2", "10.6.9.2"}


@pytest.mark.parametrize("state, patch, complaint", [
    ("{}", '{"spStatus": 1}', "spStatus"),
    ('{"tunnels": {}}', "{}", "tunnels"),
    (None, "{}", "cannot read"),
])
def test_what_it_cannot_use_is_said_and_it_leaves_cleanly(embed, tmp_path, state, patch, complaint):
    for name, text in (("state", state), ("patch", patch)):
        if text is not None:
            (tmp_path / name).write_text(text)
    done = run(embed, tmp_path, tmp_path / "state", tmp_path / "patch")
    assert done.returncode == 1
    assert re.search(rf"^embed: .*{complaint}", done.stderr, re.MULTILINE)


def test_an_address_that_it_cannot_listen_on_is_named(embed, tmp_path):
    done = run(embed, tmp_path, SOURCE / "examples" / "headend.json", SOURCE / "examples" / "switchover.json",
               listen="carrier-pigeon:1")
    assert (done.returncode, done.stdout) == (1, "")
    assert done.stderr.splitlines()[-1] == "embed: cannot listen on carrier-pigeon:1"
