"""What the tables of neighbours should say, computed from `ip -json neighbour show nud all`."""

import ipaddress

from ovo.tables import NET_TO_MEDIA, NET_TO_PHYSICAL, Tree

INVALID, DYNAMIC, STATIC = 2, 3, 4
STATES = {"REACHABLE": 1, "PERMANENT": 1, "STALE": 2, "DELAY": 3, "PROBE": 4, "FAILED": 5,
          "INCOMPLETE": 7}
NOT_RESOLVED = {"FAILED", "INCOMPLETE"}
ACTIVE = 1


def _typed(address, if_index):
    """InetAddressType and InetAddress, as an instance has them."""
    zone = tuple(if_index.to_bytes(4, "big")) if address.is_link_local else ()
    octets = (*address.packed, *(zone if address.version == 6 else ()))
    return ({4: 1, 16: 2, 20: 4}[len(octets)], len(octets), *octets)


def expected(neighbours, indexes):
    """Both trees; `indexes`: the ifIndex of every link, by name.

    A neighbour of which the kernel is not to be told (NOARP, NONE) has no row, and in the older table
    none without a link address of six octets either. What the machine answers for (proxy) is not
    among `neighbours`. When each was updated is left open.
    """
    media, physical = {}, {}
    for one in neighbours:
        address, if_index = ipaddress.ip_address(one["dst"]), indexes.get(one["dev"])
        octets, state = one.get("lladdr"), next(iter(one.get("state", [])), None)
        if state not in STATES or not if_index:
            continue
        octets = bytes.fromhex(octets.replace(":", "")) if octets else b""
        kind = STATIC if state == "PERMANENT" else DYNAMIC
        if address.version == 4 and len(octets) == 6 and state not in NOT_RESOLVED:
            media[(if_index, *address.packed)] = (if_index, octets, address.packed, kind)
        physical[(if_index, *_typed(address, if_index))] = (
            octets, None, INVALID if state == "FAILED" else kind, STATES[state], ACTIVE)
    return Tree(NET_TO_MEDIA, media), Tree(NET_TO_PHYSICAL, physical)


def served(client):
    """What both tables say, but for the times of updates."""
    media, physical = (list(client.walk(table.oid, repetitions=50))
                       for table in (NET_TO_MEDIA, NET_TO_PHYSICAL))
    return media, [one._replace(value=None) if one.kind == "TimeTicks" else one
                   for one in physical]
