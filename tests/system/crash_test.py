"""A publisher that is killed at any moment harms nobody who reads."""

import random
import threading
import time

from ovo.churn import Asking
from ovo.daemons import FORWARDING, LONG, NOT_FORWARDING, OIDS, eventually

KILLS = 10_000 if LONG else 200


class Churn(threading.Thread):
    """Keeps the publisher writing: the IPv6 flag and a link flip until it is told to end."""

    def __init__(self, router):
        super().__init__()
        self._router, self._end = router, threading.Event()

    def run(self):
        while not self._end.is_set():
            self._router.space.run("sh", "-c", """
                for n in 1 2 3 4 5 6 7 8 9 10; do
                  echo 1 > /proc/sys/net/ipv6/conf/all/forwarding; ip link set eth1 up
                  echo 0 > /proc/sys/net/ipv6/conf/all/forwarding; ip link set eth1 down
                done""")

    def end(self):
        self._end.set()
        self.join()


def test_two_hundred_kills_while_a_reader_compares(router):
    chance = random.Random(1)
    router.link_add("eth1")
    router.forward4(True)
    daemon = router.publish()
    agent = router.agent()
    assert agent.answers()
    churn, reader = Churn(router), Asking(agent, OIDS["ipForwarding.0"], OIDS["ipv6IpForwarding.0"])
    churn.start()
    reader.start()
    try:
        for _ in range(KILLS):
            time.sleep(chance.uniform(0, 0.05))
            daemon.kill()
            daemon = router.publish(wait=False)
    finally:
        churn.end()
        reader.end()
    assert set(reader.answers) <= {(FORWARDING, FORWARDING), (FORWARDING, NOT_FORWARDING)}
    assert reader.answers.total() > 10 * KILLS
    router.forward6(True)
    assert eventually(lambda: agent.ask("ipv6IpForwarding.0") == FORWARDING), daemon.text()
    router.loads_as_published()
