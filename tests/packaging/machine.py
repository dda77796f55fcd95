# SPDX-License-Identifier: MIT
"""A machine of its own with a systemd that runs, for tests of what is installed: the files of this one and namespaces
for all else, so that nothing is left of it."""

import os
import re
import signal
import subprocess
import tempfile
from pathlib import Path

from support.stand_in import DEADLINE, await_true

NAMESPACES = ["unshare", "--mount", "--pid", "--uts", "--ipc", "--net", "--cgroup", "--fork", "--kill-child",
              "--propagation", "private"]
OVERLAY = ('mount -t tmpfs none "$0" && mkdir "$0/new" "$0/work" "$0/root" && '
           'mount -t overlay overlay -o "lowerdir=/,upperdir=$0/new,workdir=$0/work" "$0/root" && '
           'test -x "$0/root/lib/systemd/systemd"')
ENVIRONMENT = {"PATH": "/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL": "C.UTF-8", "DEBIAN_FRONTEND": "noninteractive",
               "MIBS": "", "HOME": "/root"}


def cgroup():
    """The folder of this process's control group (version 2), or nothing."""
    mounted = re.search(r"^\S+ (\S+) cgroup2 ", Path("/proc/self/mounts").read_text(encoding="utf-8"), re.MULTILINE)
    mine = re.search(r"^0::/(.*)$", Path("/proc/self/cgroup").read_text(encoding="utf-8"), re.MULTILINE)
    return Path(mounted[1]) / mine[1] if mounted and mine else None


def obstacle():
    """Why there can be no such machine here, or nothing."""
    if os.geteuid() != 0:
        return "only root can have a machine of its own"
    if not cgroup() or not os.access(cgroup(), os.W_OK):
        return "there are no control groups (version 2) to make one in"
    with tempfile.TemporaryDirectory() as folder:
        tried = subprocess.run([*NAMESPACES, "sh", "-c", OVERLAY, folder], capture_output=True, encoding="utf-8",
                               timeout=DEADLINE, check=False)
    return f"no namespaces and overlays can be made here: {tried.stderr}" if tried.returncode else None


class Machine:
    """Boots when it is entered, with these packages installed (and in /srv/packages), and is gone when it is left."""

    def __init__(self, folder, *packages):
        self.root, self.log = folder / "root", folder / "boot.log"
        self.packages = packages
        self.cgroup = None

    def __enter__(self):
        self.root.mkdir()
        self.cgroup = Path(tempfile.mkdtemp(prefix="mplste-test-", dir=cgroup()))
        boot = [*NAMESPACES, Path(__file__).with_name("machine.sh"), self.root, *self.packages]
        with open(self.log, "wb") as log:
            self.process = subprocess.Popen(["sh", "-c", 'echo $$ >"$0" && exec "$@"', self.cgroup / "cgroup.procs", *boot],
                                            stdin=subprocess.DEVNULL, stdout=log, stderr=subprocess.STDOUT)
        try:
            await_true(lambda: self.process.poll() is not None or self.is_up(), f"systemd to run, see {self.log}", 60)
            assert self.process.poll() is None, self.log.read_text(encoding="utf-8")
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        if first := self.first_process():
            os.kill(first, signal.SIGKILL)   # and the kernel all others
        self.process.kill()
        self.process.wait(DEADLINE)
        await_true(self.remove_cgroup, "the end of all processes")

    def first_process(self):
        """The number that it has out here."""
        try:
            children = Path(f"/proc/{self.process.pid}/task/{self.process.pid}/children").read_text(encoding="utf-8")
            return int(children.split()[0]) if children else None
        except OSError:   # it has just ended
            return None

    def is_up(self):
        """Whether systemd has started all that it was told to. Some of it may have failed, but none that matters here."""
        try:
            booting = Path(f"/proc/{self.first_process()}/comm").read_text(encoding="utf-8") == "systemd\n"
        except OSError:
            return False
        return booting and self.run("systemctl", "is-system-running", check=False).stdout.strip() in ("running", "degraded")

    def remove_cgroup(self):
        for folder, _, _ in os.walk(self.cgroup, topdown=False):
            try:
                os.rmdir(folder)
            except OSError:
                return False
        return True

    def command(self, *words):
        return ["nsenter", f"--target={self.first_process()}", "--all", "--root", "--wd", *(str(word) for word in words)]

    def run(self, *words, check=True, **options):
        done = subprocess.run(self.command(*words), env=ENVIRONMENT, stdin=None if "input" in options else subprocess.DEVNULL,
                              capture_output=True, encoding="utf-8", timeout=60, check=False, **options)
        assert done.returncode == 0 or not check, f"{words}: {done.stdout}{done.stderr}"
        return done

    def output(self, *words, **options):
        return self.run(*words, **options).stdout

    def path(self, path):
        """A file of the machine, from here."""
        return Path(f"/proc/{self.first_process()}/root{path}")
