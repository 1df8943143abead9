#!/usr/bin/python3
"""Draws the pictures of docs/ from the tables of docs/benchmarks.md."""

import math
import pathlib
import re
from typing import NamedTuple

DOCS = pathlib.Path(__file__).resolve().parents[1] / "docs"
WIDTH, HEIGHT, LEFT, RIGHT, TOP, BOTTOM = 640, 360, 70, 150, 36, 50
RED, BLUE, GREY, GREEN = "#c0392b", "#1f6fb2", "#888", "#2e8b57"


class Axis(NamedTuple):
    """Logarithmic: its marks, the first and the last at its ends, and what each says."""
    marks: tuple
    texts: tuple

    def share(self, value):
        first, last = self.marks[0], self.marks[-1]
        return math.log(max(value, first) / first) / math.log(last / first)


class Even(Axis):
    """The same distance for each step."""

    def share(self, value):
        first, last = self.marks[0], self.marks[-1]
        return (value - first) / (last - first)


class Line(NamedTuple):
    name: str
    colour: str
    points: list


def cells(text, title):
    """The rows of the table below a heading that begins so."""
    body = text.split(f"## {title}", 1)[1].split("\n## ", 1)[0]
    for line in body.splitlines():
        if line.startswith("| "):
            yield [cell.strip().replace(",", "") for cell in line.strip("|").split("|")]


def numbers(text, title):
    """Those rows that begin with a number, as numbers."""
    for row in cells(text, title):
        if re.fullmatch(r"\d+", row[0]):
            yield [float(cell) for cell in row if re.fullmatch(r"[\d.]+", cell)]


def words(x, y, text, anchor="middle", colour="#444"):
    return f'<text x="{x:.0f}" y="{y:.0f}" text-anchor="{anchor}" fill="{colour}">{text}</text>'


class Picture:
    def __init__(self, title, below, across, up):
        self._title, self._below, self._across, self._up = title, below, across, up

    def _place(self, x, y):
        return (LEFT + self._across.share(x) * (WIDTH - LEFT - RIGHT),
                HEIGHT - BOTTOM - self._up.share(y) * (HEIGHT - TOP - BOTTOM))

    def _grid(self):
        for mark, text in zip(*self._across):
            x, y = self._place(mark, self._up.marks[0])
            yield f'<path d="M{x:.0f} {y:.0f}V{TOP}" stroke="#ddd"/>' + words(x, y + 20, text)
        for mark, text in zip(*self._up):
            x, y = self._place(self._across.marks[0], mark)
            yield f'<path d="M{x:.0f} {y:.0f}H{WIDTH - RIGHT}" stroke="#ddd"/>' + \
                words(x - 8, y + 4, text, "end")

    def _line(self, line):
        places = [self._place(*point) for point in line.points]
        yield f'<polyline fill="none" stroke="{line.colour}" stroke-width="2.5" points="' + \
            " ".join(f"{x:.0f},{y:.0f}" for x, y in places) + '"/>'
        yield from (f'<circle cx="{x:.0f}" cy="{y:.0f}" r="4" fill="{line.colour}"/>'
                    for x, y in places)

    def _names(self, lines):
        """Each at the end of its line, but clear of the one above."""
        above = 0
        for x, y, line in sorted((*self._place(*line.points[-1]), line) for line in lines):
            above = max(y + 4, above + 16)
            yield words(x + 10, above, line.name, "start", line.colour)

    def story(self, name, points, silences):
        """A line without dots, and bars at the foot where nothing was."""
        places = " ".join(f"{x:.0f},{y:.0f}" for x, y in (self._place(*one) for one in points))
        yield (f'<polyline fill="none" stroke="{BLUE}" stroke-width="2.5" points="{places}"/>'
               + words(*self._place(points[-1][0], points[-1][1] * 1.04), name, "end", BLUE))
        for begin, end in silences:
            (x, y), (after, _) = self._place(begin, 0), self._place(end, 0)
            yield (f'<path d="M{x:.0f} {y:.0f}H{max(after, x + 2):.0f}" stroke="{RED}" '
                   'stroke-width="6"/>' + words(x, y - 10, f"no answer for {end - begin:.2f} s",
                                                colour=RED))

    def write(self, file, *lines, more=()):
        parts = [*self._grid(), *(part for line in lines for part in self._line(line)),
                 *self._names(lines), *more, words((LEFT + WIDTH - RIGHT) / 2, HEIGHT - 10, self._below),
                 words(LEFT, 20, self._title, "start")]
        (DOCS / file).write_text(
            f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" '
            f'font-family="sans-serif" font-size="13"><rect width="{WIDTH}" height="{HEIGHT}" '
            'fill="#fff"/>\n' + "\n".join(parts) + "\n</svg>\n")


