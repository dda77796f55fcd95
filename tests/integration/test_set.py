# SPDX-License-Identifier: MIT
"""Nothing can be set, and trying changes nothing."""

import pytest
from support import ber
from support.ber import NO_ACCESS, NO_CREATION, NO_ERROR, NO_SUCH_NAME, NOT_WRITABLE, WRONG_TYPE
from support.manager import Manager
from support.tree import EXPECTED, ROOT, TABLES, differences, parse

TUNNEL, HOP, PERF = (f"{oid}.1" for oid in TABLES.values())
ROW, HOP_ROW = "12.1.167772161.167772169", "1.1.1"

COLUMNS = [*((f"{TUNNEL}.{column}", ROW) for column in range(5, 38)),
           *((f"{HOP}.{column}", HOP_ROW) for column in range(4, 16)),
           *((f"{PERF}.{column}", ROW) for column in range(1, 6))]
VALUES = [("INTEGER", 1), ("STRING", b"to-rome"), ("Gauge32", 4294967295), ("Counter64", 1), ("Timeticks", 0),
          ("OID", ".1.3.6.1")]


@pytest.fixture(autouse=True)
def nothing_changes(head_end):
    yield
    assert differences(parse(head_end.snmp("snmpwalk", ROOT).stdout), EXPECTED) == []


@pytest.mark.parametrize("value", VALUES, ids=[kind for kind, _ in VALUES])
def test_no_column_can_be_written(writer, value):
    for column, index in COLUMNS:
        response = writer.set((f"{column}.{index}", value))
        assert (response.error, response.index) == (NOT_WRITABLE, 1), column


def test_a_null_is_no_value(writer):
    for column, index in COLUMNS:
        response = writer.set((f"{column}.{index}", ber.NULL))
        assert (response.error, response.index) == (WRONG_TYPE, 1), column


def test_no_row_can_be_created(writer):
    for column, index in COLUMNS:
        response = writer.set((f"{column}.4711.{index.split('.', 1)[1]}", ("INTEGER", 4)))
        assert (response.error, response.index) == (NOT_WRITABLE, 1), column


@pytest.mark.parametrize("index", ["", ".12", ".12.1.167772161", ".12.1.167772161.167772169.0", ".4294967295.0.0.0"])
def test_a_malformed_index_changes_nothing_about_that(writer, index):
    for column in (f"{TUNNEL}.36", f"{PERF}.1"):
        assert writer.set((column + index, ("INTEGER", 6))).error != NO_ERROR


def test_one_refusal_refuses_the_whole_request(writer):
    location = ".1.3.6.1.2.1.1.6.0"
    before = writer.value(location)
    for varbinds in ([(location, ("STRING", b"elsewhere")), (f"{TUNNEL}.34.{ROW}", ("INTEGER", 2))],
                     [(f"{TUNNEL}.34.{ROW}", ("INTEGER", 2)), (location, ("STRING", b"elsewhere"))]):
        response = writer.set(*varbinds)
        assert (response.error, response.index) == (NOT_WRITABLE, 1)
        assert writer.value(location) == before


def test_all_three_tables_at_once(writer):
    response = writer.set((f"{TUNNEL}.34.{ROW}", ("INTEGER", 2)), (f"{HOP}.14.{HOP_ROW}", ("INTEGER", 6)),
                          (f"{PERF}.1.{ROW}", ("Counter32", 0)))
    assert response.error == NOT_WRITABLE


def test_version_1_says_it_in_its_own_way(writer):
    for column, index in COLUMNS:
        response = writer.set((f"{column}.{index}", ("INTEGER", 1)), version=ber.V1)
        assert (response.error, response.index) == (NO_SUCH_NAME, 1), column


def test_who_may_only_read_learns_that(manager):
    response = manager.set((f"{TUNNEL}.34.{ROW}", ("INTEGER", 2)))
    assert response.error == NO_ACCESS


# Who may write all there is


@pytest.fixture
def owner(mplsted):
    """May write everything that the agent has, as far as access control is concerned."""
    manager = Manager(mplsted(access="rwcommunity private 127.0.0.1\n").address, b"private")
    yield manager
    manager.close()


def test_nothing_that_the_agent_serves_can_be_written(owner):
    served = owner.walk(".1.3")
    assert {".1.3.6.1.2.1.1.6.0", f"{TUNNEL}.5.{ROW}"} <= served.keys()
    for oid, value in served.items():
        response = owner.set((oid, value))
        assert (response.error, response.index) == (NOT_WRITABLE, 1), oid


# Of SNMP-USER-BASED-SM-MIB and SNMP-VIEW-BASED-ACM-MIB: usmUserEntry and vacmAccessEntry, with their writable columns.
USERS_AND_ACCESS = [*((f".1.3.6.1.6.3.15.1.2.2.1.{column}") for column in range(4, 14)),
                    *((f".1.3.6.1.6.3.16.1.4.1.{column}") for column in range(4, 10))]


def test_users_and_access_rights_are_not_to_be_had(owner):
    """An index that begins with one of these numbers ends net-snmp's own code for them."""
    for column in USERS_AND_ACCESS:
        for first in (0, 1, 2147483647, 2147483648, 4294967295):
            for value in (("INTEGER", 6), ("STRING", b"x"), ("OID", ".1.3.6.1.6.3.10.1.1.1")):
                response = owner.set((f"{column}.{first}.1.2.3", value))
                assert (response.error, response.index) in ((NOT_WRITABLE, 1), (NO_CREATION, 1)), column
    assert not [oid for oid in owner.walk(".1.3.6.1.6.3") if oid.startswith((".1.3.6.1.6.3.15.", ".1.3.6.1.6.3.16."))]


def test_the_refusal_reads_well(head_end):
    done = head_end.snmp("snmpset", f"{TUNNEL}.34.{ROW}", "i", "2", access=("-v2c", "-c", "private"), check=False)
    assert done.returncode != 0
    assert "Reason: notWritable (That object does not support modification)" in done.stderr
    assert f"Failed object: {TUNNEL}.34.{ROW}" in done.stderr
