"""SIGHUP unloads and loads the module again, under load, as often as one likes."""

import pytest

from ovo.churn import Asking
from ovo.daemons import FORWARDING, LONG, WITHOUT_SCALARS, eventually

RELOADS = 10_000 if LONG else 1000
# The daemon itself keeps some 3 kB at each reload; the module may not add to that. In kB, over all.
ALLOWED_GROWTH = 512


class Growth:
    """How much more memory one daemon has gained since the first ten turns than another."""

    def __init__(self, agent, stock):
        self._agent, self._stock, self._early = agent, stock, None

    def turn(self, number):
        if number == 10:
            self._early = self._now()

    def _now(self):
        return self._agent.daemon.status("VmRSS") - self._stock.daemon.status("VmRSS")

    def kilobytes(self):
        return self._now() - self._early


@pytest.fixture
def loaded(router):
    router.forward4(True)
    router.publish()
    agent = router.agent(without=WITHOUT_SCALARS)
    assert agent.answers()
    load = Asking(agent, "1.3.6.1.2.1.4.1.0")
    load.start()
    yield agent, load
    load.end()


def test_a_thousand_reloads_under_load(router, loaded):
    agent, load = loaded
    stock = router.agent(plugin=False)
    growth = Growth(agent, stock)
    for turn in range(1, RELOADS + 1):
        stock.reload_and_wait()
        agent.reload_and_wait()
        assert eventually(lambda: agent.ask("ipForwarding.0") == FORWARDING, 10), (
            turn, agent.daemon.text()[-2000:])
        growth.turn(turn)
    print(f"grew {growth.kilobytes()} kB; answers {load.answers}")
    assert growth.kilobytes() < ALLOWED_GROWTH
    assert set(load.answers) <= {(FORWARDING,), ("noSuchObject",), ("genErr",)}, load.answers


def test_the_module_taken_out_and_put_back(router, loaded):
    agent, load = loaded
    stock = router.agent(plugin=False)
    growth = Growth(agent, stock)
    for turn in range(1, RELOADS // 2 + 1):
        for plugin, expected in ((False, "noSuchObject"), (True, FORWARDING)):
            agent.config(plugin)
            agent.reload_and_wait()
            stock.reload_and_wait()
            assert eventually(lambda: agent.ask("ipForwarding.0") == expected, 10), turn
            assert agent.ask("sysUpTime.0", 10) is not None
        growth.turn(turn)
    print(f"grew {growth.kilobytes()} kB; answers {load.answers}")
    assert growth.kilobytes() < ALLOWED_GROWTH
    assert set(load.answers) <= {(FORWARDING,), ("noSuchObject",), ("genErr",)}, load.answers
