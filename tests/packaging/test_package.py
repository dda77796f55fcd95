# SPDX-License-Identifier: MIT
# ctest-labels: release-only slow
"""The Debian packages: what is in them, and whether the system's own tools understand it."""

import configparser
import gzip
import os
import re
import shlex
import shutil
import subprocess
from pathlib import Path

import pytest

SOURCE = Path(os.environ["MPLSTE_SOURCE_DIR"])


def output(*command, **options):
    done = subprocess.run([str(word) for word in command], capture_output=True, encoding="utf-8", timeout=120,
                          stdin=subprocess.DEVNULL, **options)
    assert done.returncode == 0, f"{command}: {done.stdout}{done.stderr}"
    return done.stdout


def version():
    return re.search(r"project\(mplste VERSION ([0-9.]+)", (SOURCE / "CMakeLists.txt").read_text(encoding="utf-8"))[1]


@pytest.fixture(scope="module")
def unpacked(packages, tmp_path_factory):
    """Both packages in one folder, not installed."""
    folder = tmp_path_factory.mktemp("unpacked")
    for file in packages.values():
        output("dpkg-deb", "--extract", file, folder)
    return folder


def entries(package):
    """(mode, owner, path) of all that is in a package."""
    lines = output("dpkg-deb", "--contents", package).splitlines()
    return [(words[0], words[1], words[5].removeprefix(".")) for words in (line.split(None, 5) for line in lines)]


def field(package, name):
    return output("dpkg-deb", "--field", package, name).strip()


# What is in them


def test_the_version_is_the_project_s(packages):
    for name, file in packages.items():
        assert field(file, "Version") == version()
        assert re.fullmatch(rf"{name}_{re.escape(version())}_\w+\.deb", file.name)


def test_each_file_is_in_the_package_where_it_belongs(packages):
    soname = ".".join(version().split(".")[:2])
    runtime = {path for _, _, path in entries(packages["mplste"])}
    assert runtime >= {
        "/usr/bin/mplste", "/usr/sbin/mplsted", f"/usr/lib/libmplste.so.{soname} -> libmplste.so.{version()}",
        "/usr/lib/mplste/mplsTeStdMIB.so", "/etc/mplste/mplsted.conf", "/usr/lib/systemd/system/mplsted.service",
        "/usr/lib/sysusers.d/mplste.conf", "/usr/lib/tmpfiles.d/mplste.conf", "/usr/share/man/man8/mplsted.8.gz",
        "/usr/share/doc/mplste/copyright", "/usr/share/bash-completion/completions/mplsted"}
    assert not [path for path in runtime if re.search(r"\.(h|a|pc|cmake)$|/include/", path)]
    development = {path for _, _, path in entries(packages["mplste-dev"])}
    assert development >= {
        f"/usr/lib/libmplste.so -> libmplste.so.{soname}", "/usr/lib/libmplste_loop.a", "/usr/lib/libmplste_host.a",
        "/usr/lib/libmplste_store.a", "/usr/lib/libtallies_writer.a", "/usr/include/mplste/host/module/Module.h",
        "/usr/include/mplste/host/loop/TaskRunner.h",
        "/usr/include/mplste/host/store/StateStore.h", "/usr/lib/cmake/mplste/mplsteConfig.cmake",
        "/usr/lib/pkgconfig/mplste-tallies-writer.pc", "/usr/share/doc/mplste-dev -> mplste"}
    assert not [path for path in runtime & development if not path.endswith("/")]


def test_the_documents_name_files_where_the_package_puts_them(packages):
    installed = {path for _, _, path in entries(packages["mplste"])}
    named = {path for document in ("README.md", *(f"docs/{file.name}" for file in (SOURCE / "docs").glob("*.md")))
             for path in re.findall(r"/usr/[\w./-]*mplste[\w./-]*\.so\b", (SOURCE / document).read_text(encoding="utf-8"))}
    assert named and named <= installed


def test_documents_name_the_files_where_they_are(packages):
    runtime = {path for _, _, path in entries(packages["mplste"])}
    documents = [*SOURCE.glob("*.md"), *SOURCE.glob("docs/**/*")]
    named = [file for document in documents if document.is_file()
             for file in re.findall(r"dlmod\s+mplsTe\s+(/\S+)", document.read_text(encoding="utf-8"))]
    assert named and set(named) <= runtime


def test_the_changelog_begins_with_this_version(unpacked):
    with gzip.open(unpacked / "usr/share/doc/mplste/changelog.gz", "rt", encoding="utf-8") as changelog:
        assert changelog.readline() == f"mplste ({version()}) bookworm; urgency=medium\n"
    output("dpkg-parsechangelog", "--file", SOURCE / "packaging/debian/changelog")


