"""A row costs the same in a small table and in a large one, and one that is absent little more."""

import pytest

from ovo.costs import ColumnCost, in_turns, populate
from ovo.router import Router
from ovo.tables import ADDR, ADDRESS, PREFIX

SMALL, LARGE = 100, 10_000
COLUMNS = [(ADDR, "ipAdEntIfIndex"), (ADDRESS, "ipAddressIfIndex"),
           (PREFIX, "ipAddressPrefixOrigin")]
BY_COLUMN = pytest.mark.parametrize("table, name", COLUMNS, ids=[name for _, name in COLUMNS])
# Each measure is the least of so many; more does not change it.
ROUNDS = 5


def running(router, count):
    populate(router, count)
    router.publish()
    agent = router.agent()
    assert agent.answers()
    router.agrees(agent, within=20)
    return agent


@pytest.fixture(scope="module")
def large(still_router):
    return running(still_router, LARGE)


@pytest.fixture(scope="module")
def small(still_router):
    router = Router()
    try:
        yield running(router, SMALL)
    finally:
        router.close()


@BY_COLUMN
@pytest.mark.parametrize("repetitions", [0, 50], ids=["getnext", "getbulk"])
def test_a_row_of_a_walk(small, large, table, name, repetitions):
    few, many = ColumnCost(small, table, name), ColumnCost(large, table, name)
    assert len(few.oids) >= SMALL and len(many.oids) >= LARGE
    low, high = in_turns(ROUNDS, lambda: few.walk(repetitions, 40),
                         lambda: many.walk(repetitions))
    print(f"{low:.0f} ns a row of {SMALL}, {high:.0f} ns of {LARGE}: {high / low:.2f}")
    assert high <= 1.2 * low


@BY_COLUMN
def test_a_row_that_is_absent(large, table, name):
    column = ColumnCost(large, table, name)
    oid = column.oids[1000]
    assert large.client.ask((*oid[:-1], oid[-1] + 2)) == "noSuchInstance"
    present, absent, following, after_absent = in_turns(
        ROUNDS, column.get_present, column.get_absent, column.next_of_present,
        column.next_of_absent)
    print(f"GET {present:.0f} ns, absent {absent:.0f}; GETNEXT {following:.0f} ns, "
          f"from an absent row {after_absent:.0f}")
    assert absent <= 2 * present
    assert after_absent <= 2 * following
