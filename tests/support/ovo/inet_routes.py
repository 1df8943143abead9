"""What inetCidrRouteTable should say, computed from what `ip -json -details` says of the kernel's
routes of both families."""

from typing import NamedTuple

from ovo.kernel_routes import LINK_LOCAL, in_use, is_zoned
from ovo.routes import signed
from ovo.tables import EVERY_TABLE, SCALARS, Tree

INET_ROUTE = EVERY_TABLE["inetCidrRouteTable"]
INET_ROUTE_NUMBER = SCALARS["inetCidrRouteNumber"]
AGE = 10
# IANAipRouteProtocol, by rtm_protocol; others are other(1).
PROTOCOLS = {"kernel": 2, "boot": 3, "static": 3, "redirect": 4, "rip": 8, "isis": 9, "ospf": 13,
             "bgp": 14, "eigrp": 16, "dhcp": 19}
OTHER, REJECT, LOCAL, REMOTE, BLACKHOLE = range(1, 6)
REFUSED = {"unreachable": REJECT, "prohibit": REJECT, "blackhole": BLACKHOLE}


class Row(NamedTuple):
    index: tuple
    if_index: int
    kind: int
    protocol: int
    metric: int


def typed(address, zone=0):
    """InetAddressType, length and octets, as an index has them; None: unknown(0)."""
    if address is None:
        return 0, 0
    octets = address.packed
    if address.version == 4:
        return 1, 4, *octets
    if address in LINK_LOCAL:
        return 4, 20, *octets, *zone.to_bytes(4, "big")
    return 2, 16, *octets


def _index(network, zone, hop, if_index):
    hop_type, *hop_octets = typed(hop, if_index)
    dest = typed(network.network_address, zone)
    if network.version == 6 and not is_zoned(network):
        dest = 2, 16, *network.network_address.packed
    return (*dest, network.prefixlen, 2, 0, 0, hop_type, *hop_octets)


def expected(routes4, routes6, nexthops, links):
    """The rows by index. `links`: index by name."""
    rows = {}
    for version, listed in ((4, routes4), (6, routes6)):
        for found in in_use(version, listed, nexthops, links):
            for row in _rows(*found, links):
                held = rows.get(row.index)
                # Where two next hops are one instance: IPv4 has the first, IPv6 the smallest ifIndex.
                if held is None or (version == 6 and row.if_index < held.if_index):
                    rows[row.index] = row
    return rows


def _rows(network, zone, route, kind, vias, links):
    protocol = PROTOCOLS.get(route.get("protocol", "boot"), OTHER)
    metric = signed(route.get("metric", 0))
    if kind in REFUSED:
        yield Row(_index(network, zone, None, 0), 0, REFUSED[kind], protocol, metric)
    elif kind == "unicast":
        for hop, link in vias:
            if link not in links:
                continue
            shown = hop if hop is None or hop.version == network.version else None
            yield Row(_index(network, zone, shown, links[link]), links[link],
                      REMOTE if hop else LOCAL, protocol, metric)


def tree(rows, ages=None):
    """The table as it should be walked. `ages`: what each row's age is said to be, by index."""
    return Tree(INET_ROUTE, {index: (
        row.if_index, row.kind, row.protocol, (ages or {}).get(index, 0), 0, row.metric,
        -1, -1, -1, -1, 1) for index, row in rows.items()})


def differences(client, rows):
    """Where the agent's table is not these rows, whatever their ages: lines."""
    number = client.ask((*INET_ROUTE_NUMBER, 0), timeout=5.0)
    served = list(client.walk(INET_ROUTE.oid, repetitions=20))
    size = len(INET_ROUTE.oid) + 2
    ages = {one.oid[size:]: one.value for one in served if one.oid[size - 1] == AGE}
    lines = tree(rows, ages).differences(served)
    if number != len(rows):
        lines.append(f"inetCidrRouteNumber is {number}, expected {len(rows)}")
    return lines
