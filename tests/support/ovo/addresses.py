"""What the address tables should say, computed from what `ip -json -d address` says.

An address may be on several links, or on one link under several prefix lengths, and is one row all
the same: a link in operation goes before one that is not, then the links' names decide, then the
shortest prefix does.
"""

import ipaddress
from typing import NamedTuple

from ovo.tables import ADDR, ADDRESS, PREFIX, Tree

PREFERRED, INACCESSIBLE = 1, 4
IN_OPERATION, CONFIGURED = 0, 1
INFINITE = 2**32 - 1


class Place(NamedTuple):
    """One address on one link."""
    state: int
    link: str
    if_index: int
    address: object
    length: int

    def rank(self):
        return self.state, self.link.encode(), self.length

    def prefix(self):
        """Its index in ipAddressPrefixTable."""
        network = ipaddress.ip_network((self.address, self.length), strict=False)
        octets = network.network_address.packed
        return (self.if_index, kind(self.address), len(octets), *octets, self.length)


def kind(address):
    return 1 if address.version == 4 else 2


def index(address):
    """Its index in ipAddressTable."""
    octets = address.packed
    return (kind(address), len(octets), *octets)


def runs(link):
    return "UP" in link["flags"] and "NO-CARRIER" not in link["flags"]


def _in_operation(link, info):
    return runs(link) and not info.get("tentative") and not info.get("dadfailed")


def places(links):
    """Every address that is served, wherever it is; link-local ones of IPv6 are not."""
    for link in links:
        for info in link.get("addr_info", []):
            if "local" not in info:
                continue
            address = ipaddress.ip_address(info["local"])
            if address.version == 4 or not address.is_link_local:
                state = IN_OPERATION if _in_operation(link, info) else CONFIGURED
                yield Place(state, link["ifname"], link["ifindex"], address, info["prefixlen"])


def expected(links):
    """The trees of the three tables."""
    masters = {}
    for place in sorted(places(links), key=Place.rank):
        masters.setdefault(index(place.address), place)
    return {
        ADDR: Tree(ADDR, {tuple(m.address.packed): _addr_row(m) for m in masters.values()
                          if m.address.version == 4}),
        PREFIX: Tree(PREFIX, {m.prefix(): (1, 1, 2, INFINITE, INFINITE)
                              for m in masters.values()}),
        ADDRESS: Tree(ADDRESS, {key: _address_row(m) for key, m in masters.items()}),
    }


def _addr_row(place):
    mask = ipaddress.ip_network(f"0.0.0.0/{place.length}").netmask
    return place.address.packed, place.if_index, mask.packed, 0, 65535


def _address_row(place):
    status = PREFERRED if place.state == IN_OPERATION else INACCESSIBLE
    pointer = (*PREFIX.column("ipAddressPrefixOrigin"), *place.prefix())
    return place.if_index, 1, pointer, 1, status, 0, 0, 1, 1
