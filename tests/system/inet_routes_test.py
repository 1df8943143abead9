"""The tables of routes are what the kernel's routes make them, and each change shows within two seconds.

Every scenario runs twice: before the daemons start, and step by step after it. (Any order of things:
route_history_test.)
"""

import pytest

from ovo.daemons import SANITIZED, eventually
from ovo.inet_routes import INET_ROUTE

LINKS = ("link add name eth1 type veth peer name eth1-far", "link set eth1-far up",
         "link set eth1 up", "addr add 10.1.0.1/24 dev eth1",
         "addr add 2001:db8:1::1/64 dev eth1 nodad",
         "link add name eth2 type veth peer name eth2-far", "link set eth2-far up",
         "link set eth2 up", "addr add 10.2.0.1/24 dev eth2",
         "addr add 2001:db8:2::1/64 dev eth2 nodad")
WITHIN = 6.0 if SANITIZED else 2.0


def hops(count, first=2):
    """So many next hops behind eth1 and eth2, by turns. (`ip -batch` takes 512 words a line.)"""
    return " ".join(f"nexthop via 10.{1 + n % 2}.0.{first + n // 2}" for n in range(count))


SCENARIOS = {
    "IPv4, and what refuses": [
        LINKS,
        ("route add default via 10.1.0.2", "route add 20.0.0.0/8 via 10.1.0.3 proto bgp metric 20",
         "route add blackhole 24.0.0.0/8 proto bgp", "route add unreachable 24.0.0.0/9",
         "route add prohibit 24.0.0.0/10 proto ospf metric 7", "route add throw 24.0.0.0/11",
         "route add 30.0.1.0/24 via 10.1.0.4 proto redirect",
         "route add 30.0.5.0/24 via inet6 fe80::5 dev eth1", "route add 30.0.4.0/24 dev lo",
         "route add 20.1.2.2/31 dev eth2", "route add 20.1.2.3/32 via 10.1.0.4 proto static",
         "route add 128.0.0.0/1 via 10.1.0.5 proto rip metric 4294967295",
         "route add 30.0.2.0/24 via 10.1.0.6 proto babel metric 2147483648",
         "route add 30.0.3.0/24 via 10.1.0.6 proto 201", "route add 30.0.7.0/24 dev eth2 proto eigrp",
         "route add 30.0.6.0/24 via 10.1.0.6 proto dhcp metric 1024",
         f"route add 21.2.0.0/16 proto bgp {hops(140)}", f"route add 21.1.0.0/16 {hops(64)}",
         "route add 21.0.0.0/8 nexthop via 10.1.0.2 nexthop via 10.2.0.2 nexthop via 10.1.0.9"),
        ("route replace 24.0.0.0/8 via 10.2.0.9", "route del unreachable 24.0.0.0/9",
         "route replace blackhole 20.0.0.0/8 metric 20 proto isis",
         f"route replace 21.1.0.0/16 {hops(63)}", f"route replace 21.2.0.0/16 {hops(128, 3)}"),
        ("route del 24.0.0.0/8", "route del prohibit 24.0.0.0/10 metric 7"),
    ],
    "IPv6": [
        LINKS,
        ("route add default via 2001:db8:1::2 metric 20",
         "route add 2600::/32 via fe80::2 dev eth1 proto bgp",
         "route add 2600:1::/32 proto ospf nexthop via fe80::2 dev eth1 "
         "nexthop via fe80::2 dev eth2 nexthop via 2001:db8:2::9",
         "route add 2600:2::/32 dev eth2", "route append 2600:2::/32 dev eth1",
         "route add fe80::/64 via fe80::7 dev eth2 metric 3 proto static",
         "route add blackhole 2600:3::/32 proto static",
         "route add unreachable 2600:3::/33", "route add prohibit 2600:3::/34 metric 9 proto redirect",
         "route add throw 2600:3::/35",
         "route add 2600:4::/128 via 2001:db8:1::2 metric 4294967295 proto rip"),
        ("route del 2600:2::/32 dev eth1", "route del unreachable 2600:3::/33",
         "route append 2600::/32 via 2001:db8:1::3 proto bgp",
         "route replace 2600:1::/32 via fe80::3 dev eth2"),
        ("link set eth2 down",),
        ("link set eth2 up", "route add 2600:2::/32 via 2001:db8:1::5 metric 1"),
    ],
}
BY_NAME = pytest.mark.parametrize("steps", SCENARIOS.values(), ids=SCENARIOS)


@BY_NAME
def test_each_step_shows_within_two_seconds(router, steps):
    router.publish()
    agent = router.agent()
    assert agent.answers()
    for step in steps:
        router.batch(*step)
        router.inet_routes_agree(agent, WITHIN)
        router.routes_agree(agent, WITHIN)


@BY_NAME
def test_before_the_start(router, steps):
    for step in steps[:-1]:
        router.batch(*step)
    router.publish()
    agent = router.agent()
    router.inet_routes_agree(agent, within=10)
    router.routes_agree(agent)


def test_ages_count_from_the_change(router):
    router.batch(*LINKS, "route add 20.0.0.0/8 via 10.1.0.3")
    router.publish()
    agent = router.agent()
    assert agent.answers()

    def age(dest):
        return agent.client.ask((*INET_ROUTE.column("inetCidrRouteAge"), *dest, 2, 0, 0, 1, 4, 10, 1,
                                 0, 3), timeout=5.0)

    first, second = (1, 4, 20, 0, 0, 0, 8), (1, 4, 21, 0, 0, 0, 8)
    assert age(first) == 0  # it was there before
    router.batch("route add 21.0.0.0/8 via 10.1.0.3")
    assert eventually(lambda: age(second) in (0, 1), 2)
    assert eventually(lambda: age(second) in (2, 3), 4)
    assert age(first) == 0
    router.batch("route replace 21.0.0.0/8 via 10.1.0.3 metric 0 proto bgp")
    assert eventually(lambda: age(second) in (0, 1), 2)


def test_netstat_reads_both_families(router):
    """As far as it goes: it knows no ipv6z, and ends at the link-local destinations, the last."""
    router.batch(*LINKS, "route add 20.0.0.0/8 via 10.1.0.3", "route add default via fe80::9 dev eth2")
    router.publish()
    agent = router.agent()
    assert agent.answers()
    told = router.space.run("env", "MIBS=", "snmpnetstat", "-v2c", "-c", "public", "-Cn", "-Cr",
                            f"127.0.0.1:{agent.port}", check=False)
    assert [line.split() for line in told.splitlines() if "<" in line] == [
        ["10.1.0.0/24", "0.0.0.0", "<U>", "eth1"], ["10.2.0.0/24", "0.0.0.0", "<U>", "eth2"],
        ["20.0.0.0/8", "10.1.0.3", "<UG>", "eth1"], ["default", "fe80::9", "<UG>", "eth2"],
        ["2001:db8:1::/64", "::", "<U>", "eth1"], ["2001:db8:2::/64", "::", "<U>", "eth2"]], told
