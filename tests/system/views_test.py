"""What a view hides is passed over, in every request alike, at no cost.

What each view shows is computed here, by the rule of RFC 3415 (vacmViewTreeFamilyTable).
"""

import bisect
import random

import pytest

from ovo.ber import dotted, oid
from ovo.tables import ADDR, ADDRESS, IP, PREFIX, ROUTE, ROUTE_NUMBER

TABLES = (ADDR, PREFIX, ADDRESS, ROUTE)
SERVED = ((*IP, 1), ROUTE_NUMBER, (*IP, 25), *(table.oid for table in TABLES))
# All else is shown: net-snmp (5.9.3) miscounts the repetitions of a GETBULK where it has to hide what
# its own modules have answered.
ALL = (True, (1, 3, 6, 1, 2, 1), ())


def _without(*subtrees):
    return [ALL] + [(False, one, mask) for one, mask in subtrees]


def _mask(size, wild):
    """All bits but one."""
    return tuple(at != wild for at in range(size))


VIEWS = {
    "everything": _without(),
    "tables": _without((ROUTE.oid, ()), (ADDRESS.oid, ())),
    "columns": _without(*((table.column(name), ()) for table, name in (
        (ROUTE, "ipCidrRouteDest"), (ROUTE, "ipCidrRouteProto"), (ROUTE, "ipCidrRouteStatus"),
        (ADDRESS, "ipAddressIfIndex"), (ADDR, "ipAdEntNetMask")))),
    "rows": _without(((*ROUTE.oid, 1, 0, 10, 5), _mask(13, 10)), ((*ADDR.oid, 1, 2, 10, 0, 0), ()),
                     ((*ADDRESS.oid, 1, 0, 2), _mask(11, 9)),
                     ((*ROUTE.oid, 1, 0, 10, 7, 4, 0), _mask(15, 10))),
    "islands": [ALL, *((False, table.oid, ()) for table in TABLES),
                (True, (*ROUTE.column("ipCidrRouteProto"), 10, 3), ()),
                (True, (*ADDR.oid, 1, 0, 10, 0, 1), _mask(13, 9)),
                (True, ADDRESS.column("ipAddressStatus"), ()),
                (False, (*ADDRESS.column("ipAddressStatus"), 1, 4, 10, 0), ())],
}


def view_lines():
    for name, families in VIEWS.items():
        for shown, subtree, mask in families:
            bits = "".join("1" if bit else "0" for bit in mask)
            octets = [f"{int(bits[at:at + 8].ljust(8, '1'), 2):02x}"
                      for at in range(0, len(bits), 8)]
            yield (f"view {name} {'included' if shown else 'excluded'} .{dotted(subtree)} "
                   f"{':'.join(octets)}")
        yield f"rocommunity {name} default -V {name}"


def is_shown(view, name):
    def covers(subtree, mask):
        return len(name) >= len(subtree) and all(
            name[at] == arc or (at < len(mask) and not mask[at])
            for at, arc in enumerate(subtree))
    families = [(len(subtree), subtree, shown) for shown, subtree, mask in VIEWS[view]
                if covers(subtree, mask)]
    return bool(families) and max(families)[2]


class Asked:
    """An agent whose tables rest, and what it holds."""

    def __init__(self, agent):
        self.agent = agent
        self.all = [one for subtree in sorted(SERVED) for one in agent.client.walk(subtree)]

    def names(self, chance, count):
        """Names in, between and around the tables."""
        for _ in range(count):
            name = chance.choice(self.all).oid
            name = name[:chance.choice((len(name), len(name), chance.randrange(7, len(name))))]
            if chance.random() < 0.4:
                name = (*name[:-1], max(0, name[-1] + chance.choice((-1, 1, 100))))
            yield name


@pytest.fixture(scope="module")
def asked(still_router):
    router = still_router
    router.links_up("eth1", "eth2")
    router.batch(*(f"addr add 10.0.{n % 3}.{n + 1}/{24 + n % 8} dev eth1" for n in range(30)),
                 *(f"addr add 2001:db8::{n + 1:x}/{64 + n} dev eth2 nodad" for n in range(10)))
    router.batch(*(f"route add 10.{n % 9 + 3}.{n}.0/24 dev eth{n % 2 + 1}" for n in range(90)))
    router.publish()
    agent = router.agent(config="\n".join((*view_lines(), "")))
    assert agent.answers()
    router.agrees(agent, within=5)
    return Asked(agent)


def check_chain(shown, name, chain):
    """Each binding is the next one shown; between and behind our objects the daemon's own may come."""
    oids = [one.oid for one in shown]
    for told in chain:
        at = bisect.bisect_right(oids, name)
        expected = shown[at] if at < len(shown) else None
        if told.kind == "endOfMibView":
            assert not expected, dotted(name)
            continue
        foreign = told.oid > name and not any(told.oid[:len(one)] == one for one in SERVED)
        assert told == expected or (
            foreign and (not expected or told.oid < expected.oid)), (dotted(name), str(told))
        name = told.oid


@pytest.mark.parametrize("view", VIEWS)
def test_of_any_request_what_is_shown_comes_in_order(asked, view):
    client = asked.agent.new_client(view)
    shown = [one for one in asked.all if is_shown(view, one.oid)]
    chance = random.Random(view)
    for _ in range(300):
        names = list(asked.names(chance, chance.choice((1, 1, 2, 3, 9))))
        once = chance.choice((0, 0, chance.randrange(len(names) + 1), len(names)))
        answer = client.getbulk(*names, once=once, repetitions=chance.choice((1, 2, 10, 60)))
        assert answer.error == "noError"
        first, rounds = answer.bindings[:once], answer.bindings[once:]
        for name, told in zip(names, first, strict=False):
            check_chain(shown, name, [told])
        for at, name in enumerate(names[once:]):
            check_chain(shown, name, rounds[at::len(names) - once])
        (told,) = client.get(names[0]).bindings
        right = [one for one in shown if one.oid == names[0]]
        assert [told] == right or (not right and told.value is None), told


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
