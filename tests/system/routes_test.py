"""ipCidrRouteTable is what the kernel's routes make it, and each change shows within two seconds.

(Any order of things, before the start and while somebody is away: route_history_test.)
"""

import threading

import pytest

from ovo.daemons import SANITIZED, eventually
from ovo.routes import address, destination
from ovo.tables import ROUTE

# Two links with an address each, up and running.
LINKS = ("link add name eth1 type veth peer name eth1-far", "link set eth1-far up",
         "link set eth1 up", "addr add 10.1.0.1/24 dev eth1",
         "link add name eth2 type veth peer name eth2-far", "link set eth2-far up",
         "link set eth2 up", "addr add 10.2.0.1/24 dev eth2")
WITHIN = 6.0 if SANITIZED else 2.0
# Where it is not the time that counts, and what is wrong would stay wrong.
EXACT = 20.0


def hops(count, first=2):
    """So many next hops behind eth1 and eth2, by turns. (`ip -batch` takes 512 words a line.)"""
    return " ".join(f"nexthop via 10.{1 + n % 2}.0.{first + n // 2}" for n in range(count))


SCENARIOS = {
    "every kind of prefix": [
        LINKS,
        ("route add default via 10.1.0.2", "route add 20.0.0.0/8 via 10.1.0.3 proto bgp metric 20",
         "route add 20.1.0.0/16 via 10.2.0.3 proto ospf metric 110",
         "route add 20.1.2.3/32 via 10.1.0.4 proto static", "route add 20.1.2.2/31 dev eth2",
         "route add 128.0.0.0/1 via 10.1.0.5 proto rip metric 4294967295",
         "route add 30.0.0.0/24 via 10.1.0.6 proto isis",
         "route add 30.0.1.0/24 dev eth1 scope link",
         "route add 30.0.2.0/24 via 10.1.0.6 proto babel metric 2147483648",
         "route add 30.0.3.0/24 via 10.1.0.6 proto 201",
         "route add 30.0.6.0/24 via 10.1.0.6 proto dhcp metric 1024",
         "route add 30.0.7.0/24 via 10.1.0.6 proto eigrp", "route add 30.0.4.0/24 dev lo",
         "route add 30.0.5.0/24 via inet6 fe80::5 dev eth1"),
        ("route del default", "route del 20.1.2.3/32", "route change 20.0.0.0/8 via 10.2.0.9 "
         "proto bgp metric 20", "route del 128.0.0.0/1 metric 4294967295"),
        ("route add default dev eth2",),
    ],
    "sets of next hops": [
        LINKS,
        (f"route add 21.0.0.0/8 {hops(2)}", f"route add 21.1.0.0/16 {hops(64)}",
         f"route add 21.2.0.0/16 proto bgp {hops(140)}", f"route add 21.3.0.0/16 {hops(2)}",
         "route add 21.4.0.0/16 nexthop dev eth1 nexthop dev eth2"),
        (f"route replace 21.0.0.0/8 {hops(3, 20)}", f"route replace 21.1.0.0/16 {hops(63)}"),
        ("route del 21.0.0.0/8", f"route replace 21.2.0.0/16 proto bgp {hops(128, 3)}"),
    ],
    "flushed": [
        LINKS,
        tuple(f"route add 29.{n >> 8}.{n & 255}.0/24 via 10.{1 + n % 2}.0.{2 + n % 7} proto bgp"
              for n in range(1500)),
        ("route flush proto bgp",),
        ("route flush table main",),
        ("route add 29.0.0.0/8 via 10.1.0.2 dev eth1 onlink",),
    ],
}
BY_NAME = pytest.mark.parametrize("steps", SCENARIOS.values(), ids=SCENARIOS)


def started(router):
    router.publish()
    agent = router.agent()
    assert agent.answers()
    return agent


@BY_NAME
def test_each_step_shows_within_two_seconds(router, steps):
    agent = started(router)
    for step in steps:
        router.batch(*step)
        router.routes_agree(agent, WITHIN)


def cell(agent, column, prefix, hop="0.0.0.0"):
    """One column of a row, or noSuchInstance."""
    dest, length = destination(prefix)
    mask = (1 << 32) - (1 << 32 - length)
    index = (*dest.to_bytes(4, "big"), *mask.to_bytes(4, "big"), 0,
             *address(hop).to_bytes(4, "big"))
    return agent.client.ask((*ROUTE.column(column), *index), timeout=5.0)


