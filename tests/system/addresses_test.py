"""What becomes of a single address: its state, and the link-local ones that stay out.

Each step shows within a second. (Any order of things, before the start and while somebody is away:
address_history_test.)
"""

import ipaddress

from ovo.addresses import INACCESSIBLE, PREFERRED, index
from ovo.daemons import eventually, stays
from ovo.tables import ADDRESS

def started(router):
    router.publish()
    agent = router.agent()
    assert agent.answers()
    return agent


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
    router.sysctl("net/ipv6/conf/eth1/dad_transmits", 1)
    router.batch("addr add 2001:db8::2/64 dev eth1 optimistic", "addr add 2001:db8::3/64 dev eth1")
    router.agrees(agent)
    assert eventually(lambda: status(agent, "2001:db8::3") == PREFERRED, within=10)
    router.sysctl("net/ipv6/conf/eth1/keep_addr_on_down", 1)
    router.sysctl("net/ipv6/conf/eth1/dad_transmits", 1000)
    router.batch("link set eth1 down", "link set eth1 up")
    assert eventually(lambda: (status(agent, "2001:db8::1"), status(agent, "2001:db8::3"))
                      == (PREFERRED, INACCESSIBLE))


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
