#!/usr/bin/python3
"""Checks who includes whom: `includes.py [ROOT]`.

A folder may include only what its arrow names; foreign libraries stay behind the folder that wraps
them; includes of our own are spelled from the root, in quotes, and name a file that is there.
A test may include what its folder reaches, directly or not, and the headers of those tests.
"""

import pathlib
import re
import sys

VALUES = {"platform/dovel", "platform/mav"}
TABLES = VALUES | {"platform/pondo"}

ARROWS = {
    "platform/mav": set(),
    "platform/dovel": {"platform/mav"},
    "platform/blipmark": {"platform/mav"},
    "platform/pondo": {"platform/mav", "platform/dovel"},
    "platform/state": {"platform/mav", "platform/dovel", "platform/pondo"},
    "platform/snmp": {"platform/mav", "platform/dovel"},
    "stats": {"platform/mav"},
    "model": {"platform/mav", "platform/dovel", "platform/state", "stats"},
    "agent": {"model", "platform/mav", "platform/dovel", "platform/pondo", "platform/state",
              "platform/blipmark"},
    "handlers": {"model", "stats", "platform/mav", "platform/dovel", "platform/snmp",
                 "platform/state"},
    "kelbase/model": VALUES,
    "kelbase/netlink": VALUES | {"kelbase/model"},
    "kelbase/publish": TABLES | {"kelbase/model"},
    "kelbase/daemon": TABLES | {"kelbase/model", "kelbase/netlink", "kelbase/publish"},
    "kelbase/ctl": TABLES | {"kelbase/model", "kelbase/publish"},
    "kelbase": {"kelbase/daemon", "kelbase/ctl"},
    "plugin": {"platform/mav", "platform/dovel", "platform/blipmark", "platform/pondo",
               "platform/state", "platform/snmp", "stats", "model", "agent", "handlers"},
    "benchmarks": {"plugin", "kelbase", "kelbase/ctl", "platform/mav", "platform/dovel",
                   "platform/pondo", "platform/state", "platform/snmp", "model", "agent",
                   "handlers"},
}

# Which folders may include a library's headers, by the first part of their names.
LIBRARIES = {
    "net-snmp": {"handlers", "platform/snmp", "plugin", "benchmarks"},
    "lmdb.h": {"platform/pondo"},
    "libmnl": {"kelbase/netlink"},
    "systemd": {"kelbase/daemon"},
    "CLI": {"kelbase/daemon", "kelbase/ctl"},
    "nlohmann": {"kelbase/ctl"},
}

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^">]+)[">]')


def sources(root):
    for top in sorted({name.split("/")[0] for name in ARROWS} | {"tests"}):
        for path in sorted((root / top).rglob("*")):
            if path.suffix in (".h", ".cc"):
                yield path.relative_to(root)


def folder_of(name):
    """The innermost folder of the design that holds the file."""
    return max((f for f in ARROWS if name.startswith(f + "/")), key=len, default=None)


def reach(folder):
    found, todo = {folder}, [folder]
    while todo:
        for next_one in ARROWS[todo.pop()] - found:
            found.add(next_one)
            todo.append(next_one)
    return found


def check_own(root, user, folder, name, is_test):
    if not (root / name).is_file():
        return f'"{name}" is no file of this tree (includes are spelled from the root)'
    if is_test and name.startswith("tests/support/"):
        return None
    target = folder_of(name.removeprefix("tests/") if is_test else name)
    if target is None:
        return f'"{name}" is not for {user}'
    allowed = reach(folder) if is_test else ARROWS[folder] | {folder}
    return None if target in allowed else f"{folder} may not include {target}"


def check_line(root, path, kind, name):
    text = path.as_posix()
    is_test = text.startswith("tests/")
    user = text.split("/", 1)[1].removeprefix("fuzz/") if is_test else text
    folder = folder_of(user)
    if folder is None:
        return None if user.startswith("support/") else "this file is in no folder of the design"
    if kind == '"':
        return check_own(root, text, folder, name, is_test)
    if (root / name).is_file():
        return f"<{name}> is our own: write it in quotes"
    users = LIBRARIES.get(name.split("/")[0])
    own = reach(folder) if is_test else {folder}
    return f"{folder} may not include <{name}>" if users and not users & own else None


def check(root):
    problems, seen = [], 0
    for path in sources(root):
        seen += 1
        lines = (root / path).read_text().splitlines()
        if path.suffix == ".h" and "#pragma once" not in lines:
            problems.append(f"{path}: no #pragma once")
        for number, line in enumerate(lines, 1):
            found = INCLUDE.match(line)
            problem = found and check_line(root, path, *found.groups())
            if problem:
                problems.append(f"{path}:{number}: {problem}")
    if not seen:
        problems.append(f"{root}: no sources found")
    return problems


if __name__ == "__main__":
    found = check(pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else "."))
    print("\n".join(found))
    sys.exit(1 if found else 0)
