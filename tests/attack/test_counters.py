# SPDX-License-Identifier: MIT
"""A forwarding process that has run wild: whatever it writes to the counters' shared memory, and whatever becomes of
that, every GET is answered, and counters that are well again are read again."""

import os
import random
import struct
import subprocess
from pathlib import Path

import pytest
from live.target import SANITIZED, SANITIZER_OPTIONS, SEED, Growth, length
from support import ber
from support.manager import Manager
from support.mplsted import BUILD, Mplsted
from support.stand_in import await_true
from support.tree import TABLES

WRITES = length("MPLSTE_ATTACK_COUNTER_WRITES", 2000)
MOST_KILOBYTES = 8 << 10 if SANITIZED else 1 << 10

COLUMNS = [f"{TABLES['perf']}.1.{column}" for column in (1, 2, 4, 5)]
PARIS = "12.1.167772161.167772169"
COUNTED = (10, 10, 8000, 8000)

# Of the layout in docs/counters.md.
HEADER, ENTRY = 64, 64
MAGIC = 0x314C4C41544C504D
WORDS = [0, 1, 2, 63, 64, 65, 2**20, 2**31, 2**32 - 1, 2**32, 2**63, 2**64 - 1, MAGIC, 0x10 << 56 | 12]


def mixed(word):
    word = (word ^ word >> 30) * 0xBF58476D1CE4E5B9 & 2**64 - 1
    word = (word ^ word >> 27) * 0x94D049BB133111EB & 2**64 - 1
    return word ^ word >> 31


def checksum(words):
    check = MAGIC
    for word in words:
        check = mixed(check ^ word)
    return check


class Writer:
    """Writes what no writer would. Each call is one deed."""

    def __init__(self, path, good, seed, elsewhere):
        """good: the octets of a sound segment. elsewhere: a file that is not one, for a name to lead to."""
        self.path, self.good, self.elsewhere = path, good, elsewhere
        self.chance = random.Random(seed)
        self.deeds = [self.octets] * 6 + [self.word] * 6 + [self.entry] * 6 + [self.header] * 2 + \
            [self.size, self.replace, self.remove, self.other_kind, self.forbidden]

    def write(self):
        self.chance.choice(self.deeds)()

    def at(self, offset, octets):
        try:
            with open(self.path, "r+b", buffering=0) as file:
                file.seek(offset)
                file.write(octets)
        except OSError:
            self.restore()

    def restore(self):
        if self.path.is_dir() and not self.path.is_symlink():
            self.path.rmdir()
        else:
            self.path.unlink(missing_ok=True)
        self.path.write_bytes(self.good)

    def octets(self):
        self.at(self.chance.randrange(len(self.good)), self.chance.randbytes(self.chance.choice((1, 8, 64, 500))))

    def word(self):
        self.at(self.chance.randrange(len(self.good) // 8) * 8, struct.pack("<Q", self.chance.choice(WORDS)))

    def entry(self):
        """A sound one, but perhaps in the wrong place."""
        slots = (len(self.good) - HEADER) // ENTRY
        key = 0x10 << 56 | self.chance.choice((12, 40, self.chance.randrange(65536)))
        slot = (mixed(key) & slots - 1) if self.chance.random() < 0.7 else self.chance.randrange(slots)
        sequence, packets, octets = self.chance.choice(WORDS), self.chance.choice(WORDS), self.chance.choice(WORDS)
        record = struct.pack("<QQQ", packets, octets, checksum((key, slot, sequence, packets, octets)))
        self.at(HEADER + slot * ENTRY, struct.pack("<QQ", key, sequence) + record * 2)

    def header(self):
        """One whose checksum is right, whatever else it says."""
        words = list(struct.unpack("<8Q", self.good[:HEADER]))[:7]
        words[self.chance.randrange(7)] = self.chance.choice((*WORDS, self.chance.getrandbits(64)))
        self.at(0, struct.pack("<8Q", *words, checksum(words)))

    def size(self):
        try:
            os.truncate(self.path, self.chance.choice((0, 1, 63, 64, 65, len(self.good) - 1, len(self.good), 1 << 20, 1 << 32)))
        except OSError:
            self.restore()

    def replace(self):
        new = self.path.with_name(self.path.name + "-new")
        new.write_bytes(self.good if self.chance.random() < 0.7 else self.chance.randbytes(len(self.good)))
        try:
            os.replace(new, self.path)
        except OSError:
            new.unlink()

    def remove(self):
        if not self.path.is_dir():
            self.path.unlink(missing_ok=True)

    def other_kind(self):
        """No regular file."""
        self.remove()
        if self.path.exists():
            return
        kind = self.chance.randrange(3)
        if kind == 0:
            # Of the test's own: what is written next goes through it.
            self.path.symlink_to(self.elsewhere)
        elif kind == 1:
            os.mkfifo(self.path)
        else:
            self.path.mkdir()
        if self.chance.random() < 0.7:
            self.restore()

    def forbidden(self):
        if self.path.is_file():
            self.path.chmod(self.chance.choice((0, 0o200, 0o600)))


@pytest.fixture
def segment():
    """The file of a counter segment; whatever has its name at the end is removed."""
    path = Path("/dev/shm", f"mplste-fuzz-live-{os.getpid()}")
    yield path
    if path.is_dir() and not path.is_symlink():
        path.rmdir()
    path.unlink(missing_ok=True)


def counted(manager):
    response = manager.get(*(f"{column}.{PARIS}" for column in COLUMNS))
    assert response.error == ber.NO_ERROR
    assert [kind for _, (kind, _) in response.varbinds] == ["Counter32", "Counter64", "Counter32", "Counter64"]
    return tuple(value for _, (_, value) in response.varbinds)


def test_a_hostile_writer_of_counters(tmp_path, segment):
    subprocess.run([BUILD / "mplste", "counters", "--name", segment.name, "set", "16:12", "10", "8000"], check=True,
                   stdin=subprocess.DEVNULL, capture_output=True, timeout=60)
    elsewhere = tmp_path / "elsewhere"
    elsewhere.write_bytes(segment.read_bytes())
    writer = Writer(segment, segment.read_bytes(), SEED, elsewhere)
    with Mplsted(tmp_path, "--counters", segment.name, **SANITIZER_OPTIONS) as mplsted:
        manager = Manager(mplsted.address)
        assert counted(manager) == COUNTED
        growth, read = None, {}
        for number in range(WRITES):
            # Some of what is written comes while the request is on its way.
            if number % 5 == 0:
                manager.last_id += 1
                manager.send(ber.message(ber.GET, [(f"{column}.{PARIS}", ber.NULL) for column in COLUMNS], manager.last_id))
            writer.write()
            if number % 5 == 4:
                found = counted(manager)
                read[found == COUNTED, any(found)] = read.get((found == COUNTED, any(found)), 0) + 1
            if growth is None and number >= WRITES // 4:
                # As at the end: a segment that is damaged may not be open.
                writer.restore()
                await_true(lambda: counted(manager) == COUNTED, "the counters to be read")
                growth = Growth(mplsted.process.pid)
            if number % 50 == 49:
                writer.restore()
        writer.restore()
        await_true(lambda: counted(manager) == COUNTED, "the counters to be read again")
        grown = growth.check(MOST_KILOBYTES)
        manager.close()
        right, wrong, none = read.get((True, True), 0), read.get((False, True), 0), read.get((False, False), 0)
        assert min(right, wrong, none) > 0, "damage is met, and the lack of it"
        print(f"summary: {WRITES} writes of seed {SEED}, read as they were {right} times, as written {wrong}, as 0 {none}, "
              f"{grown} KB more in use")
