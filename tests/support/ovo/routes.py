"""What ipCidrRouteTable should say, computed from what `ip -json` says of the kernel's routes.

A million rows are compared as they are encoded: the model's rows are a stream of octets for each
column, and so is what the agent answers. Only what differs is decoded.
"""

import functools
import ipaddress
import itertools
from typing import NamedTuple

from ovo import ber
from ovo.kernel_routes import in_use
from ovo.tables import ROUTE, ROUTE_NUMBER, Tree

# ipCidrRouteProto and the usual administrative distance, by rtm_protocol.
PROTOCOLS = {"kernel": (2, 0), "boot": (3, 1), "static": (3, 1), "bgp": (14, 20),
             "eigrp": (1, 90), "babel": (1, 100), "ospf": (13, 110), "isis": (1, 115),
             "rip": (8, 120), "dhcp": (1, 254)}
OTHERS = (1, 255)
MASKS = [(1 << 32) - (1 << 32 - length) for length in range(33)]


class Row(NamedTuple):
    """Addresses as numbers; in the order of its index."""
    dest: int
    mask: int
    next_hop: int
    if_index: int
    protocol: int
    metric: int
    preference: int

    def index(self):
        return (*octets(self.dest), *octets(self.mask), 0, *octets(self.next_hop))

    def __str__(self):
        dest, hop = ipaddress.IPv4Address(self.dest), ipaddress.IPv4Address(self.next_hop)
        return (f"{dest}/{self.mask.bit_count()} via {hop} ifIndex {self.if_index} "
                f"proto {self.protocol} metric {self.metric} preference {self.preference}")


def octets(number):
    return number.to_bytes(4, "big")


def address(text):
    a, b, c, d = text.split(".")
    return int(a) << 24 | int(b) << 16 | int(c) << 8 | int(d)


def destination(text):
    if text == "default":
        return 0, 0
    base, _, length = text.partition("/")
    return address(base), int(length or 32)


def expected(listed, nexthops, links):
    """The rows in their order. `links`: index by name; a link that is not there has no rows."""
    rows = {}
    for network, _, route, kind, vias in in_use(4, listed, nexthops, links):
        if kind != "unicast":
            continue
        dest, length = int(network.network_address), network.prefixlen
        protocol, preference = PROTOCOLS.get(route.get("protocol", "boot"), OTHERS)
        for gateway, link in vias:
            # An IPv4 row has no place for an IPv6 next hop.
            hop = int(gateway) if gateway is not None and gateway.version == 4 else 0
            key = dest, length, hop
            if link in links and key not in rows:
                rows[key] = Row(dest, MASKS[length], hop, links[link], protocol,
                                route.get("metric", 0), preference)
    return [rows[key] for key in sorted(rows)]


# The columns that differ from row to row; the others are constants.
VARYING = (5, 7, 11, 12)
_ARC = [ber.oid_body((0, 0, number))[1:] for number in range(256)]


def tree(rows):
    """The table with its sixteen columns, for a few rows."""
    return Tree(ROUTE, {row.index(): _values(row) for row in rows})


def _values(row):
    """In the order of the columns."""
    return (octets(row.dest), octets(row.mask), 0, octets(row.next_hop), row.if_index, 1,
            row.protocol, -1, (0, 0), 0, signed(row.metric), row.preference, -1, -1, -1, 1)


def signed(number):
    return number - (1 << 32) if number >= 1 << 31 else number


def _arcs(number):
    a, b, c, d = number.to_bytes(4, "big")
    return _ARC[a] + _ARC[b] + _ARC[c] + _ARC[d]


_few = functools.cache(_arcs)  # masks and next hops


def indexes(rows):
    """The index of each row, encoded."""
    return [_arcs(row.dest) + _few(row.mask) + b"\0" + _few(row.next_hop) for row in rows]


def bindings(number, rows, encoded_indexes):
    """A column as the agent should answer it: one encoded binding a row."""
    head = ber.oid_body((*ROUTE.oid, 1, number))
    kind = ROUTE.columns[number - 1].kind
    encoded = functools.cache(lambda value: ber.encode_value(kind, value))
    result = []
    for row, index in zip(rows, encoded_indexes):
        value = encoded(_values(row)[number - 1])
        name = len(head) + len(index)
        result.append(bytes((0x30, name + 2 + len(value), 0x06, name)) + head + index + value)
    return result


class ColumnWalk:
    """Walks one column of an agent beside the bindings that it should consist of."""

    def __init__(self, client, number, encoded, repetitions=100):
        self._client, self._number, self._encoded = client, number, encoded
        self._repetitions = repetitions
        self._head = ber.oid_body((*ROUTE.oid, 1, number))

    def differences(self, most=10):
        """Lines; none when every row is there, equal, in order, and no other."""
        last, at = self._head, 0
        while True:
            answer = self._client.bulk_bytes(last, self._repetitions)
            chunk = self._encoded[at:at + self._repetitions]
            whole = b"".join(chunk)
            if answer == whole and chunk:
                at += len(chunk)
                last = self._name(chunk[-1])
                continue
            if answer and whole.startswith(answer):  # as many as a message takes
                taken = self._count(answer)
                at += taken
                last = self._name(chunk[taken - 1])
                continue
            return self._explain(answer, at, most)

    def _count(self, answer):
        return sum(1 for _ in ber.elements(answer))

    @staticmethod
    def _name(binding):
        return ber.take(ber.take(binding)[1])[1]

    def _explain(self, answer, at, most):
        shown = [ber.decode_binding(body) for _, body in ber.elements(answer)]
        column = (*ROUTE.oid, 1, self._number)
        shown = [one for one in shown
                 if one.oid[:len(column)] == column and one.kind != "endOfMibView"]
        wanted = [ber.decode_binding(ber.take(one)[1])
                  for one in self._encoded[at:at + self._repetitions]]
        if shown == wanted[:len(shown)] and len(wanted) == len(shown):
            return []
        return [f"row {at + place}: {one or 'nothing'}, expected {other or 'the end'}"
                for place, (one, other) in enumerate(itertools.zip_longest(shown, wanted))
                if one != other][:most]


def differences(client, rows, columns=range(1, 17)):
    """Where the agent's table is not these rows: lines."""
    number = client.ask((*ROUTE_NUMBER, 0), timeout=5.0)
    if number != len(rows):
        return [f"ipCidrRouteNumber is {number}, expected {len(rows)}",
                *_first_column(client, rows)]
    encoded = indexes(rows)
    for column in columns:
        lines = ColumnWalk(client, column, bindings(column, rows, encoded)).differences()
        if lines:
            return [f"{ROUTE.columns[column - 1].name}: {line}" for line in lines]
    return []


def _first_column(client, rows):
    return ColumnWalk(client, 5, bindings(5, rows, indexes(rows))).differences()
