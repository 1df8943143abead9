"""A manager library that knows the MIBs follows every row's pointers.

pysnmp resolves names, indexes and values by IP-MIB alone: it shares nothing with this tree.
"""

import ipaddress

import pytest

# Debian 13's is for an older Python than its own.
pysnmp = pytest.importorskip("pysnmp.hlapi")
mibs = pytest.importorskip("pysnmp_mibs")


class Manager:
    def __init__(self, router, agent):
        self._router = router
        self._engine = pysnmp.SnmpEngine()
        self._target = pysnmp.UdpTransportTarget(("127.0.0.1", agent.port), timeout=5, retries=0)

    @staticmethod
    def _object(*name):
        return pysnmp.ObjectType(pysnmp.ObjectIdentity(*name).addMibSource(mibs.__path__[0]))

    def _ask(self, how, *objects, **options):
        asked = how(self._engine, pysnmp.CommunityData("public"), self._target,
                    pysnmp.ContextData(), *objects, **options)
        for error, status, _, bindings in asked:
            assert not error and not status, (error, status)
            yield bindings

    def walk(self, column):
        """Index (as the MIB parses it) and value of each row."""
        for [(name, value)] in self._ask(pysnmp.nextCmd, self._object("IP-MIB", column),
                                         lexicographicMode=False):
            yield name.getMibSymbol()[2], value

    def follow(self, pointer):
        """Column name, index and value of what a RowPointer points to."""
        [[(name, value)]] = [*self._ask(pysnmp.getCmd, self._object(pointer))]
        _, column, index = name.getMibSymbol()
        return column, index, value

    def inside(self, ask):
        return self._router.space.inside(ask)


@pytest.fixture
def manager(router):
    router.links_up("eth1", "eth2")
    router.batch("addr add 10.0.0.1/24 dev eth1", "addr add 10.0.0.2/24 dev eth1",
                 "addr add 10.0.1.1/31 dev eth2", "addr add 10.0.2.1/0 dev eth2",
                 "addr add 192.0.2.1/32 dev eth1",
                 "addr add 2001:db8::1/64 dev eth1 nodad",
                 "addr add 2001:db8::2/64 dev eth2 nodad",
                 "addr add 2001:db8:1::1/128 dev eth1 nodad",
                 "addr add 2001:db8::9/0 dev eth2 nodad")
    router.publish()
    agent = router.agent()
    assert agent.answers()
    router.agrees(agent, within=5)
    return Manager(router, agent)


def kernel_networks(router):
    """Index of the link and network of each address that is not link-local."""
    return {str(address): (link["ifindex"], ipaddress.ip_network(
                (info["local"], info["prefixlen"]), strict=False))
            for link in router.kernel_addresses() for info in link["addr_info"]
            for address in [ipaddress.ip_address(info["local"])]
            if address.version == 4 or not address.is_link_local}


def test_every_prefix_pointer_leads_to_the_row_of_the_network(router, manager):
    def follow_all():
        return [(index, manager.follow(tuple(value)))
                for index, value in manager.walk("ipAddressPrefix")]

    networks = kernel_networks(router)
    followed = manager.inside(follow_all)
    assert len(followed) == len(networks) >= 11
    for (_, address), (column, index, value) in followed:
        if_index, kind, prefix, length = index
        network = ipaddress.ip_network((bytes(prefix), int(length)))
        assert (int(if_index), network) == networks[str(ipaddress.ip_address(bytes(address)))]
        assert (column, value.prettyPrint()) == ("ipAddressPrefixOrigin", "other")
        assert kind.prettyPrint() == f"ipv{network.version}"


def test_values_by_their_names(router, manager):
    def column(name):
        return {tuple(map(str, index)): value.prettyPrint()
                for index, value in manager.walk(name)}

    def all_columns():
        return {name: set(column(name).values())
                for name in ("ipAddressType", "ipAddressStatus", "ipAddressOrigin",
                             "ipAddressRowStatus", "ipAddressStorageType",
                             "ipAddressPrefixOnLinkFlag", "ipAddressPrefixAutonomousFlag")}

    assert manager.inside(all_columns) == {
        "ipAddressType": {"unicast"}, "ipAddressStatus": {"preferred"},
        "ipAddressOrigin": {"other"}, "ipAddressRowStatus": {"active"},
        "ipAddressStorageType": {"other"}, "ipAddressPrefixOnLinkFlag": {"true"},
        "ipAddressPrefixAutonomousFlag": {"false"}}
    masks = manager.inside(lambda: {index[0].prettyPrint(): value.prettyPrint()
                                    for index, value in manager.walk("ipAdEntNetMask")})
    assert masks == {"10.0.0.1": "255.255.255.0", "10.0.0.2": "255.255.255.0",
                     "10.0.1.1": "255.255.255.254", "10.0.2.1": "0.0.0.0",
                     "192.0.2.1": "255.255.255.255", "127.0.0.1": "255.0.0.0"}
