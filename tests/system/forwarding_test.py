"""The two forwarding scalars follow the kernel's flags, however snmpd is started."""

import pytest

from ovo.daemons import FORWARDING, NOT_FORWARDING, WITHOUT_SCALARS, eventually, stays

FLAGS = [("ipForwarding.0", "forward4"), ("ipv6IpForwarding.0", "forward6")]


@pytest.mark.parametrize("name, switch", FLAGS)
def test_a_flag_set_before_the_start_and_changed_later_shows(router, name, switch):
    getattr(router, switch)(True)
    router.publish()
    agent = router.agent()
    assert agent.answers(name)
    assert agent.ask(name) == FORWARDING
    for on in (False, True, False):
        getattr(router, switch)(on)
        expected = FORWARDING if on else NOT_FORWARDING
        assert eventually(lambda: agent.ask(name) == expected), expected


IPV4_ALONE = [{"family": "inet", "interface": "all", "forwarding": True}]
IPV6_TOO = [{"family": "inet6", "interface": "all", "forwarding": True}]


def test_a_kernel_without_ipv6_does_not_forward_it(router):
    router.load(IPV4_ALONE)
    agent = router.agent()
    assert agent.answers()
    assert agent.ask("ipv6IpForwarding.0") == NOT_FORWARDING
    assert agent.ask("ipForwarding.0") == FORWARDING
    router.load(IPV6_TOO)
    assert eventually(lambda: agent.ask("ipv6IpForwarding.0") == FORWARDING)


@pytest.mark.parametrize("publisher", ["nobody", None], ids=["both", "snmpd"])
def test_an_ordinary_user_may_run_it(router, publisher):
    if publisher is None:
        # The tables are the publisher's group's: without it there is no way in, and a clear line.
        router.publish()
        agent = router.agent(user="nobody", without=WITHOUT_SCALARS)
        assert stays(lambda: agent.ask("ipForwarding.0") in ("noSuchObject", "genErr"), 1)
        assert agent.daemon.lines(f"{router.rundir}.*ermission")
        return
    router.forward4(True)
    router.publish(user=publisher)
    agent = router.agent(user="nobody")
    assert agent.answers()
    assert agent.ask("ipForwarding.0") == FORWARDING
