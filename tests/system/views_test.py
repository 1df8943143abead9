"""Every request gets the answer of net-snmp's own table iterator, and hidden rows cost nothing.

Two daemons serve the same tables: ours, and one whose module has no row server
(tests/plugin/iterator_alone.cc). Each request goes to both, and whole PDUs are compared, but for
values that are a daemon's own: those of its own objects, and the time since its start.

Where a view hides something, net-snmp (5.9.3) miscounts the repetitions of a GETBULK: a binding
holds the answer to another name, all of them are an error, or the daemon runs in a circle for ever.
There the iterator is asked by GETNEXT, binding by binding, which is what a GETBULK is (RFC 3416,
4.2.3).
"""

import itertools
import random

import pytest

from ovo import ber, snmp
from ovo.ber import dotted, oid
from ovo.daemons import LONG, WITHOUT, eventually
from ovo.inet_routes import INET_ROUTE
from ovo.tables import ADDR, ADDRESS, EVERY_TABLE, HEALTH, IP, ROUTE, SCALARS, STATS

SERVED = sorted(one for one in (*SCALARS.values(), *(table.oid for table in EVERY_TABLE.values()))
                if one[:len(HEALTH)] != HEALTH)  # whose values change by the second
AGE = INET_ROUTE.column("inetCidrRouteAge")
ALL = (True, (1, 3, 6, 1), ())
MOST = 2**32 - 1
REQUESTS = 100_000 // 7 if LONG else 200  # of each view, and of small messages
CHANGES = itertools.count(1)
RESPONSES = 100  # of a GETBULK's repeated names, by the daemon's own choice


def _without(*subtrees):
    return [ALL] + [(False, one, mask) for one, mask in subtrees]


def _mask(size, wild):
    """All bits but one."""
    return tuple(at != wild for at in range(size))


# Objects of other modules are shown, but for the last view: where they are hidden, many a GETBULK of
# several names is an error of all (genErr, NULL values), in a daemon without our module too.
VIEWS = {
    "everything": _without(),
    "tables": _without((ROUTE.oid, ()), (ADDRESS.oid, ())),
    "columns": _without(*((table.column(name), ()) for table, name in (
        (ROUTE, "ipCidrRouteDest"), (ROUTE, "ipCidrRouteProto"), (ROUTE, "ipCidrRouteStatus"),
        (INET_ROUTE, "inetCidrRouteType"), (INET_ROUTE, "inetCidrRouteStatus"),
        (ADDRESS, "ipAddressIfIndex"), (ADDR, "ipAdEntNetMask")))),
    "rows": _without(((*ROUTE.oid, 1, 0, 10, 5), _mask(13, 10)), ((*ADDR.oid, 1, 2, 10, 0, 0), ()),
                     ((*ADDRESS.oid, 1, 0, 2), _mask(11, 9)),
                     ((*ROUTE.oid, 1, 0, 10, 7, 4, 0), _mask(15, 10))),
    "families": _without(((*INET_ROUTE.oid, 1, 0, 2), _mask(12, 10)),
                         ((*INET_ROUTE.oid, 1, 0, 1, 4, 10), _mask(14, 10))),
    "islands": [*_without(*((table.oid, ()) for table in EVERY_TABLE.values())),
                (True, (*ROUTE.column("ipCidrRouteProto"), 10, 3), ()),
                (True, (*ADDR.oid, 1, 0, 10, 0, 1), _mask(13, 9)),
                (True, ADDRESS.column("ipAddressStatus"), ()),
                (False, (*ADDRESS.column("ipAddressStatus"), 1, 4, 10, 0), ())],
    "alone": [(True, one, ()) for one in ((*IP, 1), ADDR.oid, ROUTE.oid, STATS.oid)],
}


def view_lines():
    for name, families in VIEWS.items():
        for shown, subtree, mask in families:
            bits = "".join("1" if bit else "0" for bit in mask)
            octets = [f"{int(bits[at:at + 8].ljust(8, '1'), 2):02x}"
                      for at in range(0, len(bits), 8)]
            yield (f"view {name} {'included' if shown else 'excluded'} .{dotted(subtree)} "
                   f"{':'.join(octets)}")
        for version in ("v1", "v2c"):
            yield f"com2sec {name} default {name}"
            yield f"group {name} {version} {name}"
        yield f'access {name} "" any noauth exact {name} {name} none'


def is_ours(name):
    return any(name[:len(one)] == one for one in SERVED)


def is_of_time(binding):
    return binding.kind == "TimeTicks" or binding.oid[:len(AGE)] == AGE


