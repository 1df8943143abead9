"""Every request about the tables of addresses, routes and neighbours, odd ones too, has one right
answer. (By GETBULK and of many names at once: views_test.)

The tables do not change here: one ordered tree of what they hold answers for each request.
"""

import random

import pytest

from ovo import inet_routes
from ovo.addresses import expected
from ovo.ber import Binding, dotted
from ovo.daemons import eventually
from ovo.inet_routes import INET_ROUTE
from ovo.routes import tree as route_tree
from ovo.tables import ADDRESS, IP, NET_TO_MEDIA, NET_TO_PHYSICAL, ROUTE, ROUTE_NUMBER, TABLES, \
    Tree

MANY = 2**31
MOST = 2**32 - 1
LONGEST = 128  # sub-identifiers of an object identifier (RFC 2578, 7.1.3)
# The daemon's own that reads every route of the kernel: ipRouteTable.
READER = (*IP, 21)
EVERY_TABLE = pytest.mark.parametrize(
    "table", (*TABLES, ROUTE, INET_ROUTE, NET_TO_MEDIA, NET_TO_PHYSICAL),
    ids=lambda table: table.name)


class Asked:
    """An agent over tables at rest, and the tree of each table."""

    def __init__(self, agent, trees):
        self.agent, self.client, self.trees = agent, agent.client, trees

    def check_get(self, tree, oid):
        answer = self.client.get(oid)
        assert answer.error == "noError" and answer.bindings == [tree.get(oid)], (
            f"GET {dotted(oid)}: {answer}")

    def check_next(self, tree, oid):
        answer = self.client.getnext(oid)
        assert answer.error == "noError" and tree.answers_next(oid, answer.bindings[0]), (
            f"GETNEXT {dotted(oid)}: {answer}, expected {tree.next(oid)}")

    def check(self, tree, oid):
        self.check_get(tree, oid)
        self.check_next(tree, oid)


@pytest.fixture(scope="module")
def asked(still_router):
    router = still_router
    router.links_up("eth1", "eth2")
    router.batch("link add name eth3 index 70000 type veth peer name eth3-far",
                 "link set eth3-far up", "link set eth3 up",
                 *(f"addr add {text} dev {link}" for link, text in [
                     ("eth1", "0.0.0.1/32"), ("eth1", "1.0.0.0/8"), ("eth1", "10.0.0.1/24"),
                     ("eth1", "10.0.0.255/24"), ("eth2", "10.0.1.0/31"), ("eth2", "10.0.0.128/25"),
                     ("eth2", "127.255.255.255/1"), ("eth2", "128.0.0.0/1"),
                     ("eth3", "203.255.255.255/0"), ("eth3", "10.0.0.2/24")]),
                 *(f"addr add {text} dev {link} nodad" for link, text in [
                     ("eth1", "2001:db8::1/64"), ("eth1", "2001:db8::ffff/64"),
                     ("eth1", "2001:db8::/128"), ("eth2", "2001:db8:8000::/33"),
                     ("eth3", "::2/0"), ("eth3", "cfff:ffff:ffff:ffff:ffff:ffff:ffff:ffff/127")]))
    router.batch("route add default via 10.0.1.1 proto bgp metric 20",
                 "route add 0.0.0.0/8 dev eth1", "route add 223.255.255.255/32 via 10.0.1.1",
                 "route add 11.0.0.0/8 proto ospf metric 4294967295 nexthop via 10.0.1.1 "
                 "nexthop via 10.0.0.9", "route add 11.0.0.0/24 dev eth3",
                 "route add 11.0.0.0/32 via 10.0.0.9", "route add blackhole 12.0.0.0/8",
                 "route add 2600::/32 nexthop via fe80::2 dev eth1 nexthop via 2001:db8::3",
                 "route add fe80::/64 via fe80::7 dev eth2 metric 3", "route add default via fe80::9 dev eth3",
                 "route add unreachable 2600:3::/33",
                 *(f"neigh add 10.0.0.{n} lladdr 02:00:00:00:00:{n:02x} dev eth{1 + n % 3}"
                   for n in (0, 3, *range(20, 30), 127, 254)),
                 *(f"neigh add {address} lladdr 02:00:00:00:06:00 dev eth{n} nud permanent"
                   for n in (1, 2) for address in ("fe80::7", "2001:db8::7", "4000::", "feff::1")))
    router.publish()
    agent = router.agent()
    assert agent.answers()
    router.agrees(agent, within=5)
    rows = router.routes_agree(agent, within=5)
    trees = expected(router.kernel_addresses())
    router.neighbours_agree(agent)
    return Asked(agent, trees | {
        ROUTE: route_tree(rows), INET_ROUTE: inet_routes.tree(router.inet_routes_agree(agent)),
        NET_TO_MEDIA: router.kernel_neighbours()[0], NET_TO_PHYSICAL: physical(router, agent)})


def physical(router, agent):
    """ipNetToPhysicalTable as the kernel has it, with the times of updates that are served."""
    tree = router.kernel_neighbours()[1]
    times = {one.oid: one for one in agent.client.walk(
        NET_TO_PHYSICAL.column("ipNetToPhysicalLastUpdated"))}
    return Tree(NET_TO_PHYSICAL, {index: [
        times.get(oid, tree.get(oid)).value for column in NET_TO_PHYSICAL.columns
        for oid in [(*NET_TO_PHYSICAL.oid, 1, column.number, *index)]] for index in tree.indexes})


