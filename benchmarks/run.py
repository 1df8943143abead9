"""Runs the benchmarks and writes docs/benchmarks.md; with names, only these, to the terminal.

Ends with 1 when a budget that is a ratio does not hold, or a benchmark failed.
"""

import os
import pathlib
import platform
import subprocess
import sys
import time
import traceback

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "tests/support"))

import addresses  # noqa: E402
import beside  # noqa: E402
import both_families  # noqa: E402
import picture  # noqa: E402
import restart  # noqa: E402
import route_changes  # noqa: E402
import route_life  # noqa: E402
import route_requests  # noqa: E402
from report import Budget, table  # noqa: E402

BENCHMARKS = [one for module in (route_requests, both_families, route_life, restart, route_changes,
                                  beside, addresses)
              for one in module.BENCHMARKS]

HEAD = """# Benchmarks

![A walk's time](walk.svg) ![A row of it](row.svg) ![A GET amid changes](latency.svg)
![Through restarts](restart.svg)

Written by `./bench`. Times are the daemon's own processor time (`/proc/PID/schedstat`), each the
least of several measures that took turns; wall-clock times say so. What counts are the ratios:
both sides of each were measured in one run. Where others share the machine, as this one, even they
differ by a tenth or two from run to run.

What profiles led to:

- A walk: the daemon makes one pass of GETNEXT of each repetition, and each pass searched its row
  anew. Tables answer a GETBULK as such, by one search and a step for each repetition.
- Several columns at once: each was handed down by itself, and searched its row and asked the view
  again. They come as one list and share both: 1.13 times a bare handler's instructions, was 1.24.
- Every request behind a filled table: the C library gave the daemon's buffers back to the kernel at
  its end, and the next took new pages: a third of the time of a GETBULK. They are kept.
- Rows that a view hides were asked for one by one. Whether a column is hidden whole is asked once.
- A start: the publisher spent a quarter of its time looking for attributes in lists of rules, and in
  calls of a library for each. An attribute is met once and kept by its type: 0.6 s of user time
  instead of 0.9 s for a million routes.
- Changes: one wake-up, one transaction and one ring for each notification cost more than all the
  rest. In a stream the publisher writes every 8 ms, every 25 ms where it lasts; a single change at once.
- Memory: a route is held by value, in blocks, in the order of its prefix.

"""


def machine():
    version = subprocess.run(["/usr/sbin/snmpd", "-v"], capture_output=True, text=True).stdout
    words = next(line for line in version.splitlines() if "version" in line).split()
    load = os.getloadavg()[0]
    return (f"{os.cpu_count()} cores, Linux {platform.release()}, snmpd {words[-1]}, "
            f"{time.strftime('%Y-%m-%d')}, load average {load:.1f} before the start.\n")


def section(benchmark, budgets, failed):
    """One that fails takes none of the others along."""
    print(f"bench: {benchmark.__name__}", file=sys.stderr, flush=True)
    title = f"## {benchmark.__doc__}\n\n"
    try:
        heads, *rows = benchmark()
    except Exception:
        traceback.print_exc()
        failed.append(benchmark.__name__)
        return title + "Failed.\n"
    budgets += [row for row in rows if isinstance(row, Budget)]
    return title + table(heads, [row for row in rows if not isinstance(row, Budget)])


def budget_section(budgets):
    return "## Budgets\n\n" + table(("measure", "at most", "measured", "holds"),
                                    [one.row() for one in budgets])


def main(names):
    unknown = set(names) - {one.__name__ for one in BENCHMARKS}
    if unknown:
        sys.exit(f"bench: no such benchmark: {', '.join(sorted(unknown))}; there are "
                 f"{', '.join(one.__name__ for one in BENCHMARKS)}")
    header = HEAD + machine()
    budgets, failed = [], []
    sections = [section(one, budgets, failed) for one in BENCHMARKS
                if not names or one.__name__ in names]
    text = "\n".join([budget_section(budgets)] * bool(budgets) + sections)
    print(text)
    if not names:
        (ROOT / "docs/benchmarks.md").write_text(f"{header}\n{text}")
        if not failed:
            picture.write()
    failed += [one.name for one in budgets if not one.unit and not one.holds()]
    if failed:
        sys.exit(f"bench: failed, or over budget: {'; '.join(failed)}")


main(sys.argv[1:])
