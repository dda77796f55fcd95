# SPDX-License-Identifier: MIT
# ctest-labels: release-only
"""The manual pages name what the programs know, all of it and nothing else, and are well written for troff."""

import gzip
import os
import re
import subprocess
from pathlib import Path

import pytest

BUILD = Path(os.environ["MPLSTE_BUILD_DIR"])
SOURCE = Path(os.environ["MPLSTE_SOURCE_DIR"])
PAGES = sorted((SOURCE / "docs" / "man").iterdir())


def help_text(*command):
    return subprocess.run([BUILD / command[0], *command[1:], "--help"], check=True, capture_output=True,
                          encoding="utf-8").stdout


def section(text, title):
    """The lines of a section of a help text that begin an entry."""
    found = re.search(rf"^{title}:\n((?: .*\n)*)", text, re.MULTILINE)
    return re.findall(r"^  (\S+)", found[1], re.MULTILINE) if found else []


def options_of(*command):
    """The options of a program, with those of its subcommands."""
    text = help_text(*command)
    options = {option for entry in section(text, "Options") for option in entry.split(",")}
    for subcommand in section(text, "Subcommands"):
        options |= options_of(*command, subcommand)
    return options


def source(page):
    return (SOURCE / "docs" / "man" / page).read_text(encoding="utf-8").replace("\\-", "-")


def described(page):
    """The options that a page has an entry for."""
    entries = "\n".join(re.findall(r"^\.It (Fl .*)$", source(page), re.MULTILINE))
    return {f"-{name}" for name in re.findall(r"\bFl ([\w-]+)", entries)}


def in_synopsis(page):
    text = source(page).partition(".Sh SYNOPSIS")[2].partition(".Sh DESCRIPTION")[0]
    return {f"-{name}" for name in re.findall(r"\bFl ([\w-]+)", text)}


@pytest.mark.parametrize("program, page", [("mplsted", "mplsted.8"), ("mplste", "mplste.1")])
def test_every_option_has_its_entry_and_every_entry_its_option(program, page):
    options = options_of(program)
    assert {"-h", "--help", "--version", "--state"} < options
    assert described(page) == options


def test_the_synopsis_of_the_agent_is_complete():
    assert in_synopsis("mplsted.8") == options_of("mplsted") - {"-h"}


def tokens():
    """(option, token) of the table that the agent reads its configuration by."""
    table = (SOURCE / "host" / "daemon" / "Settings.cpp").read_text(encoding="utf-8")
    return set(re.findall(r'\{"(--[\w-]+)",\s*"(mplste\w+)"', table))


def test_every_token_of_the_configuration_has_its_entry():
    page = re.findall(r"^\.It Ic (mplste\w+).*\n\.Fl ([\w-]+)", source("mplsted.conf.5"), re.MULTILINE)
    assert tokens() == {(f"-{option}", token) for token, option in page}


def test_the_table_of_options_says_the_same():
    rows = re.findall(r"^\| `(--[\w-]+)[^|]*\| *(?:`(mplste\w+)`)? *[^|]*\|",
                      (SOURCE / "docs" / "mplsted.md").read_text(encoding="utf-8"), re.MULTILINE)
    assert {option for option, _ in rows} == options_of("mplsted") - {"-h", "--help", "--version"}
    assert {row for row in rows if row[1]} == tokens()


@pytest.mark.parametrize("page", PAGES, ids=lambda page: page.name)
def test_troff_has_nothing_to_complain_of(page):
    done = subprocess.run(["man", "--warnings", "--encoding=UTF-8", "--local-file", page], capture_output=True,
                          encoding="utf-8", env=os.environ | {"MANROFFOPT": "-ww", "MANWIDTH": "80"}, timeout=60)
    assert (done.returncode, done.stderr) == (0, "")
    assert "DESCRIPTION" in done.stdout


def test_a_mistake_in_a_page_would_be_noticed(tmp_path):
    (tmp_path / "bad.1").write_text(".Dd November 21, 2026\n.Dt BAD 1\n.Os\n.Sh NAME\n.Nm bad\n.NoSuchMacro\n")
    done = subprocess.run(["man", "--warnings", "--local-file", tmp_path / "bad.1"], capture_output=True,
                          encoding="utf-8", env=os.environ | {"MANROFFOPT": "-ww"}, timeout=60)
    assert "NoSuchMacro" in done.stderr


def test_the_pages_are_installed_compressed_each_in_its_section(prefix):
    assert [page.name for page in PAGES] == ["mplste.1", "mplsted.8", "mplsted.conf.5"]
    for page in PAGES:
        installed = prefix / "share" / "man" / f"man{page.suffix[1:]}" / f"{page.name}.gz"
        assert gzip.decompress(installed.read_bytes()) == page.read_bytes()