ROUTES = Axis((1e4, 1e5, 1e6), ("10,000", "100,000", "1,000,000"))


def walk(text):
    """A walk of one column by the number of routes."""
    beside = list(numbers(text, "A walk of ipCidrRouteIfIndex by GETBULK 50, in ms"))
    ours = [(row[0], row[1] / 1e3) for row in beside]
    ours += [(row[0], row[0] * row[1] / 1e6)
             for row in numbers(text, "A row of a walk of ipCidrRouteIfIndex")
             if row[0] > 2 * ours[-1][0]]
    Picture("Processor time of a walk of one column of ipCidrRouteTable", "routes", ROUTES,
            Axis((0.01, 0.1, 1, 10, 100), ("0.01 s", "0.1 s", "1 s", "10 s", "100 s"))).write(
        "walk.svg", Line("stock module", RED, [(row[0], row[2] / 1e3) for row in beside]),
        Line("this module", BLUE, ours))


def row(text):
    """One row of that walk, beside the floors."""
    measured = list(numbers(text, "A row of a walk of ipCidrRouteIfIndex"))

    def column(at):
        return [(one[0], one[at]) for one in measured]

    Picture("Processor time of one row of that walk, beside stubs over an array", "routes", ROUTES,
            Axis((0.5, 1, 2, 5, 10), ("0.5 µs", "1 µs", "2 µs", "5 µs", "10 µs"))).write(
        "row.svg", Line("table iterator", GREY, column(2)), Line("bare GETNEXT", GREEN, column(4)),
        Line("this module", BLUE, column(1)), Line("bare GETBULK", RED, column(6)))


def latency(text):
    """Answers amid a churn of all routes."""
    found = {row[0]: row[1:] for row in cells(text, "GETs, 100 a second, while the whole table")}
    parts = {"median": 2, "90 of 100": 10, "99 of 100": 100, "999 of 1000": 1000}

    def column(at):
        return [(share, float(found[f"GET {name}"][at].split()[0])) for name, share in parts.items()]

    Picture("A GET while all routes come and go: so many of the answers came in time", "answers",
            Axis(tuple(parts.values()), ("1 of 2", "9 of 10", "99 of 100", "999 of 1,000")),
            Axis((0.1, 1, 10, 100), ("0.1 ms", "1 ms", "10 ms", "100 ms"))).write(
        "latency.svg", Line("a stock snmpd beside", GREY, column(1)),
        Line("with this module", BLUE, column(0)))


def restart(text):
    """What is served through restarts."""
    told = [(float(second), None if rows == "none" else float(rows), what) for second, rows, what in
            list(cells(text, "Rows served while daemons are restarted"))[1:] if second[:1].isdigit()]
    happened = [(second, what) for second, _, what in told if what]
    ends = zip(told, told[1:])
    points, silences = [], []
    for (begin, rows, _), (end, _, _) in ends:
        if rows is None and silences and silences[-1][1] == begin:
            silences[-1] = silences[-1][0], end
        elif rows is None:
            silences.append((begin, end))
        else:
            points += [(begin, rows), (end, rows)]
    top = max(rows for _, rows in points)
    marks = [0, *(second for second, _ in happened), told[-1][0]]
    picture = Picture("Routes served while daemons are restarted", "seconds",
                      Even(tuple(marks), tuple(f"{second:.0f}" for second in marks)),
                      Even((0, top / 2, top, top * 1.6), ("0", f"{top / 2:,.0f}", f"{top:,.0f}", "")))
    picture.write("restart.svg", more=[
        *picture.story("rows", points, silences),
        *(words(LEFT + Even(tuple(marks), ()).share(second) * (WIDTH - LEFT - RIGHT) + 4,
                TOP + 14 + 16 * (number % 4), what, "start", GREY)
          for number, (second, what) in enumerate(happened))])


def write():
    text = (DOCS / "benchmarks.md").read_text()
    for picture in (walk, row, latency, restart):
        picture(text)


if __name__ == "__main__":
    write()
