#!/usr/bin/python3
"""Clang's checks: `clang.py format|headers|tidy [--root ROOT] [--build DIR]`.

format: every source is as clang-format 14 writes it (others write otherwise: skipped). headers: every header
compiles alone. tidy: the checks of .clang-tidy, over what DIR/compile_commands.json builds. (Tests
apart in both.)
"""

import argparse
import concurrent.futures
import json
import os
import pathlib
import subprocess
import sys

import includes

NOT_SHIPPED = ("tests", "benchmarks")
FORMAT_VERSION = 14
SKIPPED = 77  # as ctest is told
HEADER_FLAGS = ["-std=c++20", "-fsyntax-only", "-Wall", "-Werror", "-x", "c++", "-"]


def run(command, text=None):
    done = subprocess.run(command, input=text, capture_output=True, text=True)
    return done.returncode, done.stdout + done.stderr


def side_by_side(work, items):
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        return [problem for problem in pool.map(work, items) if problem]


def check_format(root, _):
    if f"version {FORMAT_VERSION}." not in run(["clang-format", "--version"])[1]:
        print(f"not looked at: this clang-format is not version {FORMAT_VERSION}")
        sys.exit(SKIPPED)
    files = [str(root / path) for path in includes.sources(root)]
    code, output = run(["clang-format", "--dry-run", "-Werror", *files])
    return [output or "clang-format failed"] if code else []


def check_headers(root, _):
    def alone(header):
        code, output = run(["clang++", f"-I{root}", *HEADER_FLAGS], f'#include "{header}"\n')
        return f"{header} does not compile alone:\n{output}" if code else None

    return side_by_side(alone, [path for path in includes.sources(root)
                                if path.suffix == ".h" and path.parts[0] not in NOT_SHIPPED])


def check_tidy(root, build):
    database = json.loads((build / "compile_commands.json").read_text())
    wanted = {str(root / path) for path in includes.sources(root)
              if path.suffix == ".cc" and path.parts[0] not in NOT_SHIPPED}
    files = sorted(wanted & {entry["file"] for entry in database})
    if not files:
        return [f"{build}/compile_commands.json builds nothing of {root}"]

    def tidy(file):
        code, output = run(["clang-tidy", "--quiet", f"--header-filter=^{root}/.*",
                            "--warnings-as-errors=*", "-p", str(build), file])
        return f"{file}:\n{output}" if code else None

    return side_by_side(tidy, files)


CHECKS = {"format": check_format, "headers": check_headers, "tidy": check_tidy}

if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("check", choices=CHECKS)
    parser.add_argument("--root", type=pathlib.Path, default=pathlib.Path.cwd())
    parser.add_argument("--build", type=pathlib.Path)
    given = parser.parse_args()
    found = CHECKS[given.check](given.root.resolve(), given.build)
    print("\n".join(found))
    sys.exit(1 if found else 0)
