"""inetCidrRouteTable with a quarter as many IPv6 routes beside the internet's: what a row of a walk, the
memory and the start cost, and what a walk of everything does to others."""

import time

import made_routes
from costs import in_turns
from internet import OID_OF_UPTIME, Asker
from ovo import ber
from ovo.tables import EVERY_TABLE, IP, ROUTE
from report import Budget, microseconds
from served import CONNECTED, FULL, REPETITIONS, a_router, anonymous, filled

FULL6 = FULL // 4
INET_ROUTE = EVERY_TABLE["inetCidrRouteTable"]
BEHIND4 = (*INET_ROUTE.column("inetCidrRouteIfIndex"), 2)  # the rows of IPv4 are before it


def load(router, count6):
    router.ctl("load", "-", timeout=120, text=made_routes.ip_json(
        made_routes.routes(FULL), made_routes.routes6(count6)))


def started(router, count6):
    """An agent once it serves the last row of both tables, and its start in seconds."""
    start = time.monotonic()
    agent = filled(router.agent(), FULL + CONNECTED)
    filled(agent, FULL + CONNECTED + count6, name="inetCidrRouteNumber.0")
    return agent, time.monotonic() - start


def rows_behind(agent, column, start=None, until=None):
    """Walks a column by GETBULK from `start` on; the agent's processor time a row."""
    head, last = ber.oid_body(column), ber.oid_body(start or column)
    end = ber.oid_body(until) if until else None
    rows, before = 0, agent.daemon.cpu()
    while True:
        for _, binding in ber.elements(agent.client.bulk_bytes(last, REPETITIONS)):
            last = ber.take(binding)[1]
            if not last.startswith(head) or (end and last.startswith(end)):
                return (agent.daemon.cpu() - before) / rows
            rows += 1


def rows_of_both_families():
    """A row of a walk of inetCidrRouteIfIndex by GETBULK 50, in µs, beside ipCidrRouteIfIndex"""
    yield "rows", "ipCidrRouteTable", "of IPv4", "ratio", "of IPv6", "ratio", "age, IPv6"
    with a_router() as router:
        load(router, FULL6)
        agent, _ = started(router, FULL6)
        column = INET_ROUTE.column("inetCidrRouteIfIndex")
        age = INET_ROUTE.column("inetCidrRouteAge")
        old, of4, of6, ages = in_turns(
            3, lambda: rows_behind(agent, ROUTE.column("ipCidrRouteIfIndex")),
            lambda: rows_behind(agent, column, until=BEHIND4),
            lambda: rows_behind(agent, column, start=BEHIND4),
            lambda: rows_behind(agent, age, start=(*age, 2)))
        yield (f"{FULL:,} and {FULL6:,}", microseconds(old), microseconds(of4), f"{of4 / old:.2f}",
               microseconds(of6), f"{of6 / old:.2f}", microseconds(ages))
    yield Budget("a row of inetCidrRouteTable beside one of ipCidrRouteTable, IPv4", of4 / old, 1.4)
    yield Budget("the same, IPv6", of6 / old, 1.4)


def start_with_both_families():
    """snmpd started on published routes of both families (wall clock), and its memory"""
    yield "IPv4 and IPv6 routes", "from its start", "processor time", "octets of its own"
    memory = {}
    for count6 in (0, FULL6):
        with a_router() as router:
            load(router, count6)
            seconds = []
            for _ in range(3):
                agent, taken = started(router, count6)
                seconds.append(taken)
                memory[count6] = anonymous(agent.daemon)
                cpu = agent.daemon.cpu()
                agent.daemon.stop()
            yield (f"{FULL:,} and {count6:,}", f"{min(seconds):.2f} s", f"{cpu / 1e9:.2f} s",
                   f"{memory[count6]:,}")
    yield Budget("snmpd from its start to the last row of both families", min(seconds), 1.3, "s")
    yield Budget("snmpd, memory of its own an IPv6 row", (memory[FULL6] - memory[0]) / FULL6, 130,
                 "octets")


def gets_while_everything_is_walked():
    """GETs, 100 a second, while a manager walks 1.3.6.1.2.1.4 by GETBULK 50 (wall clock)"""
    yield "measure", "this module", "nobody walks"
    with a_router() as router:
        load(router, FULL6)
        agent, _ = started(router, FULL6)
        askers = [Asker(agent, [OID_OF_UPTIME]) for _ in range(2)]
        askers[1].start()
        time.sleep(5)
        askers[1].end()
        askers[0].start()
        start, walked = time.monotonic(), 0
        for _ in agent.new_client().walk(IP, repetitions=REPETITIONS):
            walked += 1
            if time.monotonic() - start > 60:
                break
        taken = time.monotonic() - start
        askers[0].end()
        yield "objects walked a second", f"{walked / taken:,.0f}", ""
        for name, part in (("median", 0.5), ("99 of 100", 0.99), ("the longest", 1.0)):
            yield f"GET, {name}", *(f"{one.percentile(part):.1f} ms" for one in askers)
    yield Budget("a GET amid a walk of everything, 99 of 100", askers[0].percentile(0.99), 15, "ms")


BENCHMARKS = [rows_of_both_families, start_with_both_families, gets_while_everything_is_walked]