def test_owners_and_rights_are_a_system_s(packages):
    for file in packages.values():
        for mode, owner, path in entries(file):
            program = "/bin/" in path or "/sbin/" in path
            kind = mode[0] if mode[0] in "dl" else "program" if program and not path.endswith("/") else "file"
            assert (owner, mode) == ("root/root", {"d": "drwxr-xr-x", "l": "lrwxrwxrwx", "program": "-rwxr-xr-x",
                                                   "file": "-rw-r--r--"}[kind]), path


def test_only_the_configuration_is_the_administrator_s(packages):
    assert output("dpkg-deb", "--info", packages["mplste"], "conffiles").split() == ["/etc/mplste/mplsted.conf"]
    assert {path for _, _, path in entries(packages["mplste"])
            if path.startswith("/etc/") and not path.endswith("/")} == {"/etc/mplste/mplsted.conf"}


def test_dependencies_are_those_of_the_programs(packages):
    depends = field(packages["mplste"], "Depends")
    for library in ("libc6", "libsnmp40", "libfmt9", "libmimalloc2.0", "libstdc++6"):
        assert re.search(rf"(^|, ){re.escape(library)}( |,|$)", depends), depends
    assert "libmplste" not in depends and "-dev" not in depends
    assert f"mplste (= {version()})" in field(packages["mplste-dev"], "Depends")


def test_maintainer_scripts_parse(packages, tmp_path):
    output("dpkg-deb", "--control", packages["mplste"], tmp_path / "control")
    for name in ("postinst", "prerm", "postrm"):
        script = tmp_path / "control" / name
        assert script.read_text(encoding="utf-8").startswith("#!/bin/sh\n") and os.access(script, os.X_OK)
        output("sh", "-n", script)


@pytest.mark.parametrize("file", ["bin/mplste", "sbin/mplsted", "lib/mplste/mplsTeStdMIB.so", "lib/libmplste.so"])
def test_programs_are_stripped_and_know_no_folder_of_the_build(unpacked, file):
    file = unpacked / "usr" / file
    sections = output("readelf", "--sections", "--wide", file)
    assert ".symtab" not in sections and ".debug_info" not in sections
    runpath = re.findall(r"\((?:RUNPATH|RPATH)\).*\[(.*)\]", output("readelf", "--dynamic", "--wide", file))
    assert all(path.startswith("$ORIGIN/..") for path in runpath)
    assert os.fsencode(SOURCE) not in file.read_bytes()


# The unit


def unit(root):
    parser = configparser.RawConfigParser(strict=False, delimiters="=")
    parser.optionxform = str
    parser.read(root / "usr/lib/systemd/system/mplsted.service")
    return parser["Service"]


def test_the_unit_names_what_is_installed(unpacked):
    service = unit(unpacked)
    command = shlex.split(service["ExecStart"])
    assert command == ["/usr/sbin/mplsted", "--config", "/etc/mplste/mplsted.conf"]
    assert (unpacked / command[0][1:]).is_file() and (unpacked / command[2][1:]).is_file()
    assert (service["Type"], service["User"], service["ExecReload"]) == ("notify", "mplste", "/bin/kill -HUP $MAINPID")


def test_systemd_understands_the_unit(unpacked):
    # It looks for the program, and for the units that this one names.
    (unpacked / "bin").mkdir(exist_ok=True)
    shutil.copy("/bin/kill", unpacked / "bin" / "kill")
    for name in ("network-online.target", "sysinit.target", "multi-user.target", "basic.target", "shutdown.target"):
        shutil.copy(f"/lib/systemd/system/{name}", unpacked / "usr/lib/systemd/system")
    done = subprocess.run(["systemd-analyze", "verify", f"--root={unpacked}", "--man=no", "--recursive-errors=no",
                           "mplsted.service"], capture_output=True, encoding="utf-8", timeout=60)
    complaints = [line for line in done.stderr.splitlines() if "mplsted" in line]
    assert (done.returncode, complaints) == (0, []), done.stderr


def test_the_unit_leaves_little_to_attack(unpacked):
    done = output("systemd-analyze", "security", "--offline=true", "--threshold=25", f"--root={unpacked}", "--no-pager",
                  "mplsted.service")
    exposure = re.search(r"Overall exposure level for mplsted.service: ([0-9.]+)", done)
    assert float(exposure[1]) <= 2.5
