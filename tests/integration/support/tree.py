# SPDX-License-Identifier: MIT
"""The expected tree of the example head end: one variable a line, in the order of a walk, as net-snmp prints it. A time
that runs is written as the second, since the epoch, at which it was zero."""

import re
import time
from pathlib import Path

ROOT = ".1.3.6.1.2.1.10.166"
TABLES = {"tunnel": f"{ROOT}.3.2.2", "hop": f"{ROOT}.3.2.4", "perf": f"{ROOT}.3.2.9"}
SINCE = re.compile(r"Timeticks: since (.+)")
TICKS = re.compile(r"Timeticks: \((\d+)\) .+")


def parse(text):
    """[(oid, value)] of lines "oid = value", as the commands print them. A walk may end by saying that it has ended."""
    lines = [line.rstrip() for line in text.splitlines()]
    return [tuple(line.split(" = ", 1)) for line in lines
            if "No more variables left" not in line and line != "End of MIB"]


EXPECTED = parse((Path(__file__).parents[1] / "expected" / "headend.txt").read_text(encoding="utf-8"))


def below(oid, variables=EXPECTED):
    return [variable for variable in variables if variable[0].startswith(oid + ".")]


def same_value(value, expected, tolerance):
    since = SINCE.fullmatch(expected)
    if not since:
        return value == expected
    ticks = TICKS.fullmatch(value)
    elapsed = int((time.time() - float(since[1])) * 100)
    return bool(ticks) and (elapsed - int(ticks[1])) % 2**32 < tolerance * 100


def differences(variables, expected, tolerance=60):
    """What distinguishes what came from what should have come, for people. Times may be `tolerance` seconds old."""
    found = [f"{oid} = {value}" for oid, value in variables]
    wanted = [f"{oid} = {value}" for oid, value in expected]
    if [oid for oid, _ in variables] != [oid for oid, _ in expected]:
        return sorted(f"missing: {line}" for line in set(wanted) - set(found)) + \
            sorted(f"not expected: {line}" for line in set(found) - set(wanted)) or ["wrong order, or something twice"]
    return [f"{mine}, should be {theirs}" for mine, theirs, (_, value), (_, expectation)
            in zip(found, wanted, variables, expected) if not same_value(value, expectation, tolerance)]
