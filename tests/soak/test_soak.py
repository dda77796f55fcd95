# SPDX-License-Identifier: MIT
# ctest-labels: slow
"""Everything at once and for long: publishers that change the state, stall and go; managers with all kinds of walks;
snmpd, and mplsted behind it, killed at random; a clock that jumps; few descriptors and little memory. At the end the
tables are those of a fresh start, and nothing has grown."""

import contextlib
import json
import random
import signal
import struct
import threading
import time

from head_end import Churn, walked
from live.target import SANITIZED, SANITIZER_OPTIONS, SEED, descriptors, kilobytes, length
from support import ber
from support.manager import Manager
from support.master import Master
from support.mplsted import BUILD, Mplsted
from support.publisher import Publisher
from support.stand_in import await_true
from support.tree import ROOT, TABLES

SECONDS = length("MPLSTE_SOAK_SECONDS", 12)
DESCRIPTORS = 96
MEMORY = 2 << 30   # of addresses; the sanitizers take more by themselves
MOST_KILOBYTES = 24 << 10 if SANITIZED else 3 << 10
ACCESS = f"rocommunity public 127.0.0.1 {ROOT}\n"


class Actors:
    """Threads, each of which does something again and again until all are told to stop. What one of them throws ends
    all, and is thrown again at the end."""

    def __init__(self):
        self.stopping, self.errors, self.threads = threading.Event(), [], []
        self.counts = {}

    def add(self, deed, pause=0.0):
        """deed is called with a random generator of its own."""
        number = len(self.threads)

        def act():
            chance = random.Random(SEED * 1000 + number)
            try:
                while not self.stopping.is_set():
                    deed(chance)
                    self.counts[deed.__name__] = self.counts.get(deed.__name__, 0) + 1
                    self.stopping.wait(pause * chance.random() * 2)
            except BaseException as error:   # pylint: disable=broad-except
                self.errors.append(error)
                self.stopping.set()

        self.threads.append(threading.Thread(target=act))
        self.threads[-1].start()

    def stop(self):
        self.stopping.set()
        for thread in self.threads:
            thread.join()
        self.threads, self.stopping = [], threading.Event()
        if self.errors:
            raise self.errors[0]


class Clock:
    """What agents take for the time of the day."""

    def __init__(self, path):
        self.path = path
        self.jump(None)

    @property
    def variables(self):
        # The sanitizers want to be the first that is preloaded, and need not be.
        options = SANITIZER_OPTIONS | {"ASAN_OPTIONS": SANITIZER_OPTIONS["ASAN_OPTIONS"] + ":verify_asan_link_order=0"}
        return options | {"LD_PRELOAD": str(BUILD / "soak_clock.so"), "MPLSTE_CLOCK": str(self.path)}

    def jump(self, chance):
        seconds = chance.choice((0, 1, -1, 3600, -3600, 86400 * 500, -86400 * 365, 2**31)) if chance else 0
        with open(self.path, "r+b" if self.path.exists() else "w+b") as file:
            file.write(struct.pack("q", seconds))


def limited(mplsted):
    """The same mplsted with little to spare, from its start on."""
    memory = [] if SANITIZED else [f"--as={MEMORY}"]
    mplsted.command = ["prlimit", f"--nofile={DESCRIPTORS}", *memory, *mplsted.command]
    return mplsted


class Steady:
    """The mplsted that is never killed, whose state the churn makes, and which must not grow."""

    def __init__(self, folder, clock):
        folder.mkdir()
        self.path = folder / "publish.sock"
        self.mplsted = limited(Mplsted(folder, "--publish", self.path, file=False, access=ACCESS,
                                       **clock.variables)).start()
        self.publisher = Publisher(self.path)
        self.churn = Churn(SEED)
        self.longest = 0.0
        self.lock = threading.Lock()
        self.publisher.changed({"$replace": self.churn.state})

    def patch(self, _):
        patch = self.churn.next()
        answer = self.publisher.ask(patch)
        assert answer["ok"], (patch, answer)

    def replace(self, _):
        self.publisher.changed({"$replace": self.churn.state})

    def is_at_rest(self):
        status = self.publisher.status()
        return status["tasks"] == 0 and status["state"]["publish"]["connections"] == 1 and status

    def measure(self):
        """Its size with the state that it had at first, and nobody connected."""
        self.publisher.changed({"$replace": self.churn.back()})
        status = await_true(self.is_at_rest, "mplsted to come to rest")
        pid = self.mplsted.process.pid
        live = {name: status[name] for name in ("rows", "hopLists")} | {"entries": status["state"]["entries"]}
        return kilobytes(pid), descriptors(pid), live

    # Managers

    def timed(self, manager, ask):
        begin = time.monotonic()
        response = ask(manager)
        self.longest = max(self.longest, time.monotonic() - begin)
        return response

    def walk(self, chance):
        manager, oid = Manager(self.mplsted.address), ROOT
        step = chance.choice((lambda m: m.get_next(oid), lambda m: m.get_next(oid, version=ber.V1),
                              lambda m: m.get_bulk(oid, max_repetitions=chance.choice((2, 10, 100)))))
        for _ in range(200):
            response = self.timed(manager, step)
            if response.error:   # of version 1, at the end
                break
            before, (oid, (kind, _)) = oid, response.varbinds[-1]
            if kind == ber.END_OF_MIB_VIEW or not oid.startswith(ROOT):
                break
            assert ber.numbers(oid) > ber.numbers(before), "a walk goes forward, whatever changes meanwhile"
        manager.close()

    def look(self, chance):
        manager = Manager(self.mplsted.address)
        for _ in range(50):
            number = chance.randint(1, 400)
            index = f"{number}.1.3221225985.{(10 << 24) + (9 << 16) + number}"
            oids = [f"{TABLES['tunnel']}.1.{column}.{index}" for column in chance.sample(range(4, 38), 5)]
            response = self.timed(manager, lambda m: m.get(*oids))
            assert [oid for oid, _ in response.varbinds] == oids
        manager.close()

    # Publishers that are of no use

    def stall(self, chance):
        """Connects, says or asks something, in part perhaps, and goes without reading the answer."""
        with contextlib.suppress(ConnectionError, TimeoutError, BlockingIOError), Publisher(self.path) as publisher:
            publisher.socket.settimeout(0.5)
            lines = [b'{"$state":null}\n' * 20, b'{"$status":null}\n' * 200, b'{"pathSpec":{"cli:', b"\xff\x00\n" * 50,
                     b" " * 200_000, b'{"nonsense":{}}\n' * 100, b'{"pathSpec":{"cli:nobody":null}}\n' * 20]
            publisher.send(chance.choice(lines))
            if chance.random() < 0.5:
                time.sleep(chance.random() / 5)   # it is time that it takes up

    def crowd(self, chance):
        """More connections than there are descriptors for."""
        with contextlib.ExitStack() as connections, contextlib.suppress(OSError):
            for _ in range(chance.randint(1, 2 * DESCRIPTORS)):
                connections.enter_context(Publisher(self.path))