def comparable(answer):
    # A SET of what can be no instance: nothing here can be created or written, and that comes first
    # (RFC 3416, 4.2.5). The iterator never hears of it.
    error = "notWritable" if answer.error == "noCreation" else answer.error
    return answer._replace(error=error, bindings=[
        one if is_ours(one.oid) and not is_of_time(one) else one._replace(value=None)
        for one in answer.bindings])


class Request:
    """A random one about names in, between and around the tables."""

    def __init__(self, chance, known):
        self.kind = chance.choice((snmp.GET, snmp.GETNEXT, snmp.GETBULK, snmp.GETBULK, snmp.SET))
        self.names = [self._name(chance, chance.choice(known).oid)
                      for _ in range(chance.choice((1, 1, 2, 3, 9, 9, 40)))]
        self.names += chance.choice(((), (), (), self.names[:1]))  # one of them twice
        self.first = self.second = 0
        self.version = chance.choice((0, 1, 1, 1))
        if self.kind == snmp.GETBULK:
            self.version, size = 1, len(self.names)
            self.first = chance.choice((0, 0, chance.randrange(size + 1), size, size + 3))
            self.second = chance.choice((0, 1, 2, 10, 60))
        self.value = ("INTEGER", 1) if self.kind == snmp.SET else ()

    @staticmethod
    def _name(chance, name):
        if chance.random() < 0.35:
            name = name[:chance.randrange(6, len(name) + 1)]
        if chance.random() < 0.4:
            near = name[-1] + chance.choice((-1, 1, 100, 2**31))
            name = (*name[:-1], min(max(0, near), MOST))
        if chance.random() < 0.1:
            at = chance.randrange(5, len(name))
            name = (*name[:at], chance.choice((0, 1, 255, 256, 2**31)), *name[at + 1:])
        return name + chance.choice(((),) * 9 + ((0,), (1,), (MOST, MOST)))

    def ask(self, client):
        return client.raw(self.kind, [ber.encode_binding(name, *self.value) for name in self.names],
                          self.first, self.second, self.version)

    def by_getnext(self, client):
        """What a GETBULK is by itself, in so many repetitions as the daemon allows."""
        asked, told = list(self.names), []
        once = min(self.first, len(asked))
        again = len(asked) - once
        rounds = min(self.second, RESPONSES // again) if again else 0
        for turn in [range(once), *([range(once, len(asked))] * rounds)]:
            if len(told) > once and all(one.kind == "endOfMibView" for one in told[-again:]):
                break  # more of them would tell nothing
            for at in turn:
                told += client.getnext(asked[at]).bindings
                asked[at] = told[-1].oid
        return snmp.Answer("noError", 0, told)

    def __str__(self):
        return (f"{self.kind:#x} of version {self.version}, {self.first}, {self.second}: "
                f"{[dotted(name) for name in self.names]}")


class Pair:
    """Ours and the iterator's daemon over one router, which changes."""

    def __init__(self, router, config):
        env = self._frozen_counters(router)
        self.router = router
        # Of vmstat's objects some come to be only with time.
        self.agents = [router.agent(config=config, env=env, library=library,
                                    without=WITHOUT + ",vmstat")
                       for library in (None, "OvoSnmpIterator")]
        assert all(agent.answers() for agent in self.agents)
        self.known = []

    @staticmethod
    def _frozen_counters(router):
        frozen, env = router.fresh_dir("proc", readable=True), {}
        for name in ("snmp", "netstat", "snmp6"):
            kept = router.rundir / f"net-{name}"  # in the layout that the agent reads
            (frozen / name).write_text(
                kept.read_text() if kept.exists() else router.space.run("cat", f"/proc/net/{name}"))
            env[f"PROC_NET_{name.upper()}"] = frozen / name
        return env

    def change(self, chance):
        """Some of everything comes and goes; both daemons have it when this returns."""
        number, low = next(CHANGES), chance.randrange(250)
        self.router.batch(
            f"route replace 10.{chance.randrange(3, 12)}.{low}.0/24 via 10.0.{low % 3}.99",
            f"addr replace 10.0.{low % 3}.{low}/{chance.randrange(24, 31)} dev eth1",
            f"neigh replace 10.0.1.{low} lladdr 02:00:00:00:01:{low:02x} dev eth2",
            f"route del {chance.choice(self._kernel_routes())}",
            f"route add 10.200.0.{number}/32 dev eth1")
        mark = (*ROUTE.column("ipCidrRouteDest"), 10, 200, 0, number)

        def walks():
            return [[one for subtree in SERVED for one in comparable(snmp.Answer(
                "noError", 0, list(agent.client.walk(subtree, repetitions=50)))).bindings]
                    for agent in self.agents]

        def agree():
            ours, others = walks()
            self.known = ours
            return ours == others and any(one.oid[:len(mark)] == mark for one in ours)
        assert eventually(agree, 10)

    def _kernel_routes(self):
        lines = self.router.ip("route", "show", "scope", "link").splitlines()
        return [line.split()[0] for line in lines if "proto" not in line]


def check(request, clients, view="everything", spare=0):
    """`spare`: so many bindings more one of them may tell, and a NULL where it left off."""
    if view != "everything" and request.kind == snmp.GETBULK:
        ours = snmp.decoded(*request.ask(clients[0]))
        if view == "alone" and ours.error == "genErr" and len(request.names) > 1:
            return
        right = request.by_getnext(clients[1])
        if len(request.names) > 1 and any(one.kind == "endOfMibView" for one in right.bindings):
            spare = len(right.bindings)  # the agent then ends too soon
    else:
        ours, right = (request.ask(client) for client in clients)
        if ours == right:
            return
        ours, right = snmp.decoded(*ours), snmp.decoded(*right)
    ours, right = comparable(ours), comparable(right)
    assert ours[:2] == right[:2], str(request)
    assert abs(len(ours.bindings) - len(right.bindings)) <= spare, str(request)
    wrong = [(str(one), str(other)) for one, other in zip(ours.bindings, right.bindings)
             if one != other and not one.kind == other.kind == "endOfMibView"
             and not (spare and "NULL" in (one.kind, other.kind))]
    assert not wrong, (str(request), wrong)


@pytest.fixture(scope="module")
def published(still_router):
    router = still_router
    router.links_up("eth1", "eth2")
    router.batch(*(f"addr add 10.0.{n % 3}.{n + 1}/{24 + n % 8} dev eth1" for n in range(30)),
                 *(f"addr add 2001:db8::{n + 1:x}/{64 + n} dev eth2 nodad" for n in range(10)),
                 *(f"neigh add 10.0.2.{n} lladdr 02:00:00:00:00:{n:02x} dev eth{n % 2 + 1}"
                   for n in range(100, 110)),
                 *(f"neigh add {net}::{n} lladdr 02:00:00:00:00:{n:02x} dev eth{n % 2 + 1}"
                   for net in ("fe80", "2001:db8") for n in range(10, 20)))
    router.batch(*(f"route add 10.{n % 9 + 3}.{n}.0/24 dev eth{n % 2 + 1}" for n in range(90)))
    router.publish()
    return router


@pytest.fixture(scope="module")
def pair(published):
    return Pair(published, "\n".join((*view_lines(), "")))


@pytest.mark.parametrize("view", VIEWS)
def test_every_answer_is_the_iterators(pair, view):
    chance = random.Random(view)
    clients = [agent.new_client(view) for agent in pair.agents]
    for turn in range(REQUESTS):
        if turn % (REQUESTS // 4) == 0:
            pair.change(chance)
        check(Request(chance, pair.known), clients, view)


def test_every_answer_is_the_iterators_where_messages_are_small(published):
    pair = Pair(published, "[snmp] sendMessageMaxSize 1472\nmaxGetbulkResponses 2000\n")
    chance = random.Random(1472)
    pair.change(chance)
    for _ in range(REQUESTS):
        # The agent stops between two passes, and leaves what it was about to search for as NULL. The
        # iterator takes a pass more at the end of a column.
        request = Request(chance, pair.known)
        check(request, [one.client for one in pair.agents], spare=len(request.names))


def test_hidden_rows_cost_nothing(router):
    router.links_up("eth1")
    router.batch(*(f"route add 10.{n // 250}.{n % 250}.0/24 dev eth1" for n in range(20_000)))
    router.publish()
    agent = router.agent(config="view most included .1.3.6.1.2.1.4\n"
                         f"view most excluded .{dotted(ROUTE.column('ipCidrRouteMask'))}\n"
                         f"view most excluded .{dotted((*ROUTE.column('ipCidrRouteTos'), 10))}\n"
                         "rocommunity most default -V most\n")
    assert agent.answers()
    router.routes_agree(agent, within=20)

    def cost(client):
        began = agent.daemon.cpu()
        for _ in range(20):
            last = (*ROUTE.column("ipCidrRouteDest"), *oid("10.79.249.0.255.255.255.0.0.0.0.0.0"))
            assert client.getnext(last).bindings
        return agent.daemon.cpu() - began
    plain, hidden = cost(agent.client), cost(agent.new_client("most"))
    assert hidden < 4 * plain, (hidden, plain)  # and not 40,000 steps
