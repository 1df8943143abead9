"""Runs the benchmarks and writes docs/benchmarks.md; with names, only these, to the terminal."""

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
import internet_routes  # noqa: E402
import picture  # noqa: E402

BENCHMARKS = addresses.BENCHMARKS + internet_routes.BENCHMARKS

HEAD = """# Benchmarks

Written by `./bench`. Times are the daemon's own processor time (`/proc/PID/schedstat`), each the
least of several measures that took turns; wall-clock times say so. What counts are the ratios:
both sides of each were measured in one run.

"""


def machine():
    version = subprocess.run(["/usr/sbin/snmpd", "-v"], capture_output=True, text=True).stdout
    words = next(line for line in version.splitlines() if "version" in line).split()
    load = os.getloadavg()[0]
    return (f"{os.cpu_count()} cores, Linux {platform.release()}, snmpd {words[-1]}, "
            f"{time.strftime('%Y-%m-%d')}, load average {load:.1f} before the start.\n")


def table(heads, rows):
    widths = [max(len(str(row[at])) for row in (heads, *rows)) for at in range(len(heads))]

    def line(cells):
        return "| " + " | ".join(
            str(cell).ljust(width) if at == 0 else str(cell).rjust(width)
            for at, (cell, width) in enumerate(zip(cells, widths))) + " |"

    rule = "|" + "|".join("-" * (width + 1) + ("-" if at == 0 else ":")
                          for at, width in enumerate(widths)) + "|"
    return "\n".join([line(heads), rule, *map(line, rows)]) + "\n"


def section(benchmark, failed):
    """One that fails takes none of the others along."""
    print(f"bench: {benchmark.__name__}", file=sys.stderr, flush=True)
    try:
        heads, *rows = benchmark()
    except Exception:
        traceback.print_exc()
        failed.append(benchmark.__name__)
        return f"## {benchmark.__doc__}\n\nFailed.\n"
    return f"## {benchmark.__doc__}\n\n" + table(heads, rows)


def main(names):
    unknown = set(names) - {one.__name__ for one in BENCHMARKS}
    if unknown:
        sys.exit(f"bench: no such benchmark: {', '.join(sorted(unknown))}")
    header = HEAD + machine()
    failed = []
    text = "\n".join(section(one, failed) for one in BENCHMARKS
                     if not names or one.__name__ in names)
    print(text)
    if not names:
        (ROOT / "docs/benchmarks.md").write_text(f"{header}\n{text}")
        if not failed:
            picture.write()
    if failed:
        sys.exit(f"bench: failed: {', '.join(failed)}")


main(sys.argv[1:])
