# SPDX-License-Identifier: MIT
# ctest-labels: release-only
"""What cmake --install leaves works from any prefix, and nothing in it knows where it was built."""

import os
import re
import subprocess
from pathlib import Path

import pytest
from support.mplsted import HEAD_END, Mplsted

SOURCE = Path(os.environ["MPLSTE_SOURCE_DIR"])

PLACES = """
bin/mplste
sbin/mplsted
lib/libmplste.so
lib/libmplste_loop.a
lib/libmplste_host.a
lib/libmplste_store.a
lib/libmplste_feed.a
lib/libtallies_writer.a
lib/mplste/mplsTeStdMIB.so
lib/cmake/mplste/mplsteConfig.cmake
lib/cmake/mplste/mplsteConfigVersion.cmake
lib/pkgconfig/mplste-tallies-writer.pc
include/mplste/substrate/vel/Ptr.h
include/mplste/inputs/rsvp/LerConfig.h
include/mplste/host/snmp/HandlerRegistration.h
include/mplste/host/loop/TaskRunner.h
include/mplste/host/module/Module.h
include/mplste/host/store/StateStore.h
include/mplste/host/feed/FileFeed.h
include/mplste/tallies_writer.h
include/mplste/counters_layout.h
share/doc/mplste/README.md
share/doc/mplste/docs/embedding.md
share/doc/mplste/examples/headend.json
share/mplste/state.schema.json
""".split()


def dynamic(file):
    """(tag, value) of the dynamic section of a program or library."""
    output = subprocess.run(["readelf", "--dynamic", "--wide", file], check=True, capture_output=True, encoding="utf-8",
                            env=os.environ | {"LC_ALL": "C"}).stdout
    return re.findall(r"\((\w+)\) .*\[(.*)\]", output)


@pytest.mark.parametrize("place", PLACES)
def test_it_stands_in_its_conventional_place(prefix, place):
    assert (prefix / place).is_file()


def test_no_header_of_the_module_or_of_the_tests_is_installed(prefix):
    headers = {file.relative_to(prefix / "include/mplste").as_posix() for file in prefix.rglob("*.h")}
    folders = {header.rpartition("/")[0].split("/tests")[0] for header in headers}
    assert folders == {"", "substrate/vel", "substrate/orb", "substrate/flo", "substrate/trel", "inputs/lanu",
                       "inputs/rsvp", "inputs/tallies", "inputs/tunnel", "host/snmp", "host/loop", "host/tables",
                       "host/module", "host/store", "host/feed"}
    assert not [header for header in headers if "/tests/" in header]


def test_installed_headers_include_installed_headers_only(prefix):
    include = prefix / "include" / "mplste"
    missing = [f"{header.relative_to(include)}: {name}" for header in include.rglob("*.h")
               for name in re.findall(r'^#include "(.+)"', header.read_text(encoding="utf-8"), re.MULTILINE)
               if not (include / name).is_file()]
    assert not missing


def test_the_library_says_which_one_it_is(prefix):
    library = prefix / "lib" / "libmplste.so"
    [soname] = [value for tag, value in dynamic(library) if tag == "SONAME"]
    assert re.fullmatch(r"libmplste\.so\.\d+\.\d+", soname)
    assert library.resolve().name.startswith(soname + ".") and (prefix / "lib" / soname).is_symlink()


@pytest.mark.parametrize("file, runpath", [("bin/mplste", ["$ORIGIN/../lib"]), ("sbin/mplsted", ["$ORIGIN/../lib"]),
                                           ("lib/mplste/mplsTeStdMIB.so", ["$ORIGIN/.."]), ("lib/libmplste.so", [])])
def test_libraries_are_looked_for_relative_to_who_needs_them(prefix, file, runpath):
    found = [value.rstrip("/") for tag, value in dynamic(prefix / file) if tag in ("RPATH", "RUNPATH")]
    assert found == runpath


def test_what_is_read_by_others_names_no_folder_of_the_build(prefix):
    texts = [*prefix.glob("lib/cmake/**/*.cmake"), *prefix.glob("lib/pkgconfig/*.pc"), *prefix.glob("lib/systemd/**/*.*"),
             *prefix.glob("share/bash-completion/**/*"), *prefix.glob("etc/**/*.conf")]
    assert texts
    for file in texts:
        assert file.is_dir() or str(SOURCE) not in file.read_text(encoding="utf-8"), file


