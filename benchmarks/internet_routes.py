"""ipCidrRouteTable at the internet's size: what a row costs beside stubs that serve the same rows
from a sorted array, and how soon and how undisturbed it is there."""

import contextlib
import os
import socket
import struct
import time

from ovo import made_routes, routes
from ovo.costs import in_turns
from ovo.daemons import WITHOUT, eventually
from ovo.internet import OID_OF_UPTIME, Asker, Internet, instances, some
from ovo.router import Router
from ovo.tables import ROUTE

FULL = int(os.environ.get("OVO_ROUTES", "1000000"))
SIZES = sorted({FULL // 100, FULL // 10, FULL})
STOCK = (FULL // 100, FULL // 10)
# Seconds that the stock daemon may take for one answer.
STOCK_PATIENCE = 60.0
REPETITIONS = 50
CHURN_SECONDS = int(os.environ.get("OVO_CHURN_SECONDS", "60"))
WALKED = 5  # ipCidrRouteIfIndex
STUBS = ("StubIterator", "StubDirect", "StubBulk")
STUB_ALONE = f"{WITHOUT},ip,ipCidrRouteTable,inetCidrRouteTable"


@contextlib.contextmanager
def a_router():
    router = Router()
    try:
        yield router
    finally:
        router.close()


def stub_file(router, rows):
    path = router.dir / "rows"
    with open(path, "wb") as file:
        for row in rows:
            file.write(struct.pack("=IIIiiii", row.dest, row.mask, row.next_hop, row.if_index,
                                   row.protocol, row.metric, row.preference))
    return path


def load(router, made):
    router.ctl("load", "-", text=made_routes.ip_json(made), timeout=120)


def generated(router, count):
    """Publishes such a table without a kernel; its rows."""
    internet = Internet(router, count)
    load(router, internet.made)
    lines = internet.lines
    links = {f"gen{n}": n + 2 for n in range(4)}
    connected = [routes.Row(routes.address(f"198.18.{n}.0"), routes.MASKS[24], 0, n + 2, 2, 0, 0)
                 for n in range(4)]
    return sorted(routes.of_batch(lines, links) + connected)


def filled(agent, count, within=60):
    assert eventually(lambda: agent.ask("ipCidrRouteNumber.0") == count, within)
    return agent


class RouteCost:
    """What requests for rows of one agent cost it."""

    def __init__(self, agent, rows):
        self._agent, self._rows = agent, rows
        self._bindings = routes.bindings(WALKED, rows, routes.indexes(rows))
        column = (*ROUTE.oid, 1, WALKED)
        self._some = [(*column, *row.index()) for row in some(rows, 500)]
        self._beside = [(*oid[:-1], oid[-1] ^ 1) for oid in self._some]

    def walk(self):
        """Nanoseconds a row of walking one column."""
        before = self._agent.daemon.cpu()
        walk = routes.ColumnWalk(self._agent.client, WALKED, self._bindings, REPETITIONS)
        assert walk.differences() == []
        return (self._agent.daemon.cpu() - before) / len(self._rows)

    def present(self):
        return self._each(self._agent.client.get, self._some)

    def absent(self):
        return self._each(self._agent.client.get, self._beside)

    def next_of_present(self):
        return self._each(self._agent.client.getnext, self._some)

    def next_of_absent(self):
        return self._each(self._agent.client.getnext, self._beside)

    def _each(self, ask, oids):
        before = self._agent.daemon.cpu()
        for one in oids:
            ask(one)
        return (self._agent.daemon.cpu() - before) / len(oids)


def microseconds(value):
    return f"{value / 1000:.2f}"


def rows_of_a_route_walk():
    """A row of a walk of ipCidrRouteIfIndex by GETBULK 50, in µs, beside stubs of the same rows"""
    yield ("rows", "this module", "iterator over an array", "ratio", "array without helpers",
           "ratio", "the same by whole GETBULKs", "ratio")
    for size in SIZES:
        with a_router() as router:
            rows = generated(router, size)
            path = stub_file(router, rows)
            agents = [filled(router.agent(), len(rows))]
            agents += [router.agent(module=stub, env={"STUB_ROWS": path}, without=STUB_ALONE)
                       for stub in STUBS]
            ours, *stubs = in_turns(
                3 if size > 100_000 else 5, *(RouteCost(agent, rows).walk for agent in agents))
            yield (f"{len(rows):,}", microseconds(ours),
                   *(text for stub in stubs for text in (microseconds(stub), f"{ours / stub:.2f}")))


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


def anonymous(daemon):
    """Octets of memory of its own, without the shared tables."""
    return 1024 * daemon.status("RssAnon")


def start_on_published_routes():
    """snmpd started on published routes: when the last row is there (wall clock), and its memory"""
    yield "rows", "from its start", "first answer after", "processor time", "octets a row"
    with a_router() as router:
        load(router, [])
        empty = filled(router.agent(), 4)
        size = anonymous(empty.daemon)
        load(router, made_routes.routes(FULL))
        filled(empty, FULL + 4)
        times = []
        for _ in range(3):
            start = time.monotonic()
            agent = router.agent()
            up = time.monotonic() - start
            filled(agent, FULL + 4)
            times.append((time.monotonic() - start, up, agent.daemon.cpu(),
                          anonymous(agent.daemon) - size))
            agent.daemon.stop()
        total, up, cpu, memory = min(times)
        yield (f"{FULL + 4:,}", f"{total:.2f} s", f"{up:.2f} s", f"{cpu / 1e9:.2f} s",
               f"{memory / FULL:.0f}")


def bare_dump(router):
    """Seconds that a dump of the main table takes when nobody looks at what comes."""
    def asking():
        link = socket.socket(socket.AF_NETLINK, socket.SOCK_RAW, socket.NETLINK_ROUTE)
        link.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 1 << 20)
        return link

    # RTM_GETROUTE, NLM_F_REQUEST | NLM_F_DUMP, AF_INET.
    request = struct.pack("=IHHII", 28, 26, 0x301, 1, 0) + struct.pack("=8BI", 2, *[0] * 7, 0)
    with router.space.inside(asking) as link:
        buffer = bytearray(1 << 20)
        start = time.monotonic()
        link.send(request)
        while True:
            size = link.recv_into(buffer)
            if struct.unpack_from("=H", buffer, 4)[0] == 3 or size == 0:  # NLMSG_DONE
                return time.monotonic() - start


def the_whole_road():
    """From a kernel that holds the routes to the last row, both daemons starting (wall clock)"""
    yield "routes", "bare dump", "kelbased and snmpd", "ratio", "kelbased's part"
    with a_router() as router:
        internet = Internet(router, FULL).connect()
        internet.take(internet.lines)
        dump, total, published = [], [], []
        for _ in range(3):
            dump.append(bare_dump(router))
            start = time.monotonic()
            publisher = router.publish(wait=False)
            agent = router.agent(up=False)
            router.wait_published(publisher)
            published.append(time.monotonic() - start)
            filled(agent, FULL + 4)
            total.append(time.monotonic() - start)
            agent.daemon.stop()
            publisher.stop()
            router.forget_tables()
        yield (f"{FULL:,}", f"{min(dump):.2f} s", f"{min(total):.2f} s",
               f"{min(total) / min(dump):.1f}", f"{min(published):.2f} s")


def gets_while_routes_churn():
    """GETs, 100 a second, while the whole table is loaded and withdrawn in a loop (wall clock)"""
    yield "measure", "value"
    with a_router() as router:
        internet = Internet(router, FULL).connect()
        publisher = router.publish()
        staying, others = internet.lines[:1000], internet.lines[1000:]
        internet.take(staying)
        rows = internet.rows(staying)
        agent = filled(router.agent(), len(rows))
        asker = Asker(agent, instances(some(rows)))
        # What the machine itself does to a daemon that has nothing to do with routes.
        beside = Asker(router.agent(plugin=False), [OID_OF_UPTIME])
        asker.start()
        beside.start()
        start = time.monotonic()
        changes = 0
        while time.monotonic() - start < CHURN_SECONDS:
            internet.take(others)
            end = internet.take(others, "del")
            changes += 2 * len(others)
        filled(agent, len(rows))
        settled = time.monotonic() - end
        asker.end()
        beside.end()
        yield "route changes a second that the kernel took", f"{changes / (end - start):,.0f}"
        yield "GETs", f"{len(asker.times):,}"
        yield "GETs lost", asker.lost
        yield "rows absent that were not withdrawn", len(asker.absent)
        yield "GET, median", f"{asker.percentile(0.5):.1f} ms"
        yield "GET, 99 of 100", f"{asker.percentile(0.99):.1f} ms"
        yield "GET, the longest", f"{asker.percentile(1.0):.1f} ms"
        yield "of a stock snmpd beside it, 99 of 100", f"{beside.percentile(0.99):.1f} ms"
        yield "of a stock snmpd beside it, the longest", f"{beside.percentile(1.0):.1f} ms"
        yield "rows are the kernel's after its end", f"{settled:.2f} s"
        yield "kelbased, memory of its own at the end", f"{anonymous(publisher) / 1e6:.0f} MB"


def routes_beside_the_stock_module():
    """A walk of ipCidrRouteIfIndex by GETBULK 50, in ms, beside the stock module"""
    yield "routes", "this module", "stock", "ratio"
    for size in STOCK:
        with a_router() as router:
            internet = Internet(router, size).connect()
            internet.take(internet.lines)
            router.publish()
            ours = filled(router.agent(), size + 4)
            stock = router.agent(plugin=False)
            stock.client.patience = STOCK_PATIENCE
            try:
                costs = [walk_time(agent, size) for agent in (ours, stock)]
            finally:
                stock.daemon.kill()  # it hears of no other signal while it reads routes
            yield (f"{size:,}", *(f"{cost / 1e6:.0f}" for cost in costs),
                   f"1 : {costs[1] / costs[0]:.0f}")


def walk_time(agent, size):
    before = agent.daemon.cpu()
    rows = sum(1 for _ in agent.client.walk((*ROUTE.oid, 1, WALKED), repetitions=REPETITIONS))
    assert rows >= size, rows
    return agent.daemon.cpu() - before


BENCHMARKS = [rows_of_a_route_walk, routes_that_are_absent, start_on_published_routes,
              the_whole_road, gets_while_routes_churn, routes_beside_the_stock_module]