def test_rows_as_a_manager_reads_them(router):
    """Values written down by hand: the model of the other tests is not asked."""
    router.batch(*LINKS, "route add default via 10.1.0.2 proto bgp metric 20",
                 f"route add 21.0.0.0/8 {hops(2)}", f"route add 21.2.0.0/16 {hops(140)}",
                 "route add blackhole 24.0.0.0/8", "route add 9.0.0.1/32 via 10.2.0.9 proto ospf")
    publisher = router.publish()
    agent = router.agent()
    assert agent.answers()
    eth1, eth2 = (next(index for name, index, _ in router.kernel_links() if name == wanted)
                  for wanted in ("eth1", "eth2"))
    assert eventually(lambda: cell(agent, "ipCidrRouteIfIndex", "default", "10.1.0.2") == eth1, 10)
    assert cell(agent, "ipCidrRouteProto", "default", "10.1.0.2") == 14
    assert cell(agent, "ipCidrRouteMetric1", "default", "10.1.0.2") == 20
    assert cell(agent, "ipCidrRouteMask", "default", "10.1.0.2") == bytes(4)
    assert cell(agent, "ipCidrRouteProto", "9.0.0.1/32", "10.2.0.9") == 13
    assert cell(agent, "ipCidrRouteMetric2", "9.0.0.1/32", "10.2.0.9") == 110
    assert cell(agent, "ipCidrRouteMask", "9.0.0.1/32", "10.2.0.9") == b"\xff" * 4
    assert cell(agent, "ipCidrRouteProto", "10.1.0.0/24") == 2
    assert cell(agent, "ipCidrRouteIfIndex", "21.0.0.0/8", "10.1.0.2") == eth1
    assert cell(agent, "ipCidrRouteIfIndex", "21.0.0.0/8", "10.2.0.2") == eth2
    # Of 140 next hops the first 128, 64 behind each link.
    assert cell(agent, "ipCidrRouteType", "21.2.0.0/16", "10.2.0.65") == 1
    assert cell(agent, "ipCidrRouteType", "21.2.0.0/16", "10.1.0.66") == "noSuchInstance"
    assert cell(agent, "ipCidrRouteType", "24.0.0.0/8") == "noSuchInstance"
    assert agent.ask("ipCidrRouteNumber.0") == 2 + 1 + 2 + 128 + 1
    assert len(publisher.lines("a set of 140 next hops")) == 1, publisher.text()
    assert publisher.lines(r"\(1 cut to 128 next hops\)")


def test_a_route_over_a_link_without_a_status(router):
    links = [{"ifname": name, "ifindex": index, "flags": ["UP"]} for name, index in
             (("eth1", 2), ("eth2", 3))]
    routes = [{"dst": f"21.{n}.0.0/16", "gateway": "10.0.0.1", "dev": f"eth{1 + n % 2}"}
              for n in range(10)]
    router.load(links, routes)
    router.load(links[:1])
    agent = router.agent()
    assert eventually(lambda: cell(agent, "ipCidrRouteIfIndex", "21.0.0.0/16", "10.0.0.1") == 2, 10)
    assert eventually(lambda: agent.ask("ipCidrRouteNumber.0") == 5)
    assert cell(agent, "ipCidrRouteIfIndex", "21.1.0.0/16", "10.0.0.1") == "noSuchInstance"
    router.load(links)
    assert eventually(lambda: agent.ask("ipCidrRouteNumber.0") == 10, WITHIN)
    assert cell(agent, "ipCidrRouteIfIndex", "21.1.0.0/16", "10.0.0.1") == 3


def test_a_stopped_agent_ends_exact(router):
    """Behind by more changes than the log of changes keeps is for routes_scale_test."""
    router.batch(*LINKS, *(f"route add 30.{n >> 8}.{n & 255}.0/24 via 10.1.0.2"
                           for n in range(3000)))
    agent = started(router)
    assert len(router.routes_agree(agent, within=10)) == 3002
    with agent.stopped():
        router.batch(*(f"route del 30.{n >> 8}.{n & 255}.0/24" for n in range(0, 3000, 2)),
                     *(f"route replace 30.{n >> 8}.{n & 255}.0/24 via 10.2.0.2"
                       for n in range(1, 3000, 4)))
    assert len(router.routes_agree(agent, WITHIN)) == 1502


def test_the_publishers_end_and_restart_in_the_middle(router):
    router.batch(*LINKS, *(f"route add 31.{n >> 8}.{n & 255}.0/24 via 10.1.0.2"
                           for n in range(2000)))
    publisher, agent = router.publish(), router.agent()
    rows = router.routes_agree(agent, within=10)
    with router.churn_of_routes(agent, staying=[row.index() for row in rows]) as churn:
        for _ in range(3):
            publisher.kill()
            publisher = router.publish()
    assert churn.wrong() == []
    assert churn.walks() >= 2
    assert set(rows) <= set(router.routes_agree(agent, EXACT))


def test_a_publisher_that_starts_amid_changes(router):
    """Every prefix has its story once: what the dump and the notifications make of it stays."""
    router.batch(*LINKS)
    prefixes = [f"32.{n >> 8}.{n & 255}.0/24" for n in range(8000)]
    story = ("add {} via 10.1.0.2", "replace {} via 10.2.0.3", f"replace {{}} {hops(2)}",
             "del {}", "add {} via 10.1.0.2", "replace {} via 10.2.0.3")
    stories = [f"route {line.format(prefix)}" for prefix in prefixes for line in story]
    publisher, agent = router.publish(), router.agent()
    for _ in range(3):
        kernel = threading.Thread(target=router.batch, args=stories)
        kernel.start()
        while kernel.is_alive():
            publisher.kill()
            publisher = router.publish()
        kernel.join()
        assert len(router.routes_agree(agent, EXACT, columns=(4, 5))) == 2 + len(prefixes)
        router.batch(*(f"route del {prefix}" for prefix in prefixes))
