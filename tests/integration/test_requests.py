# SPDX-License-Identifier: MIT
"""Requests that are out of the ordinary get the answers that RFC 3416 wants, and do no harm."""

import itertools
import random

import pytest
from support import ber
from support.ber import END_OF_MIB_VIEW, NO_ERROR, NO_SUCH_INSTANCE, NO_SUCH_OBJECT, TOO_BIG, numbers
from support.manager import Manager
from support.mplsted import Mplsted
from support.tree import EXPECTED, ROOT, TABLES, below

TUNNEL, HOP, PERF = (f"{oid}.1" for oid in TABLES.values())
ROW = "12.1.167772161.167772169"
HOP_ROW = "1.1.1"

SERVED = {TUNNEL: {5, 6, 7, 8, 9, 10, 12, 13, 14, 15, 16, 20, 21, 24, 25, 26, 28, 30, 33, 34, 35, 36, 37},
          HOP: set(range(4, 16)), PERF: {1, 2, 4, 5}}
ROWS = {TUNNEL: ROW, HOP: HOP_ROW, PERF: ROW}

OIDS = [oid for oid, _ in EXPECTED]
BY_NUMBERS = {numbers(oid): oid for oid in OIDS}
IN_ORDER = sorted(BY_NUMBERS)


def following(oid):
    """The first served variable behind oid, or None."""
    place = numbers(oid)
    return next((BY_NUMBERS[candidate] for candidate in IN_ORDER if candidate > place), None)


def check_next(manager, *oids):
    """GETNEXT of these, all at once, must lead to the variables that really follow."""
    response = manager.get_next(*oids)
    assert response.error == NO_ERROR
    for oid, (got, (kind, _)) in zip(oids, response.varbinds, strict=True):
        wanted = following(oid)
        assert (got, kind == END_OF_MIB_VIEW) == ((oid, True) if wanted is None else (wanted, False)), f"behind {oid}"


@pytest.mark.parametrize("entry", SERVED, ids=TABLES)
def test_an_unserved_column_is_no_object(manager, entry):
    for column in sorted(set(range(0, 41)) - SERVED[entry]):
        kind, _ = manager.value(f"{entry}.{column}.{ROWS[entry]}")
        assert kind == NO_SUCH_OBJECT, f"column {column}"


@pytest.mark.parametrize("entry", SERVED, ids=TABLES)
def test_an_absent_row_is_no_instance(manager, entry):
    for column in sorted(SERVED[entry]):
        kind, _ = manager.value(f"{entry}.{column}.{ROWS[entry]}1")
        assert kind == NO_SUCH_INSTANCE, f"column {column}"


def test_version_1_knows_one_answer_for_both(manager):
    for oid in (f"{TUNNEL}.11.{ROW}", f"{TUNNEL}.5.{ROW}1", TUNNEL):
        response = manager.get(f"{TUNNEL}.5.{ROW}", oid, version=ber.V1)
        assert (response.error, response.index) == (ber.NO_SUCH_NAME, 2)


def test_one_request_asks_for_all_sorts_of_things(manager):
    response = manager.get(f"{PERF}.1.{ROW}", f"{TUNNEL}.11.{ROW}", f"{TUNNEL}.5.{ROW}", f"{HOP}.5.1.1.99",
                           f"{TUNNEL}.5.{ROW}", ".1.3.6.1.2.1.1.5", f"{HOP}.12.{HOP_ROW}", f"{TUNNEL}.11.{ROW}")
    assert response.error == NO_ERROR
    assert [value for _, value in response.varbinds] == [
        ("Counter32", 0), (NO_SUCH_OBJECT, None), ("STRING", b"to-paris"), (NO_SUCH_INSTANCE, None),
        ("STRING", b"to-paris"), (NO_SUCH_INSTANCE, None), ("STRING", b"gold"), (NO_SUCH_OBJECT, None)]


def test_a_whole_row_is_read_in_one_request(manager):
    oids = [f"{TUNNEL}.{column}.{ROW}" for column in sorted(SERVED[TUNNEL])]
    response = manager.get(*oids, *reversed(oids))
    assert [oid for oid, _ in response.varbinds] == [*oids, *reversed(oids)]
    assert {kind for _, (kind, _) in response.varbinds} == {"STRING", "INTEGER", "Gauge32", "Timeticks", "Counter32"}


