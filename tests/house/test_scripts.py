# SPDX-License-Identifier: MIT
# ctest-labels: release-only
"""The scripts parse, explain themselves, and refuse what they do not know."""

import json
import os
import subprocess

import pytest
import tree

# command and the operands that it cannot do without
COMMANDS = [("test", []), ("run", []), ("scripts/setup", []), ("scripts/merge-patch", ["state", "patch"])]

DPKG_QUERY = '''
for word; do
   [[ $word == --* || " {missing} " == *" $word "* ]] || echo "$word installed"
done
[[ -z "{missing}" ]]
'''


def run(*command, **options):
    words = [str(word) for word in command]
    return subprocess.run(words, cwd=tree.ROOT, capture_output=True, encoding="utf-8", **options)


def scripts():
    return [name for name in tree.files() if "bash" in tree.interpreter(name) or name.suffix == ".sh"]


def test_shell_scripts_parse():
    assert {"test", "run", ".ci/run", "scripts/setup"} <= {name.as_posix() for name in scripts()}
    for name in scripts():
        done = run("bash", "-n", name)
        assert (done.returncode, done.stderr) == (0, "")


def test_what_has_an_interpreter_can_be_started():
    assert not [str(name) for name in tree.files()
                if tree.interpreter(name) and not os.access(tree.ROOT / name, os.X_OK)]


@pytest.mark.parametrize("command", [command for command, _ in COMMANDS])
def test_help_is_given(command):
    done = run(tree.ROOT / command, "--help")
    assert done.returncode == 0
    assert done.stdout.lower().startswith("usage: ")
    assert done.stderr == ""


@pytest.mark.parametrize("command, operands", COMMANDS)
def test_an_unknown_option_is_refused(command, operands):
    done = run(tree.ROOT / command, *operands, "--no-such-option")
    assert done.returncode == 2
    assert "--no-such-option" in done.stderr
    assert done.stdout == ""


def fake(folder, name, script):
    (folder / name).write_text(f"#!/bin/bash\n{script}\n")
    (folder / name).chmod(0o755)


@pytest.fixture
def packages(tmp_path):
    """Runs setup where all packages but the missing ones are installed, and apt-get only writes down its calls."""
    calls = tmp_path / "calls"
    fake(tmp_path, "id", "echo 0")
    fake(tmp_path, "apt-get", f'echo "$@" >> {calls}')

    def setup(*missing):
        fake(tmp_path, "dpkg-query", DPKG_QUERY.format(missing=" ".join(missing)))
        done = run(tree.ROOT / "scripts" / "setup", env={**os.environ, "PATH": f"{tmp_path}:{os.environ['PATH']}"})
        return done, calls.read_text().splitlines() if calls.exists() else []

    return setup


def test_setup_says_and_does_nothing_when_nothing_is_missing(packages):
    done, calls = packages()
    assert (done.returncode, done.stdout, done.stderr, calls) == (0, "", "", [])


def test_setup_installs_just_what_is_missing(packages):
    done, calls = packages("ninja-build", "ccache")
    assert done.returncode == 0, done.stderr
    assert len(calls) == 2
    assert calls[0].split()[-1] == "update"
    assert "--no-install-recommends" in calls[1]
    assert calls[1].split()[-2:] == ["ninja-build", "ccache"]


def test_a_patch_is_merged_into_a_state_file(tmp_path):
    state = tmp_path / "state.json"
    state.write_text('{"spStatus": {"a": {"x": 1, "y": 2}, "b": {}}, "kept": [1, 2]}')
    state.chmod(0o640)
    before = state.stat().st_ino
    patch = '{"spStatus": {"a": {"x": null, "z": {"n": null}}, "b": null}}'
    done = run(tree.ROOT / "scripts" / "merge-patch", state, "-", input=patch)
    assert (done.returncode, done.stderr) == (0, "")
    assert json.loads(state.read_text()) == {"spStatus": {"a": {"y": 2, "z": {}}}, "kept": [1, 2]}
    assert state.stat().st_ino != before, "the file is replaced by rename, not written in place"
    assert state.stat().st_mode & 0o777 == 0o640
    assert list(tmp_path.iterdir()) == [state]


@pytest.mark.parametrize("patch", ["[1]", "{", "null"])
def test_a_bad_patch_leaves_the_state_file_alone(tmp_path, patch):
    state = tmp_path / "state.json"
    state.write_text("{}")
    done = run(tree.ROOT / "scripts" / "merge-patch", state, "-", input=patch)
    assert done.returncode == 1
    assert done.stderr.startswith("merge-patch: ")
    assert state.read_text() == "{}"
    assert list(tmp_path.iterdir()) == [state]
