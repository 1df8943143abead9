"""What ipNetToMediaTable should say, computed from what `ip -json neighbour show nud all` says."""

import ipaddress

from ovo.tables import NET_TO_MEDIA, Tree

DYNAMIC, STATIC = 3, 4
NOT_SERVED = {"FAILED", "INCOMPLETE", "NOARP"}


def expected(neighbours, indexes):
    """The tree; `indexes`: the ifIndex of every link, by name.

    A neighbour without a link address of six octets has no row, nor has one that the kernel has not
    found, or never asks for. What it answers for others (proxy) is not among `neighbours`.
    """
    rows = {}
    for one in neighbours:
        address, if_index = ipaddress.ip_address(one["dst"]), indexes.get(one["dev"])
        octets, state = one.get("lladdr", "").split(":"), set(one.get("state", []))
        if address.version == 4 and if_index and len(octets) == 6 and not state & NOT_SERVED:
            kind = STATIC if "PERMANENT" in state else DYNAMIC
            rows[(if_index, *address.packed)] = (
                if_index, bytes.fromhex("".join(octets)), address.packed, kind)
    return Tree(NET_TO_MEDIA, rows)
