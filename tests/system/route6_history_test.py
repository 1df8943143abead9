"""The same histories (route_history_test.py) where most of what happens is of IPv6: siblings that
come and go one by one and together, lifetimes, a router's advertisements, links without IPv6."""

import sys

import pytest

import route_history_test
from ovo.router import SEEDS

START = ("addr add 2001:db8:1::1/64 dev eth1 nodad", "addr add 2001:db8:2::1/64 dev eth2 nodad",
         "nexthop replace id 7 via 2001:db8:1::7 dev eth1",
         "nexthop replace id 8 via 2001:db8:2::8 dev eth2", "nexthop replace id 70 group 7/8")

# RFC 4861 section 4.2, with the prefix 2001:db8:77::/64 (section 4.6.2).
ADVERTISE = """
import socket, struct, sys
link, router, prefix = sys.argv[1], int(sys.argv[2]), int(sys.argv[3])
out = socket.socket(socket.AF_INET6, socket.SOCK_RAW, socket.IPPROTO_ICMPV6)
index = socket.if_nametoindex(link)
out.setsockopt(socket.IPPROTO_IPV6, socket.IPV6_MULTICAST_HOPS, 255)
out.setsockopt(socket.IPPROTO_IPV6, socket.IPV6_MULTICAST_IF, index)
out.sendto(struct.pack("!BBHBBHII", 134, 0, 0, 64, 0, router, 0, 0) +
           struct.pack("!BBBBIII", 3, 4, 64, 0xc0, prefix, prefix, 0) +
           socket.inet_pton(socket.AF_INET6, "2001:db8:77::"), ("ff02::1", 0, 0, index))
"""


class History6(route_history_test.History):
    PREFIXES, METRICS = [f"4000:{n}::/64" for n in range(6)], (5, 5, 10)

    def __init__(self, router, seed):
        super().__init__(router, seed)
        router.batch(*START)

    def _via(self):
        link, net = self._one((self._name, 1), ("eth2", 2))
        host = self._random.randint(2, 5)
        return self._one(f"via 2001:db8:{net}::{host} dev {link}", f"via fe80::{host} dev {link}",
                         f"via 2001:db8:9::{host} dev {link} onlink")

    def _route(self):
        kind = self._random.randrange(14)
        if kind < 2:
            return self._one("throw", "prohibit", "blackhole", "unreachable"), ""
        if kind < 4:
            return "unicast", f"nhid {self._one(7, 8, 70)}"
        if kind < 7:
            return "unicast", " ".join(f"nexthop {self._via()}" for _ in range(self._one(2, 3)))
        if kind == 7:
            return "unicast", self._one("dev lo", f"dev {self._name} table 100",
                                        f"{self._via()} expires {self._one(1, 3, 300)}",
                                        f"from 4000:9::/64 dev {self._name}")
        if kind == 8:
            return "unicast", f"dev {self._one(self._name, 'eth2')}"
        return "unicast", self._via() + self._one("", "", " src 2001:db8:1::1", " mtu 1400")

    def _changed_objects(self):
        self._ip(*self._random.sample((
            f"nexthop replace id 7 via fe80::{self._random.randint(2, 9)} dev {self._name}",
            f"nexthop replace id 8 via 2001:db8:2::{self._random.randint(2, 9)} dev eth2",
            "nexthop replace id 7 via fe80::7 dev eth2", "nexthop replace id 70 group 7/8",
            "nexthop replace id 70 group 8", "nexthop replace id 70 group 7", "nexthop del id 7",
            f"nexthop add id 7 via fe80::7 dev {self._name}",
            "nexthop add id 8 via fe80::8 dev eth2"), self._random.randint(1, 4)))

    def _changed_links(self):
        if self._random.random() < 0.3:
            return super()._changed_links()
        return self._ip(*self._random.sample((
            f"link set dev {self._one(self._name, 'eth2')} down",
            f"link set dev {self._name} up", "link set dev eth2 up",
            f"addr del 2001:db8:1::1/64 dev {self._name}",
            f"addr add 2001:db8:1::1/64 dev {self._name} nodad",
            f"addr add 2001:db8:1::2/64 dev {self._name}",
            "addr add 2001:db8:1::3/64 dev eth2 nodad",
            "addr add 2001:db8:2::1/64 dev eth2 nodad"), self._random.randint(1, 3)))

    def _turned_setting(self):
        link = self._one(self._name, "eth2")
        path = self._one(f"/proc/sys/net/ipv6/conf/{link}/ignore_routes_with_linkdown",
                         f"/proc/sys/net/ipv6/conf/{link}/disable_ipv6",
                         "/proc/sys/net/ipv6/route/skip_notify_on_dev_down",
                         "/proc/sys/net/ipv4/nexthop_compat_mode", "")
        if path:
            return self._turn(path)
        lifetimes = [str(self._one(0, 1, 2, 300)) for _ in range(2)]
        self._told.append(f"advertised for {lifetimes}")
        return self._router.space.run(sys.executable, "-c", ADVERTISE,
                                      self._one("eth1-far", "eth2-far"), *lifetimes, check=False)


@pytest.mark.parametrize("seed", SEEDS)
def test_any_history_of_ip6_ends_as_the_kernel_does(router, seed):
    history = History6(router, seed)
    for step in range(route_history_test.STEPS):
        history.step()
        if step % 5 == 0:
            router.loads_as_published()
    history.ends_as_a_cold_start()
