"""What inetCidrRouteTable should say, computed from what `ip -json -details` says of the kernel's
routes of both families."""

import ipaddress
from typing import NamedTuple

from ovo import routes
from ovo.tables import EVERY_TABLE, SCALARS, Tree

INET_ROUTE = EVERY_TABLE["inetCidrRouteTable"]
INET_ROUTE_NUMBER = SCALARS["inetCidrRouteNumber"]
AGE = 10
LINK_LOCAL = ipaddress.IPv6Network("fe80::/10")
# IANAipRouteProtocol, by rtm_protocol; others are other(1).
PROTOCOLS = {"kernel": 2, "boot": 3, "static": 3, "redirect": 4, "rip": 8, "isis": 9, "ospf": 13,
             "bgp": 14, "eigrp": 16, "dhcp": 19}
OTHER, REJECT, LOCAL, REMOTE, BLACKHOLE = range(1, 6)
REFUSALS = {"unreachable": REJECT, "prohibit": REJECT, "blackhole": BLACKHOLE}


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
    if network.prefixlen < LINK_LOCAL.prefixlen and network.version == 6:
        dest = 2, 16, *network.network_address.packed
    return (*dest, network.prefixlen, 2, 0, 0, hop_type, *hop_octets)


def _signed(number):
    return number - (1 << 32) if number >= 1 << 31 else number


def _network(text, version):
    if text == "default":
        text = "0.0.0.0/0" if version == 4 else "::/0"
    return ipaddress.ip_network(text)


class _Hops:
    """Next hops of routes as gateway (or None) and link: their own that are alive, or those of the
    nexthop object they name."""

    def __init__(self, nexthops):
        self._objects = {one["id"]: one for one in nexthops}

    def of(self, route):
        if "nhid" in route and self._objects:
            return self._of_object(route["nhid"])
        return [self._hop(one) for one in route.get("nexthops", [route])
                if "dead" not in one.get("flags", ())]

    def kind(self, route):
        discards = "blackhole" in self._objects.get(route.get("nhid"), ())
        return "blackhole" if discards else route.get("type", "unicast")

    @staticmethod
    def _hop(entry):
        gateway = entry.get("gateway") or entry.get("via", {}).get("host")
        return gateway and ipaddress.ip_address(gateway), entry.get("dev")

    def _of_object(self, number):
        one = self._objects[number]
        if "group" in one:
            return [hop for member in one["group"] for hop in self._of_object(member["id"])]
        return [self._hop(one)]


def expected(routes4, routes6, nexthops, links):
    """The rows by index. `links`: index by name."""
    hops = _Hops(nexthops)
    rows = {}
    for version, listed in ((4, routes4), (6, routes6)):
        for row in _of_family(version, listed, hops, links):
            held = rows.get(row.index)
            # Where two next hops are one instance: IPv4 has the first, IPv6 the smallest ifIndex.
            if held is None or (version == 6 and row.if_index < held.if_index):
                rows[row.index] = row
    return rows


def _of_family(version, listed, hops, links):
    chosen = {}
    for place, route in enumerate(listed):
        kind = hops.kind(route)
        if version == 6 and not _is_followed(route, kind):
            continue
        network = _network(route["dst"], version)
        refuses = kind != "unicast"
        # What leads somewhere, multicast too, is none with all its next hops dead.
        leads = kind not in ("throw", *REFUSALS)
        vias = hops.of(route) if leads else []
        if leads and not vias:
            continue
        zone = 0
        if version == 6 and network.prefixlen >= LINK_LOCAL.prefixlen \
                and network.network_address in LINK_LOCAL:
            zone = links.get(route.get("dev"), 0)
        rank = (route.get("metric", 0), refuses) if version == 6 else (
            route.get("metric", 0), "tos" in route, place)
        best = chosen.setdefault((network, zone), [])
        best.append((rank, route, kind, vias))
    for (network, zone), candidates in chosen.items():
        least = min(rank for rank, *_ in candidates)
        taken = [one for one in candidates if one[0] == least]
        alone = version == 4 or taken[0][2] != "unicast"
        for _, route, kind, vias in taken[:1] if alone else taken:
            yield from _rows(network, zone, route, kind, vias, links)


def _is_followed(route, kind):
    """Of IPv6: not what the kernel caches, nor what holds for some sources alone or no more."""
    return (kind in ("unicast", "throw", *REFUSALS) and "cache" not in route.get("flags", ())
            and "from" not in route and route.get("expires", 0) >= 0)


def _rows(network, zone, route, kind, vias, links):
    protocol = PROTOCOLS.get(route.get("protocol", "boot"), OTHER)
    metric = _signed(route.get("metric", 0))
    if kind in REFUSALS:
        yield Row(_index(network, zone, None, 0), 0, REFUSALS[kind], protocol, metric)
    elif kind == "unicast":
        for hop, link in vias[:routes.VIAS_MAX]:
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
