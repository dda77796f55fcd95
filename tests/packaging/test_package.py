# SPDX-License-Identifier: MIT
# ctest-labels: release-only slow
"""The Debian packages: what is in them, and that they install, run as the unit says, and leave nothing behind."""

import configparser
import fcntl
import grp
import os
import pwd
import re
import shlex
import shutil
import signal
import socket
import stat
import subprocess
from pathlib import Path

import pytest
from support.mplsted import HEAD_END
from support.stand_in import await_true
from support.tree import TABLES

BUILD = Path(os.environ["MPLSTE_BUILD_DIR"])
SOURCE = Path(os.environ["MPLSTE_SOURCE_DIR"])
NAME = f"{TABLES['tunnel']}.1.5.12.1.167772161.167772169"
STATE = Path("/var/lib/mplste/state/state.json")


def output(*command, **options):
    done = subprocess.run([str(word) for word in command], capture_output=True, encoding="utf-8", timeout=120,
                          stdin=subprocess.DEVNULL, **options)
    assert done.returncode == 0, f"{command}: {done.stdout}{done.stderr}"
    return done.stdout


def version():
    return re.search(r"project\(mplste VERSION ([0-9.]+)", (SOURCE / "CMakeLists.txt").read_text(encoding="utf-8"))[1]


@pytest.fixture(scope="module")
def packages(tmp_path_factory):
    """The files of both packages, by name."""
    folder = tmp_path_factory.mktemp("packages")
    output("cpack", "--config", BUILD / "CPackConfig.cmake", "-B", folder)
    found = {file.name.split("_")[0]: file for file in folder.glob("*.deb")}
    assert sorted(found) == ["mplste", "mplste-dev"]
    return found


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
    for library in ("libc6", "libsnmp40", "libfmt9", "libstdc++6"):
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


# Installed


def traces():
    """What there is of mplste on this machine, and who its users are."""
    found = set()
    for root in ("/etc", "/usr", "/var", "/run"):
        for folder, folders, files in os.walk(root):
            if folder.startswith(("/var/lib/snmp", "/run/user")):
                folders.clear()   # net-snmp's own, where any mplsted without a folder of its own writes
                continue
            found |= {os.path.join(folder, name) for name in folders + files if "mplste" in name.lower()}
    users = {name: Path(name).read_text(encoding="utf-8") for name in ("/etc/passwd", "/etc/group")}
    return found, users


@pytest.fixture(scope="module")
def machine():
    """What is on this machine before the package is. Skips where nothing may be installed, and keeps other runs of this
    test out meanwhile."""
    if os.geteuid() != 0:
        pytest.skip("only root can install packages")
    if Path("/run/systemd/system").exists() and not os.environ.get("MPLSTE_INSTALL_TEST"):
        pytest.skip("this is no container: with MPLSTE_INSTALL_TEST=1 the package is installed and purged here")
    lock = os.open("/var/lib/dpkg", os.O_RDONLY)
    try:
        fcntl.flock(lock, fcntl.LOCK_EX)
        if subprocess.run(["dpkg-query", "--status", "mplste"], capture_output=True, check=False).returncode == 0:
            pytest.skip("mplste is installed here")
        yield traces()
    finally:
        os.close(lock)


def dpkg(*arguments):
    return output("dpkg", *arguments, env=os.environ | {"DEBIAN_FRONTEND": "noninteractive", "LC_ALL": "C"})


@pytest.fixture(scope="module")
def installed(machine, packages):
    """The package, installed for the tests of this file."""
    dpkg("--install", packages["mplste"])
    try:
        yield
    finally:
        dpkg("--purge", "mplste")


class Service:
    """The agent as its unit runs it, as far as that goes without systemd: user, rights, environment, command."""

    def __init__(self, folder, *arguments):
        service = unit(Path("/"))
        capabilities = service["AmbientCapabilities"].removeprefix("CAP_").lower()
        assert service["CapabilityBoundingSet"] == service["AmbientCapabilities"]
        rights = ["setpriv", f"--reuid={service['User']}", f"--regid={service['Group']}", "--clear-groups",
                  f"--bounding-set=-all,+{capabilities}", f"--inh-caps=-all,+{capabilities}",
                  f"--ambient-caps=-all,+{capabilities}", *(["--no-new-privs"] * (service["NoNewPrivileges"] == "yes"))]
        self.command = [*rights, *shlex.split(service["ExecStart"]), *arguments]
        self.environment = {"PATH": "/usr/sbin:/usr/bin", **dict([service["Environment"].split("=", 1)])}
        self.out, self.err = folder / "out", folder / "err"
        self.notified = f"@mplste-package-test-{os.getpid()}"

    def __enter__(self):
        self.manager = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self.manager.bind("\0" + self.notified[1:])
        self.manager.settimeout(20)
        with open(self.out, "wb") as out, open(self.err, "wb") as err:
            self.process = subprocess.Popen(self.command, stdin=subprocess.DEVNULL, stdout=out, stderr=err, cwd="/",
                                            env=self.environment | {"NOTIFY_SOCKET": self.notified})
        assert self.manager.recv(4096).startswith(b"READY=1\n"), self.err.read_text(encoding="utf-8")
        await_true(lambda: self.out.read_text(encoding="utf-8"), "the ready line")
        return self

    def __exit__(self, *_):
        self.process.terminate()
        code = self.process.wait(20)
        self.manager.close()
        assert code == 0, self.err.read_text(encoding="utf-8")

    def ready(self):
        return self.out.read_text(encoding="utf-8")

    def name(self):
        address = re.search(r"udp:127\.0\.0\.1:\d+", self.ready())[0]
        done = subprocess.run(["snmpget", "-v2c", "-c", "public", "-t", "10", "-Onqv", address, NAME],
                              env=os.environ | {"MIBS": ""}, capture_output=True, encoding="utf-8", timeout=60)
        return done.stdout.strip()


