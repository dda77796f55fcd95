# SPDX-License-Identifier: MIT
# ctest-labels: release-only
"""What bash offers behind mplste and mplsted when the tab key is pressed."""

import os
import subprocess

import pytest
from support.mplsted import HEAD_END, Mplsted

SCRIPT = r"""
source "$1/share/bash-completion/completions/$2"
PATH=$1/bin:$1/sbin:$PATH
shift
COMP_WORDS=("$@")
COMP_CWORD=$(($# - 1))
[[ $(complete -p "$1") == "complete -F _mplste $1" ]] || exit 3
_mplste 2>&1
printf '%s\n' "${COMPREPLY[@]}"
"""


def offered(prefix, *words, folder=None):
    done = subprocess.run(["bash", "--norc", "-c", SCRIPT, "bash", prefix, *words], check=True, capture_output=True,
                          encoding="utf-8", cwd=folder, env=os.environ | {"LC_ALL": "C"}, timeout=60)
    assert done.stderr == ""
    return sorted(done.stdout.split())


@pytest.mark.parametrize("words, expected", [
    (["mplste", ""], ["--help", "--version", "counters", "doctor", "events", "publish", "show", "simulate", "state", "status",
                      "trace", "watch"]),
    (["mplste", "s"], ["show", "simulate", "state", "status"]),
    (["mplste", "--v"], ["--version"]),
    (["mplste", "show", "t"], ["tunnel", "tunnels"]),
    (["mplste", "show", "hops", "--"], ["--agent", "--community", "--help", "--json", "--retries", "--timeout"]),
    (["mplste", "counters", "--name", "x", "li"], ["list"]),
    (["mplste", "counters", "list", "--j"], ["--json"]),
    (["mplste", "watch", "--agent", "un"], ["unix:"]),
    (["mplste", "nonsense"], []),
    (["mplsted", "--st"], ["--state"]),
    (["mplsted", "--counters"], ["--counters", "--counters-owner"]),
    (["mplsted", "--log-level", ""], ["debug", "error", "info", "warning"]),
    (["mplsted", "--table-driver", ""], ["own", "stock"]),
    (["mplsted", "--notifications", ""], ["auto", "off", "on"]),
    (["mplste", "events", "--l"], ["--latest"]),
    (["mplsted", "--state", "s", "--log", "s"], ["stderr", "syslog"]),
    (["mplsted", "x"], []),
])
def test_words_are_completed(prefix, words, expected):
    assert offered(prefix, *words) == expected


def test_files_are_offered_where_a_file_is_wanted(prefix, tmp_path):
    for name in ("state.json", "stable.json", "other.json"):
        (tmp_path / name).touch()
    assert offered(prefix, "mplsted", "--state", "sta", folder=tmp_path) == ["stable.json", "state.json"]
    for words in (["counters", "--state"], ["doctor", "--snmpd-conf"], ["doctor", "--agentx-socket"], ["publish"],
                  ["publish", "--replace"]):
        assert offered(prefix, "mplste", *words, "o", folder=tmp_path) == ["other.json"], words
    assert offered(prefix, "mplste", "publish", "--re", folder=tmp_path) == ["--replace"]


@pytest.fixture(scope="module")
def daemon(tmp_path_factory):
    folder = tmp_path_factory.mktemp("mplsted")
    text = HEAD_END.read_text(encoding="utf-8").replace("cli:to-vienna", "cli:to $(touch run) vienna")
    with Mplsted(folder, "--publish", folder / "publish.sock", state=text) as daemon:
        daemon.ready()
        daemon.socket = folder / "publish.sock"
        yield daemon


def test_tunnels_are_offered_by_their_names(prefix, daemon, monkeypatch, tmp_path):
    monkeypatch.setenv("MPLSTE_AGENT", daemon.address)
    names = offered(prefix, "mplste", "show", "tunnel", "to-p", folder=tmp_path)
    assert "to-paris" in names and all(name.startswith("to-p") for name in names)
    assert offered(prefix, "mplste", "show", "tunnel", "--agent", "udp:127.0.0.1:1", "to-p") == []
    assert offered(prefix, "mplste", "show", "tunnel", "--js") == ["--json"]


def test_a_name_is_neither_run_nor_cut(prefix, daemon, monkeypatch, tmp_path):
    monkeypatch.setenv("MPLSTE_AGENT", daemon.address)
    assert offered(prefix, "mplste", "show", "tunnel", "to ", folder=tmp_path) == \
        ["\\$\\(touch\\", "run\\)\\", "to\\", "vienna"]
    assert list(tmp_path.iterdir()) == []


def test_trace_handles_are_offered(prefix, daemon, monkeypatch):
    monkeypatch.setenv("MPLSTE_SOCKET", str(daemon.socket))
    assert offered(prefix, "mplste", "trace", "MplsSnmpA") == ["MplsSnmpAgent="]
    assert "mplsTeStdMIB=" in offered(prefix, "mplste", "trace", "")


def test_where_nobody_answers_nothing_is_offered(prefix, monkeypatch, tmp_path):
    monkeypatch.setenv("MPLSTE_AGENT", f"unix:{tmp_path}/nobody")
    monkeypatch.setenv("MPLSTE_SOCKET", f"{tmp_path}/nobody")
    assert offered(prefix, "mplste", "show", "tunnel", "") == []
    assert offered(prefix, "mplste", "trace", "") == []


def test_each_program_has_its_file(prefix):
    files = sorted(path.name for path in (prefix / "share" / "bash-completion" / "completions").iterdir())
    assert files == ["mplste", "mplsted"]
