# SPDX-License-Identifier: MIT
# ctest-labels: release-only
"""The programs of docs/embedding.md are built as they stand, against what is installed, and do what it says."""

import re
import subprocess

import pytest
from support.mplsted import environment
from support.stand_in import free_udp_port

SUFFIX = {"cmake": "CMakeLists.txt", "cpp": "main.cpp"}


def programs(page):
    """The files of the program of each chapter, by its heading: its blocks of code, one after another."""
    found = {}
    for chapter in re.split(r"^## ", page, flags=re.MULTILINE)[1:]:
        for language, code in re.findall(r"^```(\w*)\n(.*?)^```$", chapter, re.MULTILINE | re.DOTALL):
            files = found.setdefault(chapter.splitlines()[0], {})
            files[SUFFIX[language]] = files.get(SUFFIX[language], "") + code
    return found


@pytest.fixture(scope="module")
def page(prefix):
    return (prefix / "share/doc/mplste/docs/embedding.md").read_text(encoding="utf-8")


@pytest.fixture(scope="module")
def built(page, prefix, tmp_path_factory):
    """The folders that the programs are built in, by the heading of their chapter."""
    folders = {}
    for heading, files in programs(page).items():
        folder = tmp_path_factory.mktemp("embedding")
        for name, code in files.items():
            (folder / name).write_text(code, encoding="utf-8")
        for command in (["cmake", "-G", "Ninja", "-S", folder, "-B", folder / "build", f"-DCMAKE_PREFIX_PATH={prefix}",
                         "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Werror"],
                        ["cmake", "--build", folder / "build"]):
            done = subprocess.run(command, capture_output=True, encoding="utf-8")
            assert done.returncode == 0, f"{heading}: {done.stdout}{done.stderr}"
        folders[heading] = folder / "build"
    return folders


def test_both_ways_are_whole_programs(page):
    found = programs(page)
    assert list(found) == ["With mplste::host", "By hand"]
    assert all(set(files) == set(SUFFIX.values()) for files in found.values())


def test_no_code_stands_where_no_program_is_made_of_it(page):
    assert page.count("```") == 2 * len(re.findall(r"^```(?:cmake|cpp)$", page, re.MULTILINE))
    assert not re.search(r"^ {4}\S", re.sub(r"```.*?```", "", page, flags=re.DOTALL), re.MULTILINE)


def test_the_headers_of_the_way_by_hand_are_all_that_it_needs(page):
    """Each is named for a reason, none of the libraries that it does without is among them."""
    headers = re.findall(r'^#include "(.+?)"', programs(page)["By hand"]["main.cpp"], re.MULTILINE)
    assert not [name for name in headers if name.startswith(("host/module", "host/store", "host/feed"))]
    assert re.findall(r"mplste::\w+", programs(page)["By hand"]["CMakeLists.txt"]) == ["mplste::runtime"]


def run(built, folder, *arguments):
    return subprocess.run([built["By hand"] / "host", *arguments], env=environment(folder), cwd=folder,
                          capture_output=True, encoding="utf-8", timeout=60)


def test_the_host_by_hand_prints_its_rows_before_and_after_the_change(built, tmp_path):
    done = run(built, tmp_path, f"udp:127.0.0.1:{free_udp_port()}")
    assert done.returncode == 0, done.stderr
    tunnel = ("Value('MplsSnmp::MplsTunnelTableKey', ** {'tunnelIndex': 12, 'tunnelInstance': 1, "
              "'tunnelIngressLsrId': 167772161, 'tunnelEgressLsrId': 167772169}): operUp")
    hops = [f"Value('MplsSnmp::MplsTunnelHopTableKey', ** {{'tunnelHopListIndex': 1, 'tunnelHopPathOptionIndex': 1, "
            f"'tunnelHopIndex': {n}}}): {address}" for n, address in ((1, "0a:00:0c:02"), (2, "0a:00:17:03"))]
    assert done.stdout.splitlines() == [tunnel, tunnel, *hops]


def test_the_host_by_hand_ends_cleanly_when_it_cannot_listen(built, tmp_path):
    done = run(built, tmp_path, "carrier-pigeon:1")
    assert (done.returncode, done.stdout) == (1, "")
    assert done.stderr.splitlines()[-1] == "host: cannot listen on carrier-pigeon:1"
