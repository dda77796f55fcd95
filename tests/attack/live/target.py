# SPDX-License-Identifier: MIT
"""What is watched of a process while it is attacked: its memory, its descriptors, and that it is still there."""

import os
import re
from pathlib import Path

from support.mplsted import BUILD

# The seed and the lengths come from ./test --long; without it they are those of ./test.
SEED = int(os.environ.get("MPLSTE_ATTACK_SEED", "1"))

# Nobody is to see what a report of a sanitizer is about by its address alone; a quarantine that is full soon lets
# growth be seen.
SANITIZER_OPTIONS = {"ASAN_OPTIONS": "fast_unwind_on_malloc=0:quarantine_size_mb=8:malloc_context_size=12",
                     "UBSAN_OPTIONS": "print_stacktrace=1"}
SANITIZED = "MPLSTE_SANITIZE:BOOL=ON" in (BUILD / "CMakeCache.txt").read_text(encoding="utf-8")


def length(variable, default):
    """How much of something: what ./test --long asks for, or as much as fits into ./test."""
    return int(os.environ.get(variable, default))


def kilobytes(pid):
    """Memory of a process that is in use."""
    status = Path(f"/proc/{pid}/status").read_text(encoding="utf-8")
    return int(re.search(r"VmRSS:\s+(\d+)", status)[1])


def descriptors(pid):
    return len(os.listdir(f"/proc/{pid}/fd"))


class Growth:
    """Memory and descriptors of a process, from now on."""

    def __init__(self, pid):
        self.pid = pid
        self.kilobytes, self.descriptors = kilobytes(pid), descriptors(pid)

    def check(self, most_kilobytes):
        grown = kilobytes(self.pid) - self.kilobytes
        assert grown <= most_kilobytes, f"{grown} KB more than at first"
        assert descriptors(self.pid) <= self.descriptors, f"{descriptors(self.pid) - self.descriptors} descriptors more"
        return grown