def test_the_installed_agent_finds_its_module_and_serves(prefix, tmp_path):
    daemon = Mplsted(tmp_path)
    daemon.command[0] = prefix / "sbin" / "mplsted"
    with daemon:
        assert daemon.ready()[0] == 13
        maps = Path(f"/proc/{daemon.process.pid}/maps").read_text(encoding="utf-8")
        assert f"{prefix}/lib/mplste/mplsTeStdMIB.so" in maps
        assert f"{prefix}/lib/libmplste.so" in maps
        done = subprocess.run([prefix / "bin" / "mplste", "show", "tunnels", "--agent", daemon.address], check=True,
                              capture_output=True, encoding="utf-8", timeout=60)
        assert "to-paris" in done.stdout


def test_without_its_module_the_agent_names_where_it_has_looked(prefix, tmp_path):
    (tmp_path / "sbin").mkdir()
    (tmp_path / "lib").symlink_to(prefix / "lib")
    (tmp_path / "sbin" / "mplsted").write_bytes((prefix / "sbin" / "mplsted").read_bytes())
    (tmp_path / "sbin" / "mplsted").chmod(0o755)
    (tmp_path / "lib").unlink()
    (tmp_path / "lib").mkdir()
    for library in (prefix / "lib").glob("libmplste.so.*"):
        (tmp_path / "lib" / library.name).symlink_to(library)
    done = subprocess.run([tmp_path / "sbin" / "mplsted", "--state", HEAD_END, "--listen", "udp:127.0.0.1:0"],
                          capture_output=True, encoding="utf-8", timeout=60,
                          env=os.environ | {"SNMP_PERSISTENT_DIR": str(tmp_path), "SNMPCONFPATH": str(tmp_path)})
    assert (done.returncode, done.stderr) == (
        1, f"mplsted: there is neither {tmp_path}/sbin/mplsTeStdMIB.so nor {tmp_path}/lib/mplste/mplsTeStdMIB.so; "
           "name the module with --module\n")


FORWARDER = r"""
#include <stdio.h>
#include <tallies_writer.h>
#include <counters_layout.h>

int main(void) {
   printf("%d %s\n", TALLIES_OK, tallies_status_text(TALLIES_OK));
   return 0;
}
"""


def test_a_forwarding_process_is_built_with_pkg_config(prefix, tmp_path):
    (tmp_path / "forwarder.c").write_text(FORWARDER)
    flags = subprocess.run(["pkg-config", "--cflags", "--libs", "mplste-tallies-writer"], check=True,
                           capture_output=True, encoding="utf-8",
                           env=os.environ | {"PKG_CONFIG_PATH": str(prefix / "lib" / "pkgconfig")}).stdout.split()
    assert not [flag for flag in flags if str(SOURCE) in flag]
    subprocess.run(["cc", "-std=c11", "-Wall", "-Wextra", "-Werror", "-o", "forwarder", "forwarder.c", *flags],
                   check=True, cwd=tmp_path)
    done = subprocess.run([tmp_path / "forwarder"], check=True, capture_output=True, encoding="utf-8")
    assert done.stdout.startswith("0 ")


def test_a_forwarding_process_is_built_with_cmake_and_needs_no_cpp(prefix, tmp_path):
    (tmp_path / "forwarder.c").write_text(FORWARDER)
    (tmp_path / "CMakeLists.txt").write_text("""\
cmake_minimum_required(VERSION 3.25)
project(forwarder LANGUAGES C)
find_package(mplste REQUIRED COMPONENTS tallies_writer)
add_executable(forwarder forwarder.c)
target_link_libraries(forwarder PRIVATE mplste::tallies_writer)
if(TARGET mplste::runtime)
  message(FATAL_ERROR "nobody has asked for it")
endif()
""")
    build = tmp_path / "build"
    for command in (["cmake", "-G", "Ninja", "-S", tmp_path, "-B", build, f"-DCMAKE_PREFIX_PATH={prefix}"],
                    ["cmake", "--build", build]):
        done = subprocess.run(command, capture_output=True, encoding="utf-8")
        assert done.returncode == 0, done.stdout + done.stderr
    subprocess.run([build / "forwarder"], check=True, stdout=subprocess.DEVNULL)
