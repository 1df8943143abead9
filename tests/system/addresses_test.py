"""The three address tables are what the kernel's addresses make them, whatever happens.

Each step shows within a second. (Any order of things, before the start and while somebody is away:
address_history_test.)
"""

import ipaddress
import itertools

import pytest

from ovo.addresses import INACCESSIBLE, PREFERRED, index
from ovo.daemons import eventually, stays
from ovo.tables import ADDRESS

PAIR = ("link add name eth1 type veth peer name eth1-far", "link set eth1-far up",
        "link set eth1 up")
PAIR2 = tuple(line.replace("eth1", "eth2") for line in PAIR)


SCENARIOS = {
    "one address on two links": [
        PAIR + PAIR2,
        ("addr add 10.4.0.1/24 dev eth2", "addr add 2001:db8:4::1/64 dev eth2 nodad"),
        ("addr add 10.4.0.1/24 dev eth1", "addr add 2001:db8:4::1/64 dev eth1 nodad"),
        ("link set eth1 down",),
        ("link set eth1 up", "addr replace 2001:db8:4::1/64 dev eth1 nodad"),
        ("addr del 10.4.0.1/24 dev eth1", "addr del 2001:db8:4::1/64 dev eth1"),
        ("addr add 10.4.0.1/16 dev eth1", "addr add 2001:db8:4::1/48 dev eth1 nodad"),
        ("link del eth2",),
    ],
    "of one subnet, all going with the first": [
        PAIR,
        ("addr add 10.5.0.1/24 dev eth1", "addr add 10.5.0.2/24 dev eth1",
         "addr add 10.5.0.3/24 dev eth1", "addr add 10.5.0.4/25 dev eth1",
         "addr add 2001:db8:5::1/64 dev eth1 nodad", "addr add 2001:db8:5::2/64 dev eth1 nodad"),
        ("addr del 10.5.0.1/24 dev eth1", "addr del 2001:db8:5::1/64 dev eth1"),
        ("addr add 10.5.0.1/24 dev eth1",),
    ],
    "of one subnet, the second taking over": [
        PAIR + ("sysctl net/ipv4/conf/eth1/promote_secondaries 1",),
        ("addr add 10.5.0.1/24 dev eth1", "addr add 10.5.0.2/24 dev eth1",
         "addr add 10.5.0.3/24 dev eth1"),
        ("addr del 10.5.0.1/24 dev eth1",),
        ("addr add 10.5.0.1/24 dev eth1",),
    ],
    "an index under another name": [
        ("link add name eth1 index 500 type veth peer name eth1-far", "link set eth1-far up",
         "link set eth1 up", "addr add 10.12.0.1/24 dev eth1",
         "addr add 2001:db8:c::1/64 dev eth1 nodad"),
        ("link del eth1", "link add name lan0 index 500 type veth peer name lan0-far",
         "link set lan0-far up", "link set lan0 up", "addr add 10.12.0.1/24 dev lan0",
         "addr add 2001:db8:c::1/64 dev lan0 nodad"),
        ("link del lan0", "link add name lan0 index 501 type veth peer name lan0-far",
         "link set lan0-far up", "link set lan0 up", "addr add 10.12.0.1/24 dev lan0"),
    ],
}
BY_NAME = pytest.mark.parametrize("steps", SCENARIOS.values(), ids=SCENARIOS)


def take(router, step):
    """Lines for `ip`, and among them such as `sysctl NAME VALUE`."""
    for switch, lines in itertools.groupby(step, lambda line: line.startswith("sysctl ")):
        if switch:
            for line in lines:
                router.sysctl(*line.split()[1:])
        else:
            router.batch(*lines)


def started(router):
    router.publish()
    agent = router.agent()
    assert agent.answers()
    return agent


@BY_NAME
def test_each_step_shows_within_a_second(router, steps):
    agent = started(router)
    for step in steps:
        take(router, step)
        router.agrees(agent)


def status(agent, text):
    """ipAddressStatus of an address, or noSuchInstance."""
    return agent.client.ask((*ADDRESS.column("ipAddressStatus"),
                             *index(ipaddress.ip_address(text))))


def test_an_address_is_preferred_once_it_is_no_longer_tentative(router):
    agent = started(router)
    router.links_up("eth1")
    router.sysctl("net/ipv6/conf/eth1/dad_transmits", 1000)
    router.batch("addr add 2001:db8::1/64 dev eth1")
    assert eventually(lambda: status(agent, "2001:db8::1") == INACCESSIBLE)
    router.agrees(agent)
    router.batch("addr change 2001:db8::1/64 dev eth1 nodad", "addr del 2001:db8::1/64 dev eth1",
                 "addr add 2001:db8::1/64 dev eth1 nodad")
    assert eventually(lambda: status(agent, "2001:db8::1") == PREFERRED)
    router.batch("addr add 2001:db8::2/64 dev eth1 optimistic")
    router.agrees(agent)


def test_detection_that_ends_by_itself(router):
    agent = started(router)
    router.links_up("eth1")
    router.batch("addr add 2001:db8::1/64 dev eth1")
    assert eventually(lambda: status(agent, "2001:db8::1") == INACCESSIBLE)
    assert eventually(lambda: status(agent, "2001:db8::1") == PREFERRED, within=10)
    router.agrees(agent)


def test_a_duplicate_is_inaccessible(router):
    agent = started(router)
    router.links_up("eth1")
    router.batch("addr add 2001:db8::1/64 dev eth1-far nodad")
    assert eventually(lambda: status(agent, "2001:db8::1") == PREFERRED)
    router.batch("addr add 2001:db8::1/64 dev eth1")
    assert eventually(lambda: any(
        info.get("dadfailed") for link in router.kernel_addresses()
        for info in link["addr_info"]), within=10)
    router.agrees(agent)
    router.batch("addr del 2001:db8::1/64 dev eth1-far")
    assert eventually(lambda: status(agent, "2001:db8::1") == INACCESSIBLE)
    router.agrees(agent)


def test_link_local_addresses_stay_out(router):
    agent = started(router)
    router.links_up("eth1")
    router.batch("addr add fe80::1/64 dev eth1 nodad", "addr add 169.254.1.1/16 dev eth1")
    assert eventually(lambda: status(agent, "169.254.1.1") == PREFERRED)
    assert stays(lambda: status(agent, "fe80::1") == "noSuchInstance", 0.3)
    router.batch("addr del fe80::1/64 dev eth1")
    router.agrees(agent)