def status(process, name):
    text = Path(f"/proc/{process.pid}/status").read_text(encoding="utf-8")
    return re.search(rf"^{name}:\s*(.*)$", text, re.MULTILINE)[1].split()


def publish_as(user, text):
    """What a publisher in the group mplste does: writes a file beside the old one, and renames it."""
    script = 'umask 002; cat >"$0.new" && mv "$0.new" "$0"'
    subprocess.run(["setpriv", f"--reuid={user}", "--regid=mplste", "--clear-groups", "sh", "-c", script, STATE],
                   input=text, encoding="utf-8", check=True)


def test_its_user_can_do_nothing_but_run_it(installed):
    user = pwd.getpwnam("mplste")
    assert user.pw_uid < 1000 and user.pw_shell.endswith("/nologin") and grp.getgrgid(user.pw_gid).gr_name == "mplste"


def test_its_folders_are_open_to_publishers_and_closed_to_others(installed):
    user = pwd.getpwnam("mplste")
    found = {str(path): (path.stat().st_uid, path.stat().st_gid, stat.S_IMODE(path.stat().st_mode))
             for path in [STATE.parents[1], *STATE.parents[1].rglob("*")]}
    mine = (user.pw_uid, user.pw_gid)
    assert found == {"/var/lib/mplste": (*mine, 0o755), "/var/lib/mplste/snmp": (*mine, 0o700),
                     "/var/lib/mplste/state": (*mine, 0o2775), str(STATE): (*mine, 0o664)}


def test_the_service_is_enabled(installed):
    assert Path("/etc/systemd/system/multi-user.target.wants/mplsted.service").is_symlink()


def test_as_installed_it_can_be_used(installed, tmp_path):
    done = output("setpriv", "--reuid=mplste", "--regid=mplste", "--clear-groups", "/usr/sbin/mplsted", "--config",
                  "/etc/mplste/mplsted.conf", "--check-config")
    assert done == "ok\n"
    assert not list(Path("/var/lib/mplste/snmp").iterdir()), "what a check does is not kept"


def test_it_runs_with_the_rights_of_its_unit_and_follows_publishers(installed, tmp_path):
    with Service(tmp_path, "--listen", "udp:127.0.0.1:0") as service:
        assert service.ready().startswith(f"ready: 0 tunnels from {STATE}, ")
        user = pwd.getpwnam("mplste")
        assert status(service.process, "Uid") == [str(user.pw_uid)] * 4
        assert status(service.process, "NoNewPrivs") == ["1"]
        bind = f"{1 << 10:016x}"   # CAP_NET_BIND_SERVICE
        assert [status(service.process, name) for name in ("CapEff", "CapBnd")] == [[bind], [bind]]
        publish_as("nobody", HEAD_END.read_text(encoding="utf-8"))
        await_true(lambda: service.name() == '"to-paris"', "the published tunnels")
        assert Path("/var/lib/mplste/snmp/mplsted.conf").is_file()
        # ExecReload
        service.process.send_signal(signal.SIGHUP)
        await_true(lambda: "read again" in service.err.read_text(encoding="utf-8"), "the configuration to be read again")
        assert service.name() == '"to-paris"'
        assert not re.search(" (error|warning): ", service.err.read_text(encoding="utf-8"))


def test_it_may_take_a_port_of_the_system_s(installed, tmp_path):
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as probe:
        for port in range(1023, 600, -1):
            try:
                probe.bind(("127.0.0.1", port))
                break
            except OSError:
                continue
    with Service(tmp_path, "--listen", f"udp:127.0.0.1:{port}") as service:
        assert f"udp:127.0.0.1:{port} " in service.ready()


def test_others_cannot_publish(installed):
    with pytest.raises(subprocess.CalledProcessError):
        subprocess.run(["setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups", "sh", "-c", ': >"$0.new"', STATE],
                       stderr=subprocess.DEVNULL, check=True)


def test_the_development_package_is_used_by_cmake_and_pkg_config(installed, packages, tmp_path):
    # Its dependencies are on the machine when mplste is built there, but may have come by other ways than packages.
    dpkg("--install", "--force-depends", packages["mplste-dev"])
    try:
        flags = output("pkg-config", "--cflags", "--libs", "mplste-tallies-writer")
        assert "-ltallies_writer" in flags
        output("cmake", "-G", "Ninja", "-S", "/usr/share/doc/mplste/examples/embed", "-B", tmp_path)
        cache = (tmp_path / "CMakeCache.txt").read_text(encoding="utf-8")
        assert re.search(r"^mplste_DIR:PATH=/usr/lib/cmake/mplste$", cache, re.MULTILINE)
    finally:
        dpkg("--purge", "mplste-dev")


def test_removed_it_keeps_what_the_administrator_wrote_and_purged_it_leaves_nothing(installed, machine, packages):
    """The last of the package, and of this file."""
    dpkg("--install", packages["mplste"])   # an upgrade, as far as the scripts can tell
    assert Path("/etc/systemd/system/multi-user.target.wants/mplsted.service").is_symlink()
    dpkg("--remove", "mplste")
    assert Path("/etc/mplste/mplsted.conf").is_file() and STATE.is_file()
    assert not Path("/usr/sbin/mplsted").exists()
    assert not Path("/usr/lib/systemd/system/mplsted.service").exists()
    dpkg("--purge", "mplste")
    files, users = traces()
    assert files == machine[0]
    assert users == machine[1]
