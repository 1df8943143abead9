"""Routers with a table of the internet's size, and what requests for its rows cost an agent."""

import contextlib
import os
import struct

import made_routes
from internet import Internet, of_batch, some
from ovo import routes
from ovo.daemons import WITHOUT, eventually
from ovo.router import Router
from ovo.tables import ROUTE

FULL = int(os.environ.get("OVO_ROUTES", "1000000"))
SIZES = sorted({FULL // 100, FULL // 10, FULL})
REPETITIONS = 50
WALKED = 5  # ipCidrRouteIfIndex
CONNECTED = 4  # the rows of the links' own addresses
STUBS = ("StubIterator", "StubDirect", "StubBulk")
STUB_ALONE = f"{WITHOUT},ip,ipCidrRouteTable,inetCidrRouteTable"


@contextlib.contextmanager
def a_router():
    router = Router()
    try:
        yield router
    finally:
        router.close()


@contextlib.contextmanager
def an_internet(count=FULL):
    """A router whose kernel holds so many routes."""
    with a_router() as router:
        internet = Internet(router, count).connect()
        internet.take(internet.lines)
        yield router, internet


def load(router, made):
    router.ctl("load", "-", text=made_routes.ip_json(made), timeout=120)


def generated(router, count):
    """Publishes such a table without a kernel; its rows."""
    internet = Internet(router, count)
    load(router, internet.made)
    links = {f"gen{n}": n + 2 for n in range(CONNECTED)}
    connected = [routes.Row(routes.address(f"198.18.{n}.0"), routes.MASKS[24], 0, n + 2, 2, 0, 0)
                 for n in range(CONNECTED)]
    return sorted(of_batch(internet.lines, links) + connected)


def filled(agent, count, within=60, name="ipCidrRouteNumber.0"):
    """Waits for so many rows, and for them to be the module's."""
    assert eventually(lambda: agent.ours() and agent.ask(name) == count, within)
    return agent


def stubs(router, rows):
    """Agents that serve the same rows from a sorted array."""
    path = router.dir / "rows"
    with open(path, "wb") as file:
        for row in rows:
            file.write(struct.pack("=IIIiiii", row.dest, row.mask, row.next_hop, row.if_index,
                                   row.protocol, row.metric, row.preference))
    return [router.agent(module=stub, env={"STUB_ROWS": path}, without=STUB_ALONE)
            for stub in STUBS]


def anonymous(daemon):
    """Octets of memory of its own, without the shared tables."""
    return 1024 * daemon.status("RssAnon")


class RouteCost:
    """What requests for rows of one agent cost it, in nanoseconds."""

    def __init__(self, agent, rows):
        self._agent, self._rows = agent, rows
        self._bindings = routes.bindings(WALKED, rows, routes.indexes(rows))
        column = (*ROUTE.oid, 1, WALKED)
        self._some = [(*column, *row.index()) for row in some(rows, 500)]
        self._beside = [(*oid[:-1], oid[-1] ^ 1) for oid in self._some]

    def walk(self):
        """A row of walking one column, a small table as often as takes the time of the largest: the
        least of short measures would fall between what else the machine does."""
        walks, before = max(1, FULL // len(self._rows)), self._agent.daemon.cpu()
        for _ in range(walks):
            walk = routes.ColumnWalk(self._agent.client, WALKED, self._bindings, REPETITIONS)
            assert walk.differences() == []
        return (self._agent.daemon.cpu() - before) / len(self._rows) / walks

    def walk_of(self, columns, repetitions):
        """A cell of walking so many columns side by side, over a tenth of the rows."""
        client, rows = self._agent.client, len(self._rows) // 10
        names, cells, before = [(*ROUTE.oid, 1, n) for n in columns], 0, self._agent.daemon.cpu()
        while cells < rows * len(columns):
            answer = client.getbulk(*names, repetitions=repetitions).bindings
            answer = answer[:len(answer) - len(answer) % len(columns)]
            names = [one.oid for one in answer[-len(columns):]]
            cells += len(answer)
        return (self._agent.daemon.cpu() - before) / cells

    def present(self):
        return self._each(self._agent.client.get, self._some)

    def absent(self):
        return self._each(self._agent.client.get, self._beside)

    def next_of_present(self):
        return self._each(self._agent.client.getnext, self._some)

    def next_of_absent(self):
        return self._each(self._agent.client.getnext, self._beside)

    def next_of(self, name, times=500):
        return self._each(self._agent.client.getnext, [name] * times)

    def _each(self, ask, oids):
        before = self._agent.daemon.cpu()
        for one in oids:
            ask(one)
        return (self._agent.daemon.cpu() - before) / len(oids)
