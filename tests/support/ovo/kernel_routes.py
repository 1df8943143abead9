"""Which routes and next hops of the kernel are in use, by what `ip -json -details` says of them."""

import ipaddress

VIAS_MAX = 128
LINK_LOCAL = ipaddress.IPv6Network("fe80::/10")
REFUSALS = ("unreachable", "prohibit", "blackhole")


def network_of(text, version):
    if text == "default":
        text = "0.0.0.0/0" if version == 4 else "::/0"
    return ipaddress.ip_network(text)


def is_zoned(network):
    """Whether a prefix of that name is another one on each link."""
    return (network.version == 6 and network.prefixlen >= LINK_LOCAL.prefixlen
            and network.network_address in LINK_LOCAL)


class Hops:
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


def in_use(version, listed, nexthops, links):
    """Of each prefix the routes that a lookup ends at: network, zone, route, kind and next hops.

    The lowest metric decides; then of IPv4 no TOS and the place in the list, of IPv6 that it leads
    somewhere, and all of these are in use together.
    """
    hops, candidates = Hops(nexthops), {}
    for place, route in enumerate(listed):
        kind = hops.kind(route)
        if version == 6 and not _is_followed(route, kind):
            continue
        # What leads somewhere, multicast too, is none with all its next hops dead.
        leads = kind not in ("throw", *REFUSALS)
        vias = hops.of(route) if leads else []
        if leads and not vias:
            continue
        network = network_of(route["dst"], version)
        zone = links.get(route.get("dev"), 0) if is_zoned(network) else 0
        rank = (route.get("metric", 0), kind != "unicast") if version == 6 else (
            route.get("metric", 0), "tos" in route, place)
        candidates.setdefault((network, zone), []).append((rank, route, kind, vias))
    for (network, zone), found in candidates.items():
        least = min(rank for rank, *_ in found)
        taken = [one for one in found if one[0] == least]
        together = version == 6 and taken[0][2] == "unicast"
        for _, route, kind, vias in taken if together else taken[:1]:
            yield network, zone, route, kind, vias[:VIAS_MAX]


def _is_followed(route, kind):
    """Of IPv6: not what the kernel caches, nor what holds for some sources alone or no more. (Of
    siblings the lifetime of the first is told; the kernel sends over each until it is collected.)"""
    return (kind in ("unicast", "throw", *REFUSALS) and "cache" not in route.get("flags", ())
            and "from" not in route and ("nexthops" in route or route.get("expires", 0) >= 0))
