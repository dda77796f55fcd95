# SPDX-License-Identifier: MIT
"""One mplsted for the tests of a file that only read from it, and one for a test that starts its own."""

import tempfile
from pathlib import Path

import pytest
from support.manager import Manager
from support.mplsted import Mplsted


@pytest.fixture(scope="module")
def head_end(tmp_path_factory):
    """A running mplsted with the example head end."""
    with Mplsted(tmp_path_factory.mktemp("mplsted")) as daemon:
        yield daemon


@pytest.fixture
def manager(head_end):
    """May read."""
    reader = Manager(head_end.address)
    yield reader
    reader.close()


@pytest.fixture
def writer(head_end):
    """May read and write, as far as the agent is concerned."""
    manager = Manager(head_end.address, b"private")
    yield manager
    manager.close()


@pytest.fixture
def open_path():
    """A folder for a test alone that any user may enter. Those of pytest are not, and each pytest that starts closes
    what lies above them again."""
    with tempfile.TemporaryDirectory(prefix="mplste-test-") as folder:
        path = Path(folder)
        path.chmod(0o755)
        yield path


@pytest.fixture
def mplsted(tmp_path):
    """A function that starts an mplsted; it must end well, be it in the test or behind it."""
    started = []

    def start(*arguments, **options):
        started.append(Mplsted(tmp_path, *arguments, **options).start())
        return started[-1]

    yield start
    for daemon in started:
        daemon.stop()
