# SPDX-License-Identifier: MIT
"""mplsted on loopback, with an access configuration of the test and nothing of the machine's."""

import os
import re
import signal
import subprocess
from pathlib import Path

from support.stand_in import DEADLINE, await_true

BUILD = Path(os.environ["MPLSTE_BUILD_DIR"])
SOURCE = Path(os.environ["MPLSTE_SOURCE_DIR"])
PROGRAM = BUILD / "mplsted"
HEAD_END = SOURCE / "examples" / "headend.json"

READY = re.compile(r"ready: (\d+) tunnels? from (.+), (?:SNMP on (.+) \((.+)\), first answer after \d+ ms|"
                   r"AgentX, master at (.+)), all rows after \d+ ms\n")

# Who may do what in most tests: see and set all that stands in MIB-2. Nothing of the tables can be set, but the agent
# says so only to who may set.
ACCESS = """\
rocommunity public 127.0.0.1 .1.3.6.1.2.1
rwcommunity private 127.0.0.1 .1.3.6.1.2.1
createUser operator SHA-256 "authenticates" AES "keeps secret"
rouser operator priv .1.3.6.1.2.1
"""

V3 = ["-v3", "-l", "authPriv", "-u", "operator", "-a", "SHA-256", "-A", "authenticates", "-x", "AES",
      "-X", "keeps secret"]

# What a build with sanitizers writes when it has found something.
SANITIZER = re.compile(r"Sanitizer|runtime error:")


def environment(folder):
    """An environment in which net-snmp finds nothing of this machine and leaves nothing on it."""
    persistent = Path(folder) / "net-snmp"
    (persistent / "cert_indexes").mkdir(parents=True, exist_ok=True)   # or each command says that it makes it
    return os.environ | {"SNMP_PERSISTENT_DIR": str(persistent), "SNMPCONFPATH": str(Path(folder) / "none"), "MIBS": "",
                         "HOME": str(folder), "TMPDIR": str(folder)}


class Mplsted:
    """A running mplsted that serves a state file of its own, which starts as the example head end; or, with file=False,
    no file."""

    def __init__(self, folder, *arguments, state=None, file=True, access=ACCESS, listen=("udp:127.0.0.1:0",),
                 **variables):
        self.folder = Path(folder)
        self.state = self.folder / "state.json"
        if file and (state is not None or not self.state.exists()):
            self.state.write_text(HEAD_END.read_text() if state is None else state, encoding="utf-8")
        self.command = [PROGRAM, *(["--state", self.state] if file else []), *arguments]
        for address in listen:
            self.command += ["--listen", address]
        if access is not None:
            (self.folder / "access.conf").write_text(access, encoding="utf-8")
            self.command += ["--config", self.folder / "access.conf"]
        self.environment = environment(folder) | variables
        self.out, self.err = self.folder / "out", self.folder / "err"
        self.process = None

    def start(self):
        with open(self.out, "wb") as out, open(self.err, "wb") as err:
            self.process = subprocess.Popen(self.command, stdin=subprocess.DEVNULL, stdout=out, stderr=err,
                                            env=self.environment, cwd=self.folder)
        await_true(lambda: self.process.poll() is not None or READY.fullmatch(self.out.read_text()), "the ready line")
        assert self.process.poll() is None, self.log()
        return self

    def log(self):
        return self.err.read_text(encoding="utf-8")

    def ready(self):
        """What the ready line says: tunnels, state file, addresses, access."""
        tunnels, state, addresses, access, _ = READY.fullmatch(self.out.read_text()).groups()
        return int(tunnels), state, addresses.split(" and "), access

    @property
    def address(self):
        return self.ready()[2][0]

    @property
    def master(self):
        """The address of the AgentX master, as the ready line has it."""
        return READY.fullmatch(self.out.read_text())[5]

    def stop(self, how=signal.SIGTERM):
        """Ends it, and checks that it ended well and that no sanitizer had anything to say."""
        if self.process is None:
            return
        self.process.send_signal(how)
        try:
            code = self.process.wait(DEADLINE)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
            raise
        finally:
            self.process = None
        assert code == 0 and not SANITIZER.search(self.log()), f"ended with {code}:\n{self.log()}"
        assert READY.fullmatch(self.out.read_text()), "one line on the standard output, and nothing else"

    def kill(self):
        self.process.kill()
        self.process.wait()
        self.process = None

    def publish(self, text):
        """Replaces the state file, as publishers do: by rename."""
        new = self.state.with_suffix(".new")
        new.write_text(text, encoding="utf-8")
        os.replace(new, self.state)

    def __enter__(self):
        return self.start()

    def __exit__(self, kind, *_):
        if kind is None:
            self.stop()
        elif self.process:
            self.kill()

    def snmp(self, command, *arguments, access=("-v2c", "-c", "public"), check=True):
        """Runs a command of net-snmp against the agent, and returns what came out of it."""
        done = subprocess.run([command, *access, "-t", "10", "-r", "1", "-OneU", self.address, *arguments],
                              env=self.environment, stdin=subprocess.DEVNULL, capture_output=True, encoding="utf-8",
                              timeout=60)
        if check:
            assert (done.returncode, done.stderr) == (0, ""), f"{command} {arguments}: {done}"
        return done


def run(folder, *arguments, **variables):
    """Runs an mplsted that is to end by itself."""
    return subprocess.run([PROGRAM, *arguments], env=environment(folder) | variables, cwd=folder,
                          stdin=subprocess.DEVNULL, capture_output=True, encoding="utf-8", timeout=60)
