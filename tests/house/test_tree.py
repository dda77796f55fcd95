# SPDX-License-Identifier: MIT
# ctest-labels: release-only
"""Rules for every file and every commit: licence line, size, words that do not belong here."""

import re

import pytest
import tree

LICENCE = "SPDX-License-Identifier: MIT"
LONGEST_SOURCE = 600
LONGEST_SUBJECT = 72

# Work left undone, and references to texts and places that a reader of the project does not have. Written so that this
# list does not find itself.
UNWANTED = [
    r"\bTO[D]O\b",
    r"\bFIX[M]E\b",
    r"(?i)\bas s[p]ecified\b",
    r"\bPart \d+\.\d",
    r"/wor[k]/",
    r"shared/s[p]ec",
    r"(?i)\bassis[t]ant\b",
]


def unwanted(text):
    """The unwanted words in text, each with the number of its line."""
    return [f"{number}: {found.group()}" for number, line in enumerate(text.splitlines(), 1)
            for found in (re.search(word, line) for word in UNWANTED) if found]


def commits():
    """(abbreviated id, message) of every commit. Merges are written by machines."""
    log = tree.git("log", "--no-merges", "--format=%h%x00%B%x01")
    if log is None:
        pytest.skip("not a checkout: there are no commits to look at")
    return [entry.strip().split("\0") for entry in log.split("\x01") if entry.strip()]


def test_every_source_names_its_licence_at_the_top():
    missing = [str(name) for name in tree.files() if tree.is_source(name)
               and not any(LICENCE in line for line in tree.text(name).splitlines()[:2])]
    assert not missing


def test_no_source_grows_beyond_what_can_be_read_in_one_sitting():
    sizes = {str(name): len(tree.text(name).splitlines()) for name in tree.files() if tree.is_source(name)}
    assert sizes, "no source found"
    assert not {name: size for name, size in sizes.items() if size > LONGEST_SOURCE}


def test_no_file_holds_unwanted_words():
    found = [f"{name}:{place}" for name in tree.files() for place in unwanted(tree.text(name))]
    assert not found


def test_no_file_name_holds_unwanted_words():
    assert not [str(name) for name in tree.files() if unwanted(str(name))]


def test_no_commit_message_holds_unwanted_words():
    assert not [f"{commit}: {place}" for commit, message in commits() for place in unwanted(message)]


def test_commit_subjects_fit_on_a_line():
    subjects = {commit: message.splitlines()[0] for commit, message in commits()}
    assert not {commit: subject for commit, subject in subjects.items() if len(subject) > LONGEST_SUBJECT}


@pytest.mark.parametrize("text", [
    "// TO" + "DO: later",
    "the value is 3, As " + "specified",
    "see Part " + "4.2",
    "cd /wor" + "k/main",
    "an assis" + "tant wrote it",
])
def test_unwanted_words_are_found(text):
    assert unwanted("fine\n" + text) != []


@pytest.mark.parametrize("text", ["a mastodon", "part of a path", "Parts of a tunnel", "build/workers/x"])
def test_other_words_are_let_through(text):
    assert unwanted(text) == []
