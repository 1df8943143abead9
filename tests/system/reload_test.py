"""SIGHUP unloads and loads the module again, under load, as often as one likes."""

import pytest

from ovo import ber, snmp
from ovo.churn import Asking
from ovo.daemons import FORWARDING, LONG, WITHOUT, WITHOUT_SCALARS, eventually

# Of one daemon. At each reload snmpd 5.9.3 itself registers an alarm more, and it looks through all of
# them for each that is due: after some 4,000 a turn of its loop takes seconds, with the module or not.
RELOADS = 1000
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


@pytest.mark.parametrize("plugins", [(True,), (False, True)], ids=["stays", "goes and comes back"])
@pytest.mark.parametrize("daemon", range(10 if LONG else 1))
def test_a_thousand_reloads_under_load(router, loaded, daemon, plugins):
    agent, load = loaded
    stock = router.agent(plugin=False)
    growth = Growth(agent, stock)
    for turn in range(1, RELOADS // len(plugins) + 1):
        for plugin in plugins:
            agent.config(plugin)
            for one in (stock, agent):
                one.reload_and_wait()
            expected = FORWARDING if plugin else "noSuchObject"
            assert eventually(lambda: agent.ask("ipForwarding.0") == expected, 10), (
                turn, agent.daemon.text()[-2000:])
        growth.turn(turn)
    print(f"grew {growth.kilobytes()} kB; answers {load.answers}")
    assert growth.kilobytes() < ALLOWED_GROWTH
    assert set(load.answers) <= {(FORWARDING,), ("noSuchObject",), ("genErr",)}, load.answers


def test_requests_that_wait_for_a_subagent_outlive_no_reload(router):
    """Each points to what is registered for its other names, and is answered before that goes."""
    router.publish()
    socket, uptime = f"unix:{router.dir}/master", "1.3.6.1.2.1.25.1"
    agent = router.agent(without=WITHOUT + ",hr_system",
                         config=f"master agentx\nagentXSocket {socket}\n")
    subagent = router.agent(plugin=False, module="none", without="hr_system", up=False,
                            options=("-X", "-x", socket))
    assert agent.answers()
    assert eventually(lambda: agent.client.getnext(uptime).bindings[0].kind == "TimeTicks", 10)
    names = [ber.encode_binding(ber.oid(one)) for one in ("1.3.6.1.2.1.4.24.3", uptime)]
    for _ in range(3):
        with subagent.stopped():
            for kind in (snmp.GETNEXT, snmp.GETBULK):
                with pytest.raises(snmp.Silence):
                    agent.client.raw(kind, names, 0, 5, timeout=0.1)
            agent.reload_and_wait()
        assert agent.answers() and eventually(
            lambda: agent.client.getnext(uptime).bindings[0].kind == "TimeTicks", 10)
