"""The two forwarding scalars follow the kernel's flags."""

import pytest

from ovo.daemons import FORWARDING, NOT_FORWARDING, eventually

FLAGS = [("ipForwarding.0", "forward4"), ("ipv6IpForwarding.0", "forward6")]


@pytest.mark.parametrize("name, switch", FLAGS)
def test_a_flag_that_changes_shows_within_a_second(router, name, switch):
    router.publish()
    agent = router.agent()
    assert agent.answers(name)
    assert agent.ask(name) == NOT_FORWARDING
    for on in (True, False, True, False):
        getattr(router, switch)(on)
        expected = FORWARDING if on else NOT_FORWARDING
        assert eventually(lambda: agent.ask(name) == expected, within=1), expected
        assert agent.ask(name) == expected


@pytest.mark.parametrize("name, switch", FLAGS)
def test_a_flag_set_before_the_start_shows_at_once(router, name, switch):
    getattr(router, switch)(True)
    router.publish()
    agent = router.agent()
    assert agent.answers(name)
    assert agent.ask(name) == FORWARDING


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


def test_it_stands_before_the_stock_modules(router):
    router.load(IPV4_ALONE + IPV6_TOO)
    agent = router.agent()
    for name, _ in FLAGS:
        assert eventually(lambda: agent.ask(name) == FORWARDING)
        assert agent.set(name, NOT_FORWARDING) == "notWritable"
        assert agent.ask(name) == FORWARDING
