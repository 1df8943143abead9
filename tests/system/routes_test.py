"""Of ipCidrRouteTable what no comparison with the kernel shows. (Those: inet_routes_test, and in any
order of things route_history_test.)
"""

import threading

from inet_routes_test import LINKS, WITHIN, hops
from ovo.daemons import eventually
from ovo.routes import address, destination
from ovo.tables import ROUTE

# Where it is not the time that counts, and what is wrong would stay wrong.
EXACT = 20.0


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
