"""What the address tables should say, computed from what `ip -json -d address` says.

An address may be on several links, or on one link under several prefix lengths, and is one row all
the same: a link in operation goes before one that is not, then the links' names decide.
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
        return self.state, self.link.encode()

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


def _masters(links, served):
    """The place that each address is served from.

    Which of two lengths of one address on one link came first is not in `links`: there the prefix
    that the agent serves decides, if it is one of them.
    """
    by_index = {}
    for place in places(links):
        by_index.setdefault(index(place.address), []).append(place)
    for key, all_places in by_index.items():
        best = min(map(Place.rank, all_places))
        equal = [place for place in all_places if place.rank() == best]
        yield key, next((p for p in equal if p.prefix() == served.get(key)), equal[0])


def expected(links, served=()):
    """The trees of the three tables; `served`: what the agent said of ipAddressTable."""
    column = ADDRESS.column("ipAddressPrefix")
    pointed = {binding.oid[len(column):]: binding.value[10:] for binding in served
               if binding.oid[:len(column)] == column}
    masters = dict(_masters(links, pointed))
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
