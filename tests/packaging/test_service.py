# SPDX-License-Identifier: MIT
# ctest-labels: release-only slow
"""The service as it is installed: on a machine of its own whose systemd runs the shipped unit with all its settings."""

import re

import pytest
from machine import Machine, obstacle
from support.mplsted import SOURCE
from support.stand_in import await_true
from support.tree import TABLES

EXAMPLES = "/usr/share/doc/mplste/examples"
CONFIGURATION = "/etc/mplste/mplsted.conf"
SNMPD = "/etc/snmp/snmpd.conf"
STATE = "/var/lib/mplste/state/state.json"
ITSELF, THROUGH_SNMPD = "udp:127.0.0.1:11161", "udp:127.0.0.1:161"
NAME = f"{TABLES['tunnel']}.1.5.12.1.167772161.167772169"
MOVED = f"{TABLES['tunnel']}.1.5.12.2.167772161.167772169"
PACKETS = f"{TABLES['perf']}.1.2.12.1.167772161.167772169"
CAP_NET_BIND_SERVICE = 10


def get(machine, oid, address=ITSELF, *access):
    """A value as snmpget prints it."""
    access = access or ("-v2c", "-c", "public")
    return machine.output("snmpget", *access, "-t", "5", "-Onqv", address, oid, check=False).strip()


def rows(machine, address=ITSELF):
    """All that there is of the tables, but for how long a tunnel has been up."""
    done = machine.output("snmpbulkwalk", "-v2c", "-c", "public", "-On", address, ".1.3.6.1.2.1.10.166")
    return [line for line in done.splitlines() if not line.startswith(f"{TABLES['tunnel']}.1.28.")]


def append(machine, file, *lines):
    with machine.path(file).open("a", encoding="utf-8") as text:
        text.write("\n".join(["", *lines, ""]))


def mplsted(machine, name):
    return machine.output("systemctl", "show", "--property", name, "--value", "mplsted").strip()


def rights(machine, name):
    """A line of what the kernel says of the process."""
    status = machine.path(f"/proc/{mplsted(machine, 'MainPID')}/status").read_text(encoding="utf-8")
    return re.search(rf"^{name}:\s*(.*)$", status, re.MULTILINE)[1].split()


def journal(machine, *options, run=None):
    """What this run of mplsted has written, or the present one."""
    run = run or mplsted(machine, "InvocationID")
    assert run
    return machine.output("journalctl", f"_SYSTEMD_INVOCATION_ID={run}", "--output=cat", *options)


def await_served(machine, address=ITSELF, oid=NAME):
    await_true(lambda: get(machine, oid, address) == '"to-paris"', "the tunnels")


@pytest.fixture(scope="module", autouse=True)
def possible():
    if reason := obstacle():
        pytest.skip(reason)


@pytest.fixture(scope="module")
def installed(packages, tmp_path_factory, possible):
    """A machine as it is after the installation, for the tests that leave it so."""
    with Machine(tmp_path_factory.mktemp("machine"), packages["mplste"]) as machine:
        yield machine


@pytest.fixture
def machine(installed):
    """The same for tests that configure, publish, start and stop."""
    files = {file: installed.path(file).read_text(encoding="utf-8") for file in (CONFIGURATION, SNMPD, STATE)}
    yield installed
    installed.run("systemctl", "stop", "snmpd", "mplsted")
    for file, text in files.items():
        installed.path(file).write_text(text, encoding="utf-8")
    installed.run("mplste", "counters", "remove", "--all", check=False)
    installed.run("systemctl", "reset-failed")
    installed.run("systemctl", "start", "mplsted")


# As it was installed


def test_it_is_started_with_the_machine(installed):
    assert installed.output("systemctl", "is-enabled", "mplsted") == "enabled\n"
    assert installed.output("systemctl", "is-active", "mplsted") == "active\n"
    assert mplsted(installed, "StatusText").startswith("ready: ")
    assert get(installed, ".1.3.6.1.2.1.1.5.0"), "the system group"


