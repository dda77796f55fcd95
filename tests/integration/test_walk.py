# SPDX-License-Identifier: MIT
"""What managers see: the whole tree of the example head end with its types and values, whichever way they read it."""

import pytest
from support import ber
from support.ber import numbers
from support.mplsted import V3
from support.tree import EXPECTED, ROOT, TABLES, below, differences, parse

V1, V2C = ("-v1", "-c", "public"), ("-v2c", "-c", "public")
BATCH = 50


def batches(items):
    return [items[at:at + BATCH] for at in range(0, len(items), BATCH)]


def test_the_expected_tree_is_in_order():
    oids = [numbers(oid) for oid, _ in EXPECTED]
    assert oids == sorted(set(oids))
    assert all(oid.startswith(f"{ROOT}.") for oid, _ in EXPECTED)
    assert [len(below(table)) for table in TABLES.values()] == [13 * 23, 31 * 12, 13 * 4]


@pytest.mark.parametrize("access", [V2C, V3], ids=["v2c", "v3"])
def test_a_walk_gives_every_variable_once_and_in_order(head_end, access):
    assert differences(parse(head_end.snmp("snmpwalk", ROOT, access=access).stdout), EXPECTED) == []


@pytest.mark.parametrize("table", TABLES.values(), ids=TABLES)
def test_a_table_is_walked_by_itself(head_end, table):
    assert differences(parse(head_end.snmp("snmpwalk", table).stdout), below(table)) == []


@pytest.mark.parametrize("repetitions", [1, 2, 10, 25, 100])
@pytest.mark.parametrize("access", [V2C, V3], ids=["v2c", "v3"])
def test_a_bulk_walk_gives_the_same(head_end, access, repetitions):
    walked = parse(head_end.snmp("snmpbulkwalk", f"-Cr{repetitions}", ROOT, access=access).stdout)
    assert differences(walked, EXPECTED) == []


def test_version_1_leaves_out_what_it_cannot_carry(head_end):
    without_counter64 = [(oid, value) for oid, value in EXPECTED if not value.startswith("Counter64")]
    assert len(EXPECTED) - len(without_counter64) == 13 * 2
    assert differences(parse(head_end.snmp("snmpwalk", ROOT, access=V1).stdout), without_counter64) == []


def test_a_counter64_does_not_exist_in_version_1(manager):
    oid = f"{TABLES['perf']}.1.2.12.1.167772161.167772169"
    assert manager.value(oid) == ("Counter64", 0)
    response = manager.get(oid, version=ber.V1)
    assert (response.error, response.index) == (ber.NO_SUCH_NAME, 1)
    # The next one is not that of the next row, but the first of the next column that version 1 can carry.
    [(following, value)] = manager.get_next(oid, version=ber.V1).varbinds
    assert (following, value) == (f"{TABLES['perf']}.1.4.12.1.167772161.167772169", ("Counter32", 0))


@pytest.mark.parametrize("access", [V1, V2C, V3], ids=["v1", "v2c", "v3"])
def test_get_gives_each_variable(head_end, access):
    wanted = [variable for variable in EXPECTED if access != V1 or not variable[1].startswith("Counter64")]
    # Version 1 and 3 are tried on every tenth batch: how values are looked up does not depend on the version.
    for batch in batches(wanted)[::1 if access == V2C else 10]:
        got = parse(head_end.snmp("snmpget", *(oid for oid, _ in batch), access=access).stdout)
        assert differences(got, batch) == []


def test_get_next_leads_from_each_variable_to_the_next(head_end):
    for batch in batches(list(zip(EXPECTED, EXPECTED[1:]))):
        got = parse(head_end.snmp("snmpgetnext", *(oid for (oid, _), _ in batch)).stdout)
        assert differences(got, [following for _, following in batch]) == []


def test_get_next_leads_from_each_variable_to_the_next_one_at_a_time(manager):
    oids = [oid for oid, _ in EXPECTED]
    for oid, following in zip([ROOT, *oids], oids):
        [(got, _)] = manager.get_next(oid).varbinds
        assert got == following


def test_behind_the_last_variable_the_view_ends(manager):
    last, _ = EXPECTED[-1]
    assert manager.get_next(last).varbinds == [(last, (ber.END_OF_MIB_VIEW, None))]
    response = manager.get_next(last, version=ber.V1)
    assert (response.error, response.index) == (ber.NO_SUCH_NAME, 1)


def test_the_agent_introduces_itself(head_end):
    system = dict(parse(head_end.snmp("snmpwalk", ".1.3.6.1.2.1.1").stdout))
    assert {f".1.3.6.1.2.1.1.{column}.0" for column in range(1, 7)} <= set(system)
    assert system[".1.3.6.1.2.1.1.3.0"].startswith("Timeticks: (")
