# SPDX-License-Identifier: MIT
"""What is asked: each operation makes messages for a subject, before the clock runs."""

from cost import wire
from cost.agents import HOPS, PERF, TUNNELS, index_text
from support import ber

LONGEST = 1472   # octets of UDP in an Ethernet frame


def absent(row):
    """An index that no row has, behind that row's."""
    return (row[0], row[1] + 1_000_000, *row[2:])


def names(subject, columns, row):
    return [f"{subject.columns[column]}.{index_text(row)}" for column in columns]


def get_scalar(subject, _):
    return wire.get(subject.scalar)


def get_one(subject, random):
    return wire.get(*names(subject, [random.randrange(1, len(subject.columns))], random.choice(subject.rows)))


def get_twenty(subject, random):
    return wire.get(*names(subject, range(20), random.choice(subject.rows)))


def get_absent(subject, random):
    return wire.get(*names(subject, [1], absent(random.choice(subject.rows))))


def next_of(index):
    """GETNEXT in a column from an index that is made of a row."""
    return lambda subject, random: wire.get_next(*names(subject, [1], index(random.choice(subject.rows))))


def bulk(repetitions, columns):
    """GETBULK of columns from a row, never from one of the last: all repetitions stay in the columns."""
    def message(subject, random):
        row = random.choice(subject.rows[:-repetitions] or subject.rows[:1])
        return wire.get_bulk(repetitions, *names(subject, columns, row))
    return message


# name, what is asked, how many messages a measurement sends
OPERATIONS = [
    ("GET scalar", get_scalar, 100),
    ("GET", get_one, 100),
    ("GET 20 columns", get_twenty, 50),
    ("GET absent row", get_absent, 100),
    ("GETNEXT", next_of(lambda row: row), 100),
    ("GETNEXT absent", next_of(absent), 100),
    ("GETNEXT partial", next_of(lambda row: row[:1]), 100),
    ("GETBULK 25", bulk(25, [1]), 40),
    ("GETBULK 100", bulk(100, [1]), 20),
    ("GETBULK 23 x 4", bulk(4, range(23)), 20),
]

TABLES = {"mplsTunnelTable": TUNNELS, "mplsTunnelHopTable": HOPS, "mplsTunnelPerfTable": PERF}


def filled(encode, oids):
    """The longest message that is made of oids, over and over, and fits into a frame."""
    chosen = []
    for oid in oids:
        message = encode(*chosen, oid)
        if len(message) > LONGEST:
            break
        chosen.append(oid)
    return encode(*chosen)


def dearest(subject, random):
    """Messages that fit into an Ethernet frame and ask for as much as they can, by name."""
    def endless(make):
        while True:
            yield make(random.choice(subject.rows))

    def behind_all(*columns):
        return [f"{column}.4294967295" for column in columns] * 200

    column = subject.columns[1]
    unserved = f"{TUNNELS}.1.31"
    high = f"{PERF}.1.2"
    next_v1 = lambda *oids: wire.get_next(*oids, version=ber.V1)
    return {
        "GETNEXT absent rows": filled(wire.get_next, endless(lambda row: f"{column}.{index_text(absent(row))}")),
        "GETNEXT partial indices": filled(wire.get_next, endless(lambda row: f"{column}.{row[0]}")),
        "GETNEXT out of range": filled(wire.get_next, endless(lambda row: f"{column}.65536.4294967295")),
        "GETNEXT in columns that are not served": filled(wire.get_next,
                                                         endless(lambda row: f"{unserved}.{index_text(row)}")),
        "GETNEXT behind the last hops": filled(wire.get_next, behind_all(f"{HOPS}.1.15")),
        "GETNEXT behind the tables": filled(wire.get_next, behind_all(f"{PERF}.1.5")),
        "GETNEXT of Counter64 in v1": filled(next_v1, endless(lambda row: f"{high}.{index_text(row)}")),
        "GETNEXT from the root": filled(wire.get_next, ["1.3"] * 400),
        "GET absent rows": filled(wire.get, endless(lambda row: f"{column}.{index_text(absent(row))}")),
        "GETBULK of one column": wire.get_bulk(2**31 - 1, column),
        "GETBULK from absent rows": filled(lambda *oids: wire.get_bulk(2**31 - 1, *oids),
                                           endless(lambda row: f"{column}.{index_text(absent(row))}")),
        "GETBULK of the last rows": filled(lambda *oids: wire.get_bulk(2**31 - 1, *oids),
                                           [f"{column}.{index_text(subject.rows[-2])}"] * 20),
    }


def present(subject, random, count):
    """A GET of as many variables that are there."""
    return wire.get(*[names(subject, [random.randrange(1, 23)], random.choice(subject.rows))[0] for _ in range(count)])