def test_it_has_no_rights_but_those_that_it_needs(installed):
    user = installed.output("id", "--user", "mplste").strip()
    assert 0 < int(user) < 1000
    assert rights(installed, "Uid") == [user] * 4
    bind = f"{1 << CAP_NET_BIND_SERVICE:016x}"
    assert [rights(installed, name) for name in ("CapEff", "CapBnd", "NoNewPrivs")] == [[bind], [bind], ["1"]]
    assert rights(installed, "Seccomp") == ["2"], "a filter of system calls"
    assert installed.output("getent", "passwd", "mplste").rstrip().endswith("/nologin")


def test_its_folders_are_open_to_publishers_and_closed_to_others(installed):
    def listed(folder):
        return installed.output("find", folder, "-printf", "%M %u:%g %p\n").splitlines()

    assert sorted(line for line in listed("/var/lib/mplste") if "/snmp/" not in line) == [
        "-rw-rw-r-- mplste:mplste /var/lib/mplste/state/state.json", "drwx------ mplste:mplste /var/lib/mplste/snmp",
        "drwxr-xr-x mplste:mplste /var/lib/mplste", "drwxrwsr-x mplste:mplste /var/lib/mplste/state"]
    assert listed("/run/mplste") == ["drwxr-xr-x mplste:mplste /run/mplste",
                                     "srw-rw---- mplste:mplste /run/mplste/publish.sock"]


def test_its_configuration_is_a_secret(installed):
    """Communities and passphrases stand in it."""
    assert installed.output("stat", "--format=%A %U:%G", CONFIGURATION) == "-rw-r----- root:mplste\n"


def test_its_configuration_is_right(installed):
    assert installed.output("/usr/sbin/mplsted", "--config", CONFIGURATION, "--check-config") == "ok\n"


def test_operators_are_told_that_all_is_well(installed):
    assert f"SNMP           {ITSELF}\n" in installed.output("mplste", "status")
    assert "BAD" not in installed.output("mplste", "doctor")
    assert "ready: " in journal(installed) and journal(installed, "--priority=warning") == ""


# At work


def as_publisher(machine, *command, **options):
    """Somebody who is in the group of publishers."""
    return machine.run("setpriv", "--reuid=nobody", "--regid=mplste", "--clear-groups", *command, **options)


def test_what_is_published_over_the_socket_is_served(machine):
    assert "entries changed" in as_publisher(machine, "mplste", "publish", f"{EXAMPLES}/headend.json").stdout
    await_served(machine)
    as_publisher(machine, "mplste", "publish", f"{EXAMPLES}/switchover.json")
    await_served(machine, oid=MOVED)
    refused = machine.run("setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups", "mplste", "state", check=False)
    assert refused.returncode == 2 and "Permission denied" in refused.stderr


def test_what_is_published_in_the_file_is_served(machine):
    replace = 'umask 002; cp "$0" "$1.new" && mv "$1.new" "$1"'
    as_publisher(machine, "sh", "-c", replace, f"{EXAMPLES}/headend.json", STATE)
    await_served(machine)
    before = rows(machine)
    machine.run("systemctl", "restart", "mplsted")
    assert rows(machine) == before, "the file outlives the service"
    refused = machine.run("setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups", "sh", "-c", replace,
                          f"{EXAMPLES}/headend.json", STATE, check=False)
    assert "Permission denied" in refused.stderr


def test_counters_of_a_forwarding_process_are_served(machine):
    append(machine, CONFIGURATION, "mplsteCounters mplste-counters", "mplsteCountersOwner 0")
    machine.run("systemctl", "restart", "mplsted")
    as_publisher(machine, "mplste", "publish", f"{EXAMPLES}/headend.json")
    machine.run("mplste", "counters", "set", "16:12", "77", "7700")
    await_true(lambda: get(machine, PACKETS) == "77", "the counters")
    assert "counters       mplste-counters, attached" in machine.output("mplste", "status")