@EVERY_TABLE
def test_every_object_by_get_and_by_getnext(asked, table):
    tree = asked.trees[table]
    assert len(tree.indexes) >= 10
    asked.check_next(tree, table.oid)
    for binding in tree.bindings:
        asked.check(tree, binding.oid)


def test_a_walk_of_all_ip_objects_meets_each_once_and_ours_for_the_daemons(asked):
    walked = list(asked.client.walk(IP, repetitions=30))
    oids = [binding.oid for binding in walked]
    assert oids == sorted(set(oids))
    for table, tree in asked.trees.items():
        assert [one for one in walked if one.oid[:len(table.oid)] == table.oid] == tree.bindings
    scalars = {one.oid[:-1] for one in walked if one.oid[-1] == 0}
    assert {(*IP, 1), (*IP, 25), ROUTE_NUMBER} <= scalars
    assert not any(one.oid[:len(READER)] == READER for one in walked)
    assert len(asked.agent.daemon.lines("taken out of the daemon's own objects: ipForwarding, ")) == 1


def test_an_operator_keeps_a_stock_table_through_reloads(router):
    router.links_up("eth1")
    router.batch("route add 10.0.0.0/8 dev eth1")
    router.publish()
    agent = router.agent(config="ovosnmpKeep ipRouteTable\novosnmpKeep ipAddrTable\n")
    assert agent.answers()
    assert agent.daemon.lines("ovosnmpKeep: expected ipRouteTable$")
    for _ in range(2):
        assert next(agent.client.walk(READER), None)
        agent.reload_and_wait()
        assert eventually(lambda: agent.ask("ipForwarding.0") == 2)
    agent.config(plugin=False)
    agent.reload_and_wait()
    assert agent.ask("ipCidrRouteNumber.0") == "noSuchObject"  # the daemon's own is out for good


def an_odd_name(chance, tree):
    """In, between and around the rows: odd numbers in any place, cut, going on, of another length."""
    table, name = tree.table, [*chance.choice(tree.bindings).oid]
    head = len(table.oid)
    kind = chance.random()
    if kind < 0.2 and "octets" in table.index:
        at = head + 2 + table.index.index("octets")
        name[at] = chance.choice((0, 1, 3, 5, 8, 15, 17, 20, 100))
        name[at + 1:] = (name[at + 1:] * 30)[:name[at]]
    elif kind < 0.4:
        name = name[:chance.randrange(head + 1, len(name) + 1)]
    elif kind < 0.6:
        name += [chance.choice((0, 1, MOST))] * chance.choice((1, 2, 16, LONGEST - len(name)))
    for _ in range(chance.choice((0, 1, 1, 2, 3))):
        place = chance.randrange(head, len(name))
        right = name[place]
        name[place] = chance.choice((0, 1, 2, max(0, right - 1), min(right + 1, MOST), right ^ 1, 255, 256,
                                     chance.randrange(256), MANY - 1, MANY, (right + MANY) & MOST, MOST))
    return tuple(name)


@EVERY_TABLE
def test_odd_names_by_the_thousand(asked, table):
    tree, chance = asked.trees[table], random.Random(7)
    asked.check(tree, table.oid)
    for _ in range(2500):
        asked.check(tree, an_odd_name(chance, tree))


VALUES = [("INTEGER", 1), ("INTEGER", -2**31), ("OCTET STRING", b"x"), ("OCTET STRING", b""),
          ("OBJECT IDENTIFIER", (1, 3, 6)), ("IpAddress", bytes(4)), ("Gauge32", MOST),
          ("TimeTicks", 0), ("Counter64", 2**64 - 1)]


@EVERY_TABLE
def test_no_column_can_be_set(asked, table):
    tree = asked.trees[table]
    before = list(asked.client.walk(table.oid, repetitions=50))
    absent = (*tree.indexes[0][:-1], 77)
    for column in table.columns:
        for index in (tree.indexes[0], tree.indexes[-1], absent):
            oid = (*table.oid, 1, column.number, *index)
            for kind, value in VALUES:
                answer = asked.client.set((oid, kind, value))
                assert (answer.error, answer.index) == ("notWritable", 1), (column, kind, answer)
    assert list(asked.client.walk(table.oid, repetitions=50)) == before


def test_a_set_among_others_undoes_them(asked):
    name = (1, 3, 6, 1, 2, 1, 1, 5, 0)
    before = asked.client.get(name)
    answer = asked.client.set(
        (name, "OCTET STRING", b"other"),
        ((*ADDRESS.column("ipAddressRowStatus"), *asked.trees[ADDRESS].indexes[0]), "INTEGER", 6))
    assert (answer.error, answer.index) == ("notWritable", 2)
    assert asked.client.get(name) == before


def test_an_empty_table_is_passed_over(router):
    router.load([{"ifindex": 1, "ifname": "lo", "flags": ["LOOPBACK"],
                  "link_type": "loopback", "addr_info": []}],
                [{"family": family, "interface": "all", "forwarding": True}
                 for family in ("inet", "inet6")])
    agent = router.agent()
    assert agent.answers()
    for table in TABLES:
        assert list(agent.client.walk(table.oid)) == []
        oid = (*table.oid, 1, table.columns[0].number, *(1,) * 4)
        assert agent.client.get(oid).bindings == [Binding(oid, "noSuchInstance")]
