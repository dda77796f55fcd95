# SPDX-License-Identifier: MIT
"""A stock snmpd on loopback, with a configuration of the test and nothing of the machine's."""

import re
import signal
import subprocess
from pathlib import Path

from support.mplsted import environment
from support.stand_in import DEADLINE, await_true, free_udp_port

SNMPD = "/usr/sbin/snmpd"
STARTED = "NET-SNMP version"
ACCESS = """\
rocommunity public 127.0.0.1 .1.3.6.1.2.1
rwcommunity private 127.0.0.1 .1.3.6.1.2.1
"""


class Snmpd:
    """May be started and stopped as often as a test likes; its address stays."""

    def __init__(self, folder, *lines, access=ACCESS):
        """lines: more of its configuration. access: who may read what."""
        self.folder = Path(folder)
        self.address = f"udp:127.0.0.1:{free_udp_port()}"
        self.config, self.output = self.folder / "snmpd.conf", self.folder / "snmpd.log"
        self.access = access
        self.configure(*lines)
        self.environment = environment(self.folder / "snmpd")
        self.process = None

    def configure(self, *lines):
        """What it reads when it starts, or is told to read its configuration again."""
        self.config.write_text(self.access + "\n".join(["dontLogTCPWrappersConnects yes", *lines, ""]),
                               encoding="utf-8")

    def launch(self):
        with open(self.output, "w", encoding="utf-8") as output:
            self.process = subprocess.Popen([SNMPD, "-f", "-Lo", "-C", "-c", self.config, self.address],
                                            stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.STDOUT,
                                            env=self.environment)

    def start(self):
        self.launch()
        await_true(lambda: self.process.poll() is not None or STARTED in self.log(), "snmpd to start")
        assert self.process.poll() is None, self.log()
        return self

    def log(self):
        return self.output.read_text(encoding="utf-8")

    def pause(self):
        """Stops it where it stands; what others send it stays unread."""
        self.process.send_signal(signal.SIGSTOP)

    def resume(self):
        self.process.send_signal(signal.SIGCONT)

    def end(self, how=signal.SIGTERM):
        if self.process:
            self.process.send_signal(how)
            self.resume()
            self.process.wait(DEADLINE)
            self.process = None

    def kill(self):
        self.end(signal.SIGKILL)

    def __enter__(self):
        return self.start()

    def __exit__(self, *_):
        self.end()


class Master(Snmpd):
    """One that takes subagents, as snmpd.conf beside this file says."""

    def __init__(self, folder, *lines, socket=None, access=None):
        """socket: where subagents find it, instead of a unix socket in folder. access: who may read what, instead of
        what the file says."""
        self.socket = socket or f"unix:{folder}/agentx"
        text = Path(__file__).with_name("snmpd.conf").read_text(encoding="utf-8")
        text = re.sub("^agentXSocket .*$", f"agentXSocket {self.socket}", text, flags=re.MULTILINE)
        if access is not None:
            text = re.sub("^r[ow]community .*$", "", text, flags=re.MULTILINE)
        super().__init__(folder, text, *lines, access=access or "")
