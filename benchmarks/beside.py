"""The same walk by others: the daemon's own module, FRR's, and ours in a process of its own."""

import contextlib
import time

from ovo.daemons import BUILD, WITHOUT
from ovo.snmp import Silence
from ovo.tables import ROUTE
from report import Budget, microseconds
from rivals import Rivals
from served import CONNECTED, FULL, REPETITIONS, WALKED, an_internet, filled

SIZES = (FULL // 100, FULL // 10)
# Seconds that another daemon may take for one answer.
PATIENCE = 60.0
FEW = 2_000
WITHOUT_ROUTES = f"{WITHOUT},ip,ipCidrRouteTable,inetCidrRouteTable"
IP_FORWARD_IF_INDEX = (1, 3, 6, 1, 2, 1, 4, 24, 2, 1, 5)  # RFC 1354's table, which FRR serves


def walk_time(agent, size, column=(*ROUTE.oid, 1, WALKED)):
    """Nanoseconds of the daemon's time."""
    before = agent.daemon.cpu()
    rows = sum(1 for _ in agent.client.walk(column, repetitions=REPETITIONS))
    assert rows >= size, rows
    return agent.daemon.cpu() - before


def routes_beside_the_stock_module():
    """A walk of ipCidrRouteIfIndex by GETBULK 50, in ms, beside the stock module"""
    yield "routes", "this module", "stock", "ratio"
    for size in SIZES:
        with an_internet(size) as (router, _):
            router.publish()
            ours = filled(router.agent(), size + CONNECTED)
            stock = router.agent(plugin=False)
            stock.client.patience = PATIENCE
            try:
                costs = [walk_time(agent, size) for agent in (ours, stock)]
            finally:
                stock.daemon.kill()  # it hears of no other signal while it reads routes
            yield (f"{size:,}", *(f"{cost / 1e6:.0f}" for cost in costs),
                   f"1 : {costs[1] / costs[0]:.0f}")
    yield Budget(f"a walk of {SIZES[-1]:,} routes beside the stock module", costs[0] / costs[1], 0.1)


def routes_by_agentx():
    """A walk of one column of routes by GETBULK 50: the rows it finds, and µs a row (wall clock)"""
    yield "agent", f"rows of {FEW + CONNECTED:,}", "a row"
    with an_internet(FEW) as (router, internet):
        # Zebra takes routes of protocols that it speaks itself for its own of a former life.
        internet.take([line.replace("bgp", "static") for line in internet.lines], "replace")
        router.publish()
        ours = ROUTE.column("ipCidrRouteIfIndex")
        plain = filled(router.agent(), FEW + CONNECTED)
        yield "snmpd with the module", *walked(plain, ours)
        for name, start, column in (("snmpd with ovosnmpd behind AgentX", ovosnmpd, ours),
                                    ("snmpd with FRR's zebra behind AgentX", zebra,
                                     IP_FORWARD_IF_INDEX)):
            socket = router.dir / "agentx"
            master = router.agent(plugin=False, without=WITHOUT_ROUTES,
                                  config=f"master agentx\nagentXSocket unix:{socket}\n")
            master.client.patience = PATIENCE
            subagent = start(router, socket)
            yield name, *walked(master, column)
            subagent.stop()
            master.daemon.stop()


def ovosnmpd(router, socket):
    return router.start(router.dir / "ovosnmpd.log", "env", f"KELBASE_RUNDIR={router.rundir}", "MIBS=",
                        f"SNMPCONFPATH={router.dir}", BUILD / "bin/ovosnmpd", "-x", f"unix:{socket}")


def zebra(router, socket):
    return Rivals(router).zebra(socket)


def walked(agent, column, within=10):
    """The rows of the best walk, and microseconds a row."""
    best, deadline = (0, ""), time.monotonic() + within
    while best[0] < FEW + CONNECTED and time.monotonic() < deadline:
        start = time.monotonic()
        with contextlib.suppress(Silence):
            rows = sum(1 for _ in agent.client.walk(column, repetitions=REPETITIONS))
            if rows > best[0]:
                best = rows, microseconds(1e9 * (time.monotonic() - start) / rows)
        time.sleep(0.2)
    return best


BENCHMARKS = [routes_beside_the_stock_module, routes_by_agentx]
