"""The tables of addresses and neighbours: what a row costs, beside the stock modules, and under ten
thousand changes a second."""

import contextlib
import time

from costs import ColumnCost, in_turns, populate
from internet import Asker
from ovo.addresses import expected
from ovo.churn import Churn, Walker, changing_lines
from ovo.daemons import WITHOUT
from ovo.router import Router
from ovo.tables import ADDR, ADDRESS, NET_TO_MEDIA, PREFIX, TABLES

COLUMNS = [(ADDR, "ipAdEntIfIndex"), (ADDRESS, "ipAddressIfIndex"),
           (PREFIX, "ipAddressPrefixOrigin"), (NET_TO_MEDIA, "ipNetToMediaIfIndex")]
SMALL, LARGE, STOCK = 100, 10_000, 1_000
ROUNDS = 5
CHURN_RATE, CHURN_SECONDS = 10_000, 60


@contextlib.contextmanager
def router_of(count, links=20):
    router = Router()
    try:
        populate(router, count, links)
        yield router
    finally:
        router.close()


def served(router):
    publisher = router.publish()
    # The daemon's ifTable loads every address of every link every few seconds, for seconds.
    agent = router.agent(without=f"{WITHOUT},ifTable,ifXTable")
    assert agent.answers()
    router.agrees(agent, within=30)
    return publisher, agent


def microseconds(*values):
    return [f"{value / 1000:.1f}" for value in values]


def rows_of_a_walk():
    """A row of a column walk, in µs, with 100 and with 10,000 addresses and neighbours"""
    yield "column", "request", SMALL, f"{LARGE:,}", "ratio"
    with router_of(SMALL) as few, router_of(LARGE) as many:
        _, small = served(few)
        _, large = served(many)
        for table, name in COLUMNS:
            low, high = ColumnCost(small, table, name), ColumnCost(large, table, name)
            for request, repetitions in (("GETNEXT", 0), ("GETBULK 50", 50)):
                a, b = in_turns(ROUNDS, lambda: low.walk(repetitions, 40),
                                lambda: high.walk(repetitions))
                yield name, request, *microseconds(a, b), f"{b / a:.2f}"


def rows_that_are_absent():
    """A request for one row of 10,000, in µs: there, and not there"""
    yield "column", "GET", "absent", "ratio", "GETNEXT", "from absent", "ratio"
    with router_of(LARGE) as router:
        _, agent = served(router)
        for table, name in COLUMNS:
            cost = ColumnCost(agent, table, name)
            get, absent, following, after = in_turns(
                ROUNDS, cost.get_present, cost.get_absent, cost.next_of_present,
                cost.next_of_absent)
            yield (name, *microseconds(get, absent), f"{absent / get:.2f}",
                   *microseconds(following, after), f"{after / following:.2f}")


def beside_the_stock_modules():
    """One column of 1,000 addresses by GETNEXT, in ms, beside the stock modules"""
    yield "column", "this module", "stock", "ratio"
    with router_of(STOCK) as router:
        _, ours = served(router)
        stock = router.agent(plugin=False)
        for table, name in COLUMNS:
            ours_cost = walk_time(ours, table.column(name))
            stock_cost = walk_time(stock, table.column(name))
            yield (name, f"{ours_cost / 1e6:.1f}", f"{stock_cost / 1e6:.1f}",
                   f"1 : {stock_cost / ours_cost:.0f}")


def walk_time(agent, column):
    """Nanoseconds of processor time of one walk."""
    before = agent.daemon.cpu()
    rows = sum(1 for _ in agent.client.walk(column))
    assert rows >= STOCK, rows
    return agent.daemon.cpu() - before


def a_minute_of_churn():
    """A minute of changes of addresses under three parallel walks"""
    yield "measure", "value"
    with router_of(STOCK, links=10) as router:
        publisher, agent = served(router)
        trees = expected(router.kernel_addresses())
        walkers = [Walker(agent, table, trees[table].indexes, repetitions)
                   for table, repetitions in zip(TABLES, (1, 10, 50))]
        latency = Asker(agent, [trees[ADDR].bindings[7].oid])
        churn = Churn(router, changing_lines("eth0", 1), CHURN_RATE, CHURN_SECONDS)
        daemons = {"kelbased": publisher, "snmpd": agent.daemon}
        for one in (latency, churn, *walkers):
            one.start()
        time.sleep(CHURN_SECONDS / 6)
        sizes = {name: daemon.status("RssAnon") for name, daemon in daemons.items()}
        churn.join()
        settled = time.monotonic()
        router.agrees(agent, within=30)
        settled = time.monotonic() - settled
        growth = {name: daemon.status("RssAnon") - sizes[name] for name, daemon in daemons.items()}
        for one in (latency, *walkers):
            one.end()
        wrong = [line for walker in walkers for line in walker.wrong]
        yield "changes a second", f"{churn.rate():,.0f}"
        yield "whole walks meanwhile", sum(walker.walks for walker in walkers)
        yield "rows walked", f"{sum(walker.rows for walker in walkers):,}"
        yield "rows skipped, repeated or out of order", len(wrong)
        yield "GETs lost", latency.lost
        yield "GET, median (wall clock)", f"{latency.percentile(0.5):.1f} ms"
        yield "GET, 99 of 100 (wall clock)", f"{latency.percentile(0.99):.1f} ms"
        for name, kilobytes in growth.items():
            yield f"{name} grew in the last 50 s", f"{kilobytes} kB"
        yield "tables are the kernel's after the end (wall clock)", f"{settled:.2f} s"


BENCHMARKS = [rows_of_a_walk, rows_that_are_absent, beside_the_stock_modules, a_minute_of_churn]
