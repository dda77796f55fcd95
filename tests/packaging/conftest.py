# SPDX-License-Identifier: MIT
"""What is installed, for the tests of a file: in a folder, or as packages."""

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


@pytest.fixture(scope="session")
def packages(tmp_path_factory):
    """The files of both packages, by name."""
    folder = tmp_path_factory.mktemp("packages")
    subprocess.run(["cpack", "--config", BUILD / "CPackConfig.cmake", "-B", folder], check=True, stdout=subprocess.DEVNULL)
    found = {file.name.split("_")[0]: file for file in folder.glob("*.deb")}
    assert sorted(found) == ["mplste", "mplste-dev"]
    return found