def test_its_configuration_is_read_again(machine):
    as_publisher(machine, "mplste", "publish", f"{EXAMPLES}/headend.json")
    append(machine, CONFIGURATION, 'createUser operator SHA-256 "authenticates" AES "keeps secret"',
           "rouser operator priv .1.3.6.1.2.1")
    machine.run("systemctl", "reload", "mplsted")
    assert get(machine, NAME, ITSELF, "-v3", "-l", "authPriv", "-u", "operator", "-a", "SHA-256", "-A", "authenticates",
               "-x", "AES", "-X", "keeps secret") == '"to-paris"'
    append(machine, CONFIGURATION, "nonsense")
    machine.run("systemctl", "reload", "mplsted", check=False)
    await_true(lambda: "nonsense" in journal(machine, "--priority=err"), "the error in the journal")
    assert get(machine, NAME) == '"to-paris"'


def test_it_may_listen_on_the_ports_of_snmp(machine):
    append(machine, CONFIGURATION, "agentaddress udp:127.0.0.1:161,tcp:127.0.0.1:161")
    machine.run("systemctl", "restart", "mplsted")
    as_publisher(machine, "mplste", "publish", f"{EXAMPLES}/headend.json")
    await_served(machine, "udp:127.0.0.1:161")
    await_served(machine, "tcp:127.0.0.1:161")


def test_it_comes_back_when_it_was_killed(machine):
    before = mplsted(machine, "MainPID")
    machine.run("kill", "-KILL", before)
    await_true(lambda: mplsted(machine, "MainPID") not in ("0", before) and mplsted(machine, "ActiveState") == "active",
               "another mplsted")
    as_publisher(machine, "mplste", "publish", f"{EXAMPLES}/headend.json")
    await_served(machine)


def test_a_state_that_is_wrong_when_the_machine_starts_is_served_once_it_is_right(machine):
    machine.path(STATE).write_text("nonsense", encoding="utf-8")
    machine.run("systemctl", "restart", "mplsted", check=False)
    await_true(lambda: int(mplsted(machine, "NRestarts")) > 2, "it to try again")
    assert mplsted(machine, "StartLimitIntervalUSec") == "0", "and again"
    errors = machine.output("journalctl", "--unit=mplsted", "--output=cat", "--priority=err")
    assert re.search(rf"^mplsted: {STATE}: line 1, ", errors, re.MULTILINE), errors
    machine.path(STATE).write_text((SOURCE / "examples" / "headend.json").read_text(encoding="utf-8"), encoding="utf-8")
    await_served(machine)


def test_it_ends_when_it_is_told_to(machine):
    run = mplsted(machine, "InvocationID")
    machine.run("systemctl", "stop", "mplsted")
    assert [mplsted(machine, name) for name in ("Result", "ExecMainStatus", "ActiveState")] == ["success", "0", "inactive"]
    assert not machine.path("/run/mplste").exists()
    assert "ready: " in journal(machine, run=run) and journal(machine, "--priority=warning", run=run) == ""


# With the snmpd of the system


def test_snmpd_serves_the_tables_when_the_doctor_s_advice_is_taken(machine):
    append(machine, CONFIGURATION, "mplsteAgentX unix:/run/agentx/master")
    machine.run("systemctl", "restart", "mplsted")
    as_publisher(machine, "mplste", "publish", f"{EXAMPLES}/headend.json")
    machine.run("systemctl", "start", "snmpd")
    for _ in range(5):
        found = machine.run("mplste", "doctor", check=False)
        advice = re.findall(r"^ {9}(\w+ .+)$", found.stdout, re.MULTILINE)
        if found.returncode == 0:
            break
        append(machine, SNMPD, *advice)
        machine.run("systemctl", "restart", "snmpd")
        await_true(lambda: "disconnected" not in machine.output("mplste", "status"), "the master")
    assert found.returncode == 0, found.stdout
    await_served(machine, THROUGH_SNMPD)
    through = rows(machine, THROUGH_SNMPD)
    machine.run("systemctl", "restart", "snmpd")
    await_served(machine, THROUGH_SNMPD)
    assert rows(machine, THROUGH_SNMPD) == through
    machine.run("systemctl", "stop", "mplsted")
    assert "No Such" in get(machine, NAME, THROUGH_SNMPD)


