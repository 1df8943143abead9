"""What a benchmark gives: the heads of a table, its rows, and the budgets that it is held against."""

from typing import NamedTuple


class Budget(NamedTuple):
    """A measure that is to stay at or below a limit.

    One without a unit is a ratio of two measures of one run. Only these decide how `./bench` ends:
    seconds are those of one machine.
    """
    name: str
    measured: float
    limit: float
    unit: str = ""

    def holds(self):
        return self.measured <= self.limit

    def row(self):
        def text(value):
            return f"{value:.2f}".rstrip("0").rstrip(".") + (f" {self.unit}" if self.unit else "")

        return self.name, text(self.limit), text(self.measured), "yes" if self.holds() else "**no**"


def table(heads, rows):
    """Markdown, also readable as it is."""
    widths = [max(len(str(row[at])) for row in (heads, *rows)) for at in range(len(heads))]

    def line(cells):
        return "| " + " | ".join(
            str(cell).ljust(width) if at == 0 else str(cell).rjust(width)
            for at, (cell, width) in enumerate(zip(cells, widths))) + " |"

    rule = "|" + "|".join("-" * (width + 1) + ("-" if at == 0 else ":")
                          for at, width in enumerate(widths)) + "|"
    return "\n".join([line(heads), rule, *map(line, rows)]) + "\n"


def microseconds(nanoseconds):
    return f"{nanoseconds / 1000:.2f}"