def test_getnext_steps_over_columns_that_are_not_served(manager):
    check_next(manager, *(f"{entry}.{column}.{ROWS[entry]}" for entry in SERVED for column in range(0, 41)))


def test_getnext_with_variables_in_and_out_of_the_tables(manager):
    check_next(manager, ROOT, OIDS[-1], TABLES["hop"], OIDS[0], OIDS[298], OIDS[299], f"{ROOT}.3.2.3", f"{ROOT}.4",
               ".2.100", OIDS[-1], OIDS[-2])


@pytest.mark.parametrize("entry", SERVED, ids=TABLES)
@pytest.mark.parametrize("subid", [0, 1, 2**31 - 1, 2**31, 2**32 - 1])
def test_an_index_may_hold_any_number_and_have_any_length(manager, entry, subid):
    column = min(SERVED[entry])
    size = len(ROWS[entry].split("."))
    for length in range(0, 128 - len(numbers(entry)) - 1):
        oid = f"{entry}.{column}" + f".{subid}" * length
        kind, _ = manager.value(oid)
        assert (kind == NO_SUCH_INSTANCE) == (oid not in OIDS), f"{length} sub-identifiers where {size} make an index"
        check_next(manager, oid)


@pytest.mark.parametrize("subid", [65535, 65536, 2**31, 2**32 - 1])
def test_each_index_component_may_be_large(manager, subid):
    for entry, column in ((TUNNEL, 5), (HOP, 5), (PERF, 1)):
        index = ROWS[entry].split(".")
        for at in range(len(index)):
            oid = f"{entry}.{column}." + ".".join([*index[:at], str(subid), *index[at + 1:]])
            assert manager.value(oid) == (NO_SUCH_INSTANCE, None)
            check_next(manager, oid)


def test_getnext_with_a_part_of_an_index_or_more_than_one(manager):
    for oid in OIDS[::7]:
        parts = oid.split(".")
        check_next(manager, *(".".join(parts[:length]) for length in range(11, len(parts))), oid + ".0", oid + ".0.0")


@pytest.mark.parametrize("subid", [2**32, 2**32 + 12, 2**63, 2**64, 2**64 + 12, 2**80])
def test_a_number_that_is_no_subidentifier_is_survived(manager, subid):
    """Such a message is malformed. It may be dropped or answered, but the agent goes on."""
    for position in range(3):
        index = ROW.split(".")
        index[position] = str(subid)
        for pdu in (ber.GET, ber.GETNEXT):
            manager.send(ber.message(pdu, [(f"{TUNNEL}.5." + ".".join(index), ber.NULL)], request_id=999))
    assert manager.value(f"{TUNNEL}.5.{ROW}") == ("STRING", b"to-paris")


def bulk(oids, non_repeaters, repetitions):
    """What GETBULK gives, as far as it is not cut."""
    found = [following(oid) for oid in oids[:non_repeaters]]
    last = list(oids[non_repeaters:])
    for _ in range(repetitions):
        last = [oid and following(oid) for oid in last]
        found += last
    return found


@pytest.mark.parametrize("non_repeaters, repetitions", [(0, 1), (0, 3), (1, 5), (2, 2), (3, 10), (4, 10), (0, 0)])
def test_getbulk_repeats_what_it_is_asked_to(manager, non_repeaters, repetitions):
    oids = [f"{TUNNEL}.5", f"{HOP}.12.3.1.1", f"{PERF}.1.{ROW}"]
    response = manager.get_bulk(*oids, non_repeaters=non_repeaters, max_repetitions=repetitions)
    assert response.error == NO_ERROR
    assert [oid for oid, _ in response.varbinds] == bulk(oids, non_repeaters, repetitions)


def test_getbulk_at_the_end_says_so(manager):
    response = manager.get_bulk(OIDS[-2], max_repetitions=4)
    assert [kind for _, (kind, _) in response.varbinds][:2] == ["INTEGER", END_OF_MIB_VIEW]
    assert {oid for oid, _ in response.varbinds} == {OIDS[-1]}


