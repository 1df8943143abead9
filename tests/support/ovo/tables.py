"""The tables as a manager sees them: every object with its value, in the order of a walk."""

import bisect
import pathlib
from typing import NamedTuple

from ovo.ber import Binding, dotted, oid

IP = (1, 3, 6, 1, 2, 1, 4)
OBJECTS = pathlib.Path(__file__).resolve().parents[3] / "mibs" / "objects.txt"


class Column(NamedTuple):
    number: int
    name: str
    kind: str


class Table(NamedTuple):
    name: str
    oid: tuple
    columns: tuple
    index: tuple
    # Columns that the MIB lets a manager write; the agent refuses them all the same.
    writable: tuple
    # Numbers and names of the columns that are indexes alone.
    unread: tuple

    def column(self, name):
        number = next(one.number for one in self.columns if one.name == name)
        return (*self.oid, 1, number)


def _lines(kind):
    """The lines of one kind, each with those of other kinds that follow it."""
    found = []
    for line in OBJECTS.read_text().splitlines():
        words = line.split(None, 4)
        if words and words[0] == kind:
            found.append((words[1:], []))
        elif words and words[0] != "#" and found:
            found[-1][1].append(words)
    return found


def _table(line, behind):
    columns = [words[1:] for words in behind if words[0] == "column"]
    return Table(
        line[2], oid(line[0]),
        tuple(Column(int(one[0]), one[2], one[3]) for one in columns if one[1] != "-"),
        tuple(line[3].split()), tuple(one[2] for one in columns if one[1] == "rw"),
        tuple((int(one[0]), one[2]) for one in columns if one[1] == "-"))


SCALARS = {line[2]: oid(line[0]) for line, _ in _lines("scalar")}
SYNTAXES = {line[2]: line[3].split()[0] for line, _ in _lines("scalar")}
EVERY_TABLE = {line[2]: _table(line, behind) for line, behind in _lines("table")}
ABSENT = {line[2]: oid(line[0]) for line, _ in _lines("absent")}

ADDR = EVERY_TABLE["ipAddrTable"]
NET_TO_MEDIA = EVERY_TABLE["ipNetToMediaTable"]
NET_TO_PHYSICAL = EVERY_TABLE["ipNetToPhysicalTable"]
PREFIX = EVERY_TABLE["ipAddressPrefixTable"]
ADDRESS = EVERY_TABLE["ipAddressTable"]
TABLES = (ADDR, PREFIX, ADDRESS)  # of addresses
ROUTE_NUMBER = SCALARS["ipCidrRouteNumber"]
ROUTE = EVERY_TABLE["ipCidrRouteTable"]
STATS = EVERY_TABLE["brivetSwFwdIpStatsTable"]
HEALTH = (1, 3, 6, 1, 4, 1, 99999, 3, 2, 1)
RECORDS = EVERY_TABLE["brivetKelbaseRecordsTable"]


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
