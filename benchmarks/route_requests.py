"""What requests for rows of ipCidrRouteTable cost, beside stubs that serve the same rows from a
sorted array: the floors that net-snmp itself leaves."""

from costs import in_turns
from ovo.tables import ROUTE
from report import Budget, microseconds
from served import FULL, SIZES, RouteCost, a_router, filled, generated, stubs

COLUMNS = tuple(range(1, 15))


def rows_of_a_route_walk():
    """A row of a walk of ipCidrRouteIfIndex by GETBULK 50, in µs, beside stubs of the same rows"""
    yield ("rows", "this module", "table iterator", "ratio", "bare GETNEXT", "ratio",
           "bare GETBULK", "ratio")
    costs = {}
    for size in SIZES:
        with a_router() as router:
            rows = generated(router, size)
            agents = [filled(router.agent(), len(rows)), *stubs(router, rows)]
            ours, *others = costs[size] = in_turns(
                3, *(RouteCost(agent, rows).walk for agent in agents))
            yield (f"{len(rows):,}", microseconds(ours),
                   *(text for stub in others for text in (microseconds(stub), f"{ours / stub:.2f}")))
    small, full = costs[SIZES[0]], costs[FULL]
    yield Budget(f"column walk of {FULL:,} rows beside a bare GETBULK handler", full[0] / full[3],
                 1.25)
    yield Budget("the same beside a bare GETNEXT handler", full[0] / full[2], 1.0)
    yield Budget(f"a row of {FULL:,} beside one of {SIZES[0]:,}, the stub's growth taken out",
                 full[0] / small[0] / (full[3] / small[3]), 1.15)


def cells_of_many_columns():
    """A cell of a walk of ipCidrRouteTable, in µs: one column by GETBULK 50, 14 by GETBULK 4"""
    yield "rows", "one column", "14 at once", "ratio", "by a bare GETBULK", "its ratio"
    for size in SIZES:
        with a_router() as router:
            rows = generated(router, size)
            bulk = stubs(router, rows)[2]
            cost, floor = (RouteCost(agent, rows) for agent in
                           (filled(router.agent(), len(rows)), bulk))
            one, many, stub_one, stub_many = in_turns(
                3, lambda: cost.walk_of((5,), 50), lambda: cost.walk_of(COLUMNS, 4),
                lambda: floor.walk_of((5,), 50), lambda: floor.walk_of(COLUMNS, 4))
            yield (f"{len(rows):,}", microseconds(one), microseconds(many), f"{many / one:.2f}",
                   microseconds(stub_many), f"{stub_many / stub_one:.2f}")
    yield Budget("a cell of 14 columns at once beside the same of a bare GETBULK handler",
                 many / stub_many, 1.25)


def routes_that_are_absent():
    """A request for one row of ipCidrRouteTable, in µs: there, and not there"""
    yield "rows", "GET", "absent", "ratio", "GETNEXT", "from absent", "ratio"
    for size in SIZES:
        with a_router() as router:
            rows = generated(router, size)
            cost = RouteCost(filled(router.agent(), len(rows)), rows)
            get, absent, following, after = in_turns(
                5, cost.present, cost.absent, cost.next_of_present, cost.next_of_absent)
            yield (f"{len(rows):,}", microseconds(get), microseconds(absent),
                   f"{absent / get:.2f}", microseconds(following), microseconds(after),
                   f"{after / following:.2f}")
    yield Budget("GET of an absent row beside one that is there", absent / get, 2.0)


def rows_that_a_view_hides():
    """A GETNEXT past all rows of ipCidrRouteTable that a view hides, in µs, beside a plain one"""
    yield "rows hidden", "past them", "past a visible one", "ratio"
    views = ("view some included .1\nview some excluded .1.3.6.1.2.1.4.24.4\n"
             "rocommunity less default -V some\n")
    for size in SIZES:
        with a_router() as router:
            rows = generated(router, size)
            agent = filled(router.agent(config=views), len(rows))
            plain = RouteCost(agent, rows)
            past = HiddenCost(agent)
            hidden, visible = in_turns(5, past.one, plain.next_of_present)
            yield (f"{len(rows):,}", microseconds(hidden), microseconds(visible),
                   f"{hidden / visible:.2f}")
    yield Budget(f"GETNEXT past {FULL:,} hidden rows beside a plain one", hidden / visible, 2.0)


class HiddenCost:
    """GETNEXT from before the table, by a community that does not see it."""

    def __init__(self, agent):
        self._agent, self._client = agent, agent.new_client("less")

    def one(self, times=500):
        before = self._agent.daemon.cpu()
        for _ in range(times):
            found = self._client.getnext(ROUTE.oid).bindings[0].oid
            assert found[:len(ROUTE.oid)] != ROUTE.oid, found
        return (self._agent.daemon.cpu() - before) / times


BENCHMARKS = [rows_of_a_route_walk, cells_of_many_columns, routes_that_are_absent,
              rows_that_a_view_hides]