def test_getbulk_is_cut_and_not_endless(manager):
    for variables in (1, 10, 50):
        oids = [f"{TUNNEL}.{column}" for column in itertools.islice(itertools.cycle(sorted(SERVED[TUNNEL])), variables)]
        response = manager.get_bulk(*oids, max_repetitions=2**31 - 1)
        assert response.error == NO_ERROR
        got = [oid for oid, _ in response.varbinds]
        assert variables <= len(got) <= 200
        assert got == bulk(oids, 0, len(got) // variables + 1)[:len(got)]


def test_a_get_whose_answer_fits_no_packet_is_too_big(manager):
    """The request fits a packet, and its answer does not: the manager is told so instead of waiting."""
    response = manager.get(*[f"{TUNNEL}.5.{ROW}"] * 2100)
    assert response.error == TOO_BIG
    assert len(manager.get(*[f"{TUNNEL}.5.{ROW}"] * 1500).varbinds) == 1500


def test_getbulk_with_numbers_below_zero(manager):
    response = manager.get_bulk(f"{TUNNEL}.5", f"{HOP}.5", non_repeaters=-1, max_repetitions=-1)
    assert response.error == NO_ERROR
    assert manager.value(f"{TUNNEL}.5.{ROW}") == ("STRING", b"to-paris")


def test_random_requests_find_their_way(manager):
    """Many variables in one GETNEXT, in any order, some twice, around the rows that there are."""
    chance = random.Random(3812)
    for _ in range(150):
        oids = []
        for oid in chance.choices(OIDS, k=chance.randint(1, 12)):
            parts = oid.split(".")
            at = chance.randrange(min(13, len(parts) - 1), len(parts))
            nudged = max(0, int(parts[at]) + chance.choice((-1, 0, 0, 1)))
            oids.append(".".join([*parts[:at], str(nudged), *parts[at + 1:]]))
        check_next(manager, *oids)


def test_what_follows_is_what_the_expected_tree_says():
    """The oracle of this file."""
    assert following(ROOT) == OIDS[0]
    assert following(OIDS[0]) == OIDS[1]
    assert following(OIDS[0] + ".0") == OIDS[1]
    assert following(f"{TUNNEL}.11") == f"{TUNNEL}.12.{ROW}"
    assert following(OIDS[-1]) is None
    assert len(below(TABLES["hop"])) == 372


def test_no_request_walks_through_the_rows(tmp_path):
    """Whatever an index names, its row is looked up: net-snmp's iterator, which walks, is not asked."""
    with Mplsted(tmp_path, "--trace", "mplsTeStdMIB=2") as daemon:
        reader = Manager(daemon.address)
        for table, index in ((TUNNEL, "1.1.1.1"), (PERF, "65536.1.1.1"), (HOP, "1.1.99"), (TUNNEL, "12"),
                             (HOP, "9.9.9.9")):
            assert reader.value(f"{table}.5.{index}") == (NO_SUCH_INSTANCE, None)
            reader.get_next(f"{table}.5.{index}")
        reader.close()
        log = daemon.log()
    assert "mplsTunnelTable_handler: request GET for column mplsTunnelName" in log
    assert "_data_point" not in log


def test_with_net_snmps_own_handlers_the_answers_are_the_same(tmp_path, manager):
    with Mplsted(tmp_path, "--table-driver", "stock", "--trace", "mplsTeStdMIB=2") as daemon:
        reader = Manager(daemon.address)
        for oid in (ROOT, *OIDS[::7]):
            if oid.split(".")[-len(ROW.split(".")) - 1] != "28":   # not those that count time
                assert reader.get_next(oid).varbinds == manager.get_next(oid).varbinds
        reader.close()
        assert "mplsTunnelTable_get_first_data_point - allocated new loop context" in daemon.log()


def test_a_getbulk_of_snmpv1_is_dropped(manager):
    """There is none in RFC 1157; net-snmp's agent never ends over one that meets a Counter64."""
    manager.send(ber.message(ber.GETBULK, [(f"{PERF}.2", ber.NULL)], 77, version=ber.V1, third=20))
    manager.send(ber.message(ber.GETNEXT, [(f"{PERF}.2", ber.NULL)], 78))
    assert ber.Response(manager.socket.recv(65536)).request_id == 78, "what comes is the answer to the next message"