def test_snmpd_serves_the_tables_with_the_module_loaded(machine):
    machine.run("systemctl", "stop", "mplsted")
    machine.path(STATE).write_text((SOURCE / "examples" / "headend.json").read_text(encoding="utf-8"), encoding="utf-8")
    append(machine, SNMPD, "dlmod mplsTe /usr/lib/mplste/mplsTe.so", f"mplsteState {STATE}",
           "view systemonly included .1.3.6.1.2.1.10.166")
    machine.run("systemctl", "start", "snmpd")
    await_served(machine, THROUGH_SNMPD)
    before = rows(machine, THROUGH_SNMPD)
    machine.run("systemctl", "reload", "snmpd")
    await_served(machine, THROUGH_SNMPD)
    assert rows(machine, THROUGH_SNMPD) == before
    machine.run("systemctl", "stop", "snmpd")
    assert machine.output("systemctl", "show", "--property=Result", "--value", "snmpd") == "success\n"


# Packages come and go


def traces(machine):
    """What there is of mplste on the machine, and who its users are. Left out is where net-snmp keeps what any mplsted
    has told it that was started without a folder of its own."""
    found = machine.output("find", "/etc", "/usr", "/var", "/run", "-iname", "*mplste*", "-not", "-path", "/var/lib/snmp/*")
    return found, *(machine.path(file).read_text(encoding="utf-8") for file in ("/etc/passwd", "/etc/group"))


def test_an_upgrade_restarts_it_and_keeps_what_there_is(machine, packages):
    append(machine, CONFIGURATION, "# the administrator's")
    machine.run("chmod", "0644", CONFIGURATION)
    as_publisher(machine, "cp", f"{EXAMPLES}/headend.json", STATE)
    before = mplsted(machine, "MainPID")
    machine.run("dpkg", "--install", f"/srv/packages/{packages['mplste'].name}")
    assert mplsted(machine, "MainPID") != before and mplsted(machine, "ActiveState") == "active"
    assert "the administrator's" in machine.path(CONFIGURATION).read_text(encoding="utf-8")
    assert machine.output("stat", "--format=%a", CONFIGURATION) == "644\n"
    machine.run("chmod", "0640", CONFIGURATION)
    await_served(machine)


def test_removed_it_keeps_what_was_written_and_purged_it_leaves_nothing(packages, tmp_path):
    with Machine(tmp_path, packages["mplste"]) as machine:
        machine.run("dpkg", "--remove", "mplste")
        assert mplsted(machine, "ActiveState") == "inactive"
        assert machine.path(CONFIGURATION).is_file() and machine.path(STATE).is_file()
        assert not machine.path("/usr/sbin/mplsted").exists()
        machine.run("dpkg", "--install", f"/srv/packages/{packages['mplste'].name}")
        assert mplsted(machine, "ActiveState") == "active"
        machine.run("dpkg", "--purge", "mplste")
        files, *users = traces(machine)
        assert files == "" and "mplste" not in "".join(users)


def test_the_development_package_is_used_by_cmake_and_pkg_config(machine, packages):
    # Its dependencies are on the machine when mplste is built there, but may have come by other ways than packages.
    machine.path("/srv/packages/mplste-dev.deb").write_bytes(packages["mplste-dev"].read_bytes())
    machine.run("dpkg", "--install", "--force-depends", "/srv/packages/mplste-dev.deb")
    flags = machine.output("pkg-config", "--cflags", "--libs", "mplste-tallies-writer")
    assert "-ltallies_writer" in flags
    machine.run("cmake", "-G", "Ninja", "-S", f"{EXAMPLES}/embed", "-B", "/tmp/embed")
    cache = machine.path("/tmp/embed/CMakeCache.txt").read_text(encoding="utf-8")
    assert re.search(r"^mplste_DIR:PATH=/usr/lib/cmake/mplste$", cache, re.MULTILINE)
