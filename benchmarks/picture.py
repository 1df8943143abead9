#!/usr/bin/python3
"""Draws docs/walk.svg, a walk's time by the number of routes, from the tables of docs/benchmarks.md."""

import math
import pathlib
import re

DOCS = pathlib.Path(__file__).resolve().parents[1] / "docs"
WIDTH, HEIGHT, LEFT, RIGHT, TOP, BOTTOM = 640, 360, 70, 130, 30, 50
ROUTES, SECONDS = (1e4, 1e6), (0.01, 100)  # both axes are logarithmic


def rows(text, title):
    """The rows of the table below a heading that begins so, as lists of numbers."""
    body = text.split(f"## {title}", 1)[1].split("\n## ", 1)[0]
    for line in body.splitlines():
        cells = [cell.strip().replace(",", "") for cell in line.strip("|").split("|")]
        if re.fullmatch(r"\d+", cells[0]):
            yield [float(cell) for cell in cells if re.fullmatch(r"[\d.]+", cell)]


def place(routes, seconds):
    def share(value, ends):
        return math.log(value / ends[0]) / math.log(ends[1] / ends[0])
    return (LEFT + share(routes, ROUTES) * (WIDTH - LEFT - RIGHT),
            HEIGHT - BOTTOM - share(seconds, SECONDS) * (HEIGHT - TOP - BOTTOM))


def text(x, y, words, anchor="middle", colour="#444"):
    return f'<text x="{x:.0f}" y="{y:.0f}" text-anchor="{anchor}" fill="{colour}">{words}</text>'


def grid():
    for routes in (1e4, 1e5, 1e6):
        x, y = place(routes, SECONDS[0])
        yield f'<path d="M{x:.0f} {y:.0f}V{TOP}" stroke="#ddd"/>' + text(x, y + 20, f"{routes:,.0f}")
    for seconds in (0.01, 0.1, 1, 10, 100):
        x, y = place(ROUTES[0], seconds)
        yield f'<path d="M{x:.0f} {y:.0f}H{WIDTH - RIGHT}" stroke="#ddd"/>' + \
            text(x - 8, y + 4, f"{seconds:g} s", "end")
    yield text((LEFT + WIDTH - RIGHT) / 2, HEIGHT - 10, "routes")


def line(points, name, colour):
    places = [place(*point) for point in points]
    yield f'<polyline fill="none" stroke="{colour}" stroke-width="2.5" points="' + \
        " ".join(f"{x:.0f},{y:.0f}" for x, y in places) + '"/>'
    yield from (f'<circle cx="{x:.0f}" cy="{y:.0f}" r="4" fill="{colour}"/>' for x, y in places)
    yield text(places[-1][0] + 10, places[-1][1] + 4, name, "start", colour)


def draw():
    source = (DOCS / "benchmarks.md").read_text()
    beside = list(rows(source, "A walk of ipCidrRouteIfIndex by GETBULK 50, in ms, beside the stock"))
    ours = [(row[0], row[1] / 1e3) for row in beside]
    ours += [(row[0], row[0] * row[1] / 1e6)
             for row in rows(source, "A row of a walk of ipCidrRouteIfIndex") if row[0] > ours[-1][0] * 2]
    stock = [(row[0], row[2] / 1e3) for row in beside]
    parts = [*grid(), *line(stock, "stock module", "#c0392b"), *line(ours, "this module", "#1f6fb2")]
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" '
            f'font-family="sans-serif" font-size="13"><rect width="{WIDTH}" height="{HEIGHT}" '
            'fill="#fff"/>\n' + "\n".join(parts) +
            text(LEFT, 18, "Processor time of a walk of one column of ipCidrRouteTable", "start") +
            "\n</svg>\n")


def write():
    (DOCS / "walk.svg").write_text(draw())


if __name__ == "__main__":
    write()
