# SPDX-License-Identifier: MIT
"""An installed mplste for the tests of a file."""

import os
import subprocess
import sys
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).parents[1] / "integration"))   # the support of the tests through the wire

BUILD = Path(os.environ["MPLSTE_BUILD_DIR"])


@pytest.fixture(scope="session")
def prefix(tmp_path_factory):
    """Where mplste is installed. Not where cmake was told to put it: what is installed can be moved as a whole."""
    folder = tmp_path_factory.mktemp("prefix")
    subprocess.run(["cmake", "--install", BUILD, "--prefix", folder / "first"], check=True, stdout=subprocess.DEVNULL)
    (folder / "first").rename(folder / "mplste")
    return folder / "mplste"
