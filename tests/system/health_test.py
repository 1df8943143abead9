"""A manager sees by SNMP how the state is kept: what `kelbasectl status` tells."""

import signal
import time

from ovo.daemons import eventually, stays
from ovo.tables import HEALTH, RECORDS

ALIVE, UP_TIME, AGE, IN_SYNC, GENERATION, OVERRUNS, DUMPS, REJECTED = (
    (*HEALTH, number, 0) for number in range(1, 9))
TRUE, FALSE = 1, 2


class Health:
    def __init__(self, router):
        self.router = router
        self.agent = router.agent()
        assert self.agent.answers()

    def ask(self, *names):
        return [one.value for one in self.agent.client.get(*names).bindings]

    def is_well(self):
        alive, age, in_sync = self.ask(ALIVE, AGE, IN_SYNC)
        return (alive, in_sync) == (TRUE, TRUE) and age <= 4

    def records(self):
        return [one.value for one in self.agent.client.walk(RECORDS.oid)]

    def ages(self):
        """It grows as time does while nobody keeps the state."""
        began, first = time.monotonic(), self.ask(AGE)[0]
        assert eventually(lambda: self.ask(AGE)[0] >= first + 2, 4)
        return time.monotonic() - began > 1


def test_it_tells_what_status_tells(router):
    router.links_up("eth1")
    router.batch("addr add 10.0.0.1/24 dev eth1", "addr add 10.0.0.1/25 dev eth1",
                 "addr add 2001:db8::1/64 dev eth1 nodad",
                 *(f"route add 10.9.{n}.0/24 via 10.0.0.{n + 2}" for n in range(5)))
    router.publish()
    health = Health(router)

    def is_told():
        status = router.status()
        counters = status["publisher"]["counters"]
        right = [status["generation"], *(counters[name] for name in (
            "overruns", "dumps", "messagesRejected"))]
        forwarding, links, *addresses, _, routes, fecs, routes6, neighbours = health.records()
        return health.ask(GENERATION, OVERRUNS, DUMPS, REJECTED) == right and {
            table["name"]: table["records"] for table in status["tables"]} == {
                "addresses": sum(addresses), "fecs": fecs, "forwarding": forwarding,
                "links": links, "neighbours": neighbours, "routes": routes + routes6}
    assert eventually(is_told, 5), (router.status(), health.records())
    assert len(health.records()) == 9 and health.records()[5] == len(router.kernel_routes())
    before = health.ask(GENERATION)[0]
    router.batch("route add 10.10.0.0/16 dev eth1")
    assert eventually(lambda: health.ask(GENERATION)[0] > before and health.records()[5] ==
                      len(router.kernel_routes()), 2)


def test_a_publisher_that_stands_still_is_not_alive_and_is_again(router):
    daemon = router.publish()
    health = Health(router)
    assert eventually(health.is_well, 3) and stays(health.is_well, 1.5)
    before = health.ask(UP_TIME)[0]
    assert 0 < before < 6000
    daemon.send(signal.SIGSTOP)
    assert eventually(lambda: health.ask(ALIVE) == [FALSE], 8)
    assert health.ages() and health.ask(AGE)[0] > 4 and health.ask(UP_TIME, IN_SYNC) == [0, TRUE]
    daemon.send(signal.SIGCONT)
    assert eventually(health.is_well, 4) and health.ask(UP_TIME)[0] > before


def test_a_publisher_that_was_killed_and_a_directory_that_was_lost(router):
    daemon = router.publish()
    health = Health(router)
    assert eventually(health.is_well, 3)
    daemon.kill()
    assert eventually(lambda: health.ask(ALIVE, UP_TIME) == [FALSE, 0], 2)
    assert health.ages()
    records = health.records()
    router.forget_tables()
    assert eventually(lambda: health.ask(IN_SYNC) == [FALSE], 7)
    assert health.ask(ALIVE) == [FALSE] and health.ages() and health.records() == records
    router.publish()
    assert eventually(health.is_well, 8) and health.records() == records
    assert 0 < health.ask(UP_TIME)[0] < 2000