class Behind:
    """A snmpd, and an mplsted behind it: either may be killed at any time."""

    def __init__(self, folder, clock):
        folder.mkdir()
        self.path = folder / "publish.sock"
        self.master = Master(folder, access=ACCESS).start()
        self.mplsted = Mplsted(folder, "--agentx", self.master.socket, "--publish", self.path, access=None, listen=(),
                               file=False, **clock.variables).start()
        self.kills = 0

    def publish(self, state):
        with Publisher(self.path) as publisher:
            publisher.changed({"$replace": state})

    def kill(self, chance):
        kind = chance.randrange(4)
        if kind == 0:
            self.master.end(chance.choice((signal.SIGKILL, signal.SIGTERM)))
            self.master.start()
        elif kind == 1:
            self.master.pause()
            time.sleep(chance.random() * 3)   # it is time that is to pass
            self.master.resume()
        else:
            if kind == 2:
                self.mplsted.kill()
            else:
                self.mplsted.stop()
            self.mplsted.start()
        self.kills += 1
        with Publisher(self.path) as publisher:
            publisher.changed({"$replace": Churn(chance.random()).state})

    def look(self, chance):
        """Whoever asks may be without an answer, but gets no wrong one."""
        manager = Manager(self.master.address)
        with contextlib.suppress(OSError):
            manager.send(ber.message(ber.GETBULK, [(ROOT, ber.NULL)], chance.getrandbits(31), third=20))
            response = ber.Response(manager.socket.recv(65536))
            assert response.error in (ber.NO_ERROR, ber.GEN_ERR)
        manager.close()


def fresh(folder, state):
    """The rows and the document of an mplsted that starts with `state`."""
    folder.mkdir()
    path = folder / "publish.sock"
    with Mplsted(folder, "--publish", path, state=json.dumps(state), access=ACCESS) as mplsted, Publisher(path) as publisher:
        manager = Manager(mplsted.address)
        found = walked(manager), publisher.state()
        manager.close()
        return found


def test_everything_at_once(tmp_path):
    clock = Clock(tmp_path / "clock")
    steady, behind = Steady(tmp_path / "steady", clock), Behind(tmp_path / "behind", clock)
    actors, first = Actors(), None
    try:
        for seconds in (SECONDS / 4, SECONDS * 3 / 4):
            actors.add(steady.patch, 0.002)
            for deed, pause in ((steady.walk, 0.05), (steady.walk, 0.05), (steady.look, 0.1), (steady.stall, 0.05),
                                (steady.stall, 0.05), (steady.crowd, 0.5), (behind.kill, 1), (behind.look, 0.05),
                                (clock.jump, 1)):
                actors.add(deed, pause)
            actors.stopping.wait(seconds)
            actors.stop()
            clock.jump(None)
            final = steady.churn.state
            await_true(steady.is_at_rest, "mplsted to come to rest")
            manager = Manager(steady.mplsted.address)
            assert (walked(manager), steady.publisher.state()) == fresh(tmp_path / f"fresh-{seconds}", final)
            manager.close()
            first = first or steady.measure()
        last = steady.measure()
        assert last[1:] == first[1:], "descriptors, rows and entries"
        assert last[0] - first[0] <= MOST_KILOBYTES, f"{last[0] - first[0]} KB more"

        behind.publish(final)
        manager = Manager(behind.master.address)
        expected, _ = fresh(tmp_path / "fresh-behind", final)
        await_true(lambda: walked(manager) == expected, "the rows behind snmpd", 100)
        manager.close()
    finally:
        actors.stopping.set()
        steady.publisher.close()
    deeds = ", ".join(f"{name} {count}" for name, count in sorted(actors.counts.items()))
    print(f"summary: longest wait {steady.longest * 1000:.0f} ms, {last[0] - first[0]} KB more in use, {behind.kills} kills; "
          f"{deeds}; seed {SEED}")
    for process in (steady.mplsted, behind.mplsted):
        process.stop()
    behind.master.end()
