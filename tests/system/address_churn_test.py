"""Walks hold while thousands of addresses and routes a second come and go, and nothing is left
behind."""

import pytest

from ovo.addresses import expected
from ovo.churn import Churn, Walker, changing_lines, changing_routes
from ovo.daemons import eventually
from ovo.tables import ROUTE, TABLES

RATE, SECONDS = 10_000, 8
# A machine that other work keeps busy may not bring so many; fewer than this proves nothing.
ENOUGH = 1_000
# kB over half the time: some ten octets a change would already show. Memory of its own: the mapped
# tables fill up to the length of the change log, and are shared.
ALLOWED_GROWTH = 1024
STAYING = 300


@pytest.fixture
def agent(router):
    router.links_up("eth1", "eth2")
    router.sysctl("net/ipv4/conf/eth1/promote_secondaries", 1)
    router.batch(*(f"addr add 10.{40 + n % 20}.{n // 20}.7/24 dev eth{1 + n % 2}"
                   for n in range(STAYING // 2)),
                 *(f"addr add 2001:db8:{40 + n % 20}:{n // 20}::7/64 dev eth{1 + n % 2} nodad"
                   for n in range(STAYING // 2)))
    publisher = router.publish()
    agent = router.agent()
    assert agent.answers()
    router.agrees(agent, within=5)
    agent.publisher = publisher
    return agent


def watched(router, agent, churn):
    """Walkers over the time of the churn; the growth of both daemons in its second half."""
    trees = expected(router.kernel_addresses())
    walkers = [Walker(agent, table, trees[table].indexes, repetitions)
               for table, repetitions in zip(TABLES, (1, 10, 50))]
    walkers.append(Walker(agent, ROUTE, [row.index() for row in router.kernel_routes()], 20,
                          columns=("ipCidrRouteIfIndex", "ipCidrRouteProto")))
    daemons = agent.daemon, agent.publisher
    for one in (churn, *walkers):
        one.start()
    churn.half_way()
    before = [daemon.status("RssAnon") for daemon in daemons]
    churn.join()
    growth = [daemon.status("RssAnon") - size for daemon, size in zip(daemons, before)]
    for walker in walkers:
        walker.end()
    print(f"{churn.rate():.0f} changes/s, walks {[walker.walks for walker in walkers]}, "
          f"grew {growth} kB")
    return walkers, growth


def check(router, agent, churn):
    walkers, growth = watched(router, agent, churn)
    assert [line for walker in walkers for line in walker.wrong] == []
    assert all(walker.walks >= 2 for walker in walkers)
    assert churn.rate() >= ENOUGH
    router.agrees(agent, within=5)
    router.routes_agree(agent, within=5)
    return growth


def test_walks_while_addresses_and_routes_come_and_go(router, agent):
    lines = [*changing_lines("eth1", 1), *changing_routes()]
    growth = check(router, agent, Churn(router, lines, RATE, SECONDS))
    assert max(growth) < ALLOWED_GROWTH


def test_links_that_come_and_go_with_their_addresses(router, agent):
    lines = []
    for n in range(8):
        lines += [f"link add name d{n} type bridge", f"addr add 10.{100 + n}.0.1/24 dev d{n}",
                  f"link set d{n} up", f"addr add 10.{100 + n}.0.2/24 dev d{n}",
                  f"link set d{n} name e{n}", f"addr add 2001:db8:{100 + n}::1/64 dev e{n} nodad"]
    lines += [f"link del e{n}" for n in range(8)]
    churn = Churn(router, lines, 500, SECONDS / 2)
    walkers, _ = watched(router, agent, churn)
    assert [line for walker in walkers for line in walker.wrong] == []
    assert churn.changes >= 200
    router.agrees(agent, within=5)


def test_a_publisher_killed_in_the_middle(router, agent):
    lines = [*changing_lines("eth1", 2), *changing_routes()]
    churn = Churn(router, lines, RATE, SECONDS / 2)
    churn.start()
    for _ in range(5):
        agent.publisher.kill()
        agent.publisher = router.publish()
    churn.join()
    router.agrees(agent, within=5)
    router.routes_agree(agent, within=5)
    assert eventually(lambda: router.status()["publisher"]["alive"])
