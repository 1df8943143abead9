"""Every request about the tables of addresses and routes, odd ones too, has one right answer.

The tables do not change here: one ordered tree of what they hold answers for each request.
"""

import random

import pytest

from ovo.addresses import expected
from ovo.ber import Binding, dotted
from ovo.daemons import eventually
from ovo.routes import tree as route_tree
from ovo.tables import ADDR, ADDRESS, IP, ROUTE, ROUTE_NUMBER, TABLES

MANY = 2**31
MOST = 2**32 - 1
LONGEST = 128  # sub-identifiers of an object identifier (RFC 2578, 7.1.3)
# The daemon's own that reads every route of the kernel: ipRouteTable.
READER = (*IP, 21)
EVERY_TABLE = pytest.mark.parametrize("table", (*TABLES, ROUTE), ids=lambda table: table.name)


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
                 "route add 11.0.0.0/32 via 10.0.0.9")
    router.publish()
    agent = router.agent(env={"MAV_TRACE": "Snmp/2"})
    assert agent.answers()
    router.agrees(agent, within=5)
    rows = router.routes_agree(agent, within=5)
    trees = expected(router.kernel_addresses())
    return Asked(agent, trees | {ROUTE: route_tree(rows)})


def test_a_set_says_why(asked):
    """First, while the log is short."""
    for column in ADDRESS.columns:
        writable = column.name in ADDRESS.writable
        text = (f"ipAddressTable_handler: SET is not configured for column {column.name}"
                if writable else f"ipAddressTable invalid column {column.number}")
        seen = len(asked.agent.daemon.lines(f"{text}$"))
        oid = (*ADDRESS.oid, 1, column.number, *asked.trees[ADDRESS].indexes[0])
        assert asked.client.set((oid, "INTEGER", 1)).error == "notWritable"
        assert eventually(lambda: len(asked.agent.daemon.lines(f"{text}$")) > seen), text


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


@EVERY_TABLE
@pytest.mark.parametrize("repetitions", [1, 10, 100])
def test_getbulk(asked, table, repetitions):
    tree = asked.trees[table]
    walked = list(asked.client.walk(table.oid, repetitions=repetitions))
    assert walked == tree.bindings
    for binding in tree.bindings[::7]:
        answer = asked.client.getbulk(binding.oid, repetitions=repetitions)
        inside = [one for one in answer.bindings if one.oid[:len(table.oid)] == table.oid]
        assert inside == tree.following(binding.oid, len(inside))
        assert 1 <= len(answer.bindings) <= repetitions


@EVERY_TABLE
def test_getbulk_of_all_columns_side_by_side(asked, table):
    tree = asked.trees[table]
    heads = [table.column(column.name) for column in table.columns]
    answer = asked.client.getbulk(table.oid, *heads, repetitions=5, once=1)
    assert answer.error == "noError"
    first, *rest = answer.bindings
    assert first == tree.bindings[0]
    rounds = [rest[at:at + len(heads)] for at in range(0, len(rest), len(heads))]
    assert rounds
    expected_now = heads
    for one in rounds:
        assert one == [tree.next(oid) for oid in expected_now][:len(one)]
        expected_now = [binding.oid for binding in one]


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


@pytest.mark.parametrize("size", [2, 7, 40])
def test_of_many_each_is_answered_as_if_alone(asked, size):
    chance = random.Random(size)
    for _ in range(200 // size + 20):
        trees = chance.choices([asked.trees[table] for table in TABLES], k=size)
        oids = [an_odd_name(chance, tree) if chance.random() < 0.5 else chance.choice(tree.bindings).oid
                for tree in trees]
        answer = asked.client.get(*oids)
        assert answer.error == "noError" and len(answer.bindings) == size
        for tree, oid, binding in zip(trees, oids, answer.bindings):
            assert binding == tree.get(oid)
        answer = asked.client.getnext(*oids)
        assert answer.error == "noError" and len(answer.bindings) == size
        for tree, oid, binding in zip(trees, oids, answer.bindings):
            assert tree.answers_next(oid, binding), (dotted(oid), str(binding))


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


def test_the_end_of_one_table_leads_on(asked):
    for table in TABLES:
        tree = asked.trees[table]
        last = tree.bindings[-1].oid
        beyond = asked.client.getnext(last).bindings[0]
        assert beyond == asked.client.getnext((*table.oid, MOST)).bindings[0]
        assert tree.answers_next(last, beyond)


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


def test_a_table_of_one_row(router):
    router.publish()
    agent = router.agent()
    assert agent.answers()
    router.agrees(agent)
    assert len(agent.tables()[ADDR]) == len(ADDR.columns)
