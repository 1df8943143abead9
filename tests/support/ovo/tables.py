"""The tables as a manager sees them: every object with its value, in the order of a walk."""

import bisect
from typing import NamedTuple

from ovo.ber import Binding, dotted

IP = (1, 3, 6, 1, 2, 1, 4)


class Column(NamedTuple):
    number: int
    name: str
    kind: str


class Table(NamedTuple):
    name: str
    oid: tuple
    columns: tuple
    index: tuple = ()
    # Columns that the MIB lets a manager write; the agent refuses them all the same.
    writable: tuple = ()

    def column(self, name):
        number = next(one.number for one in self.columns if one.name == name)
        return (*self.oid, 1, number)


def _columns(first, text):
    parts = (line.split(None, 1) for line in text.strip().splitlines())
    return tuple(Column(number, name, kind) for number, (name, kind) in enumerate(parts, first))


ADDR = Table("ipAddrTable", (*IP, 20), _columns(1, """
    ipAdEntAddr          IpAddress
    ipAdEntIfIndex       INTEGER
    ipAdEntNetMask       IpAddress
    ipAdEntBcastAddr     INTEGER
    ipAdEntReasmMaxSize  INTEGER"""), ("address",))

NET_TO_MEDIA = Table("ipNetToMediaTable", (*IP, 22), _columns(1, """
    ipNetToMediaIfIndex      INTEGER
    ipNetToMediaPhysAddress  OCTET STRING
    ipNetToMediaNetAddress   IpAddress
    ipNetToMediaType         INTEGER"""), ("number", "address"),
    ("ipNetToMediaIfIndex", "ipNetToMediaPhysAddress", "ipNetToMediaNetAddress",
     "ipNetToMediaType"))

PREFIX = Table("ipAddressPrefixTable", (*IP, 32), _columns(5, """
    ipAddressPrefixOrigin                INTEGER
    ipAddressPrefixOnLinkFlag            INTEGER
    ipAddressPrefixAutonomousFlag        INTEGER
    ipAddressPrefixAdvPreferredLifetime  Gauge32
    ipAddressPrefixAdvValidLifetime      Gauge32"""), ("number", "type", "octets", "number"))

ADDRESS = Table("ipAddressTable", (*IP, 34), _columns(3, """
    ipAddressIfIndex      INTEGER
    ipAddressType         INTEGER
    ipAddressPrefix       OBJECT IDENTIFIER
    ipAddressOrigin       INTEGER
    ipAddressStatus       INTEGER
    ipAddressCreated      TimeTicks
    ipAddressLastChanged  TimeTicks
    ipAddressRowStatus    INTEGER
    ipAddressStorageType  INTEGER"""), ("type", "octets"),
    ("ipAddressIfIndex", "ipAddressType", "ipAddressStatus", "ipAddressRowStatus",
     "ipAddressStorageType"))

TABLES = (ADDR, PREFIX, ADDRESS)

ROUTE_NUMBER = (*IP, 24, 3)

ROUTE = Table("ipCidrRouteTable", (*IP, 24, 4), _columns(1, """
    ipCidrRouteDest       IpAddress
    ipCidrRouteMask       IpAddress
    ipCidrRouteTos        INTEGER
    ipCidrRouteNextHop    IpAddress
    ipCidrRouteIfIndex    INTEGER
    ipCidrRouteType       INTEGER
    ipCidrRouteProto      INTEGER
    ipCidrRouteAge        INTEGER
    ipCidrRouteInfo       OBJECT IDENTIFIER
    ipCidrRouteNextHopAS  INTEGER
    ipCidrRouteMetric1    INTEGER
    ipCidrRouteMetric2    INTEGER
    ipCidrRouteMetric3    INTEGER
    ipCidrRouteMetric4    INTEGER
    ipCidrRouteMetric5    INTEGER
    ipCidrRouteStatus     INTEGER"""), ("address", "address", "number", "address"),
    ("ipCidrRouteIfIndex", "ipCidrRouteType", "ipCidrRouteInfo", "ipCidrRouteNextHopAS",
     "ipCidrRouteMetric1", "ipCidrRouteMetric2", "ipCidrRouteMetric3", "ipCidrRouteMetric4",
     "ipCidrRouteMetric5", "ipCidrRouteStatus"))


class Tree:
    """What a table should hold: finds the answer to any question about it."""

    def __init__(self, table, rows):
        """`rows`: for each index (a tuple of numbers) the values in the order of the columns."""
        self.table = table
        self.indexes = sorted(rows)
        self.bindings = [
            Binding((*table.oid, 1, column.number, *index), column.kind, rows[index][place])
            for place, column in enumerate(table.columns) for index in self.indexes]
        self._oids = [binding.oid for binding in self.bindings]
        self._by_oid = dict(zip(self._oids, self.bindings))

    def get(self, oid):
        if oid in self._by_oid:
            return self._by_oid[oid]
        size = len(self.table.oid)
        known = oid[size:size + 1] == (1,) and oid[size + 1:size + 2] and oid[size + 1] in {
            column.number for column in self.table.columns}
        return Binding(oid, "noSuchInstance" if known else "noSuchObject")

    def next(self, oid):
        """The successor in this table, or None: whatever comes behind it."""
        return next(iter(self.following(oid, 1)), None)

    def following(self, oid, count):
        at = bisect.bisect_right(self._oids, oid)
        return self.bindings[at:at + count]

    def answers_next(self, oid, binding):
        """Whether `binding` may answer a GETNEXT of `oid`."""
        expected = self.next(oid)
        if expected is not None:
            return binding == expected
        return binding.kind == "endOfMibView" or (
            binding.oid > oid and binding.oid[:len(self.table.oid)] != self.table.oid)

    def differences(self, served):
        """What is wrong with the bindings of a walk, as lines; none when they are this tree's."""
        if served == self.bindings:
            return []
        shown = {binding.oid: binding for binding in served}
        lines = [f"{self.table.name}: missing {binding}" for binding in self.bindings
                 if binding.oid not in shown]
        lines += [f"{self.table.name}: unexpected {binding}" for binding in served
                  if binding.oid not in self._by_oid]
        lines += [f"{self.table.name}: {shown[oid]}, expected {binding}"
                  for oid, binding in self._by_oid.items()
                  if oid in shown and shown[oid] != binding]
        return lines + [f"{self.table.name}: {dotted(after)} comes after {dotted(before)}"
                        for before, after in zip(served, served[1:])
                        for before, after in [(before.oid, after.oid)] if before >= after]
