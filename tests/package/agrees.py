#!/usr/bin/python3
"""agrees.py SECONDS: waits until the SNMP daemon at 127.0.0.1 answers what `ip -json` says here.

Runs inside the machine under trial; prints what differs and ends with 1 when it still does at last.
"""

import json
import pathlib
import subprocess
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "support"))

from ovo import addresses, inet_routes, neighbours, routes  # noqa: E402
from ovo.snmp import Client, Silence  # noqa: E402


def ip(*what):
    done = subprocess.run(["ip", "-json", *what], capture_output=True, text=True, check=True)
    return json.loads(done.stdout or "[]")


def walk(client, table):
    return list(client.walk(table.oid, repetitions=50))


def differences():
    client = Client(161)
    links = {link["ifname"]: link["ifindex"] for link in ip("link")}
    listed = [ip(version, "-details", "route", "show", "table", "main") for version in ("-4", "-6")]
    nexthops = ip("nexthop")
    rows = routes.expected(listed[0], nexthops, links)
    both = inet_routes.expected(*listed, nexthops, links)
    trees = addresses.expected(ip("-details", "address"))
    seen = neighbours.expected(ip("neighbour", "show", "nud", "all"), links)
    try:
        found = routes.differences(client, rows) + inet_routes.differences(client, both)
        for table, tree in trees.items():
            found += tree.differences(walk(client, table))
        for tree, told in zip(seen, neighbours.served(client)):
            found += tree.differences(told)
    except (Silence, AssertionError) as why:
        found = [f"{type(why).__name__}: {why}"]
    client.close()
    return found, len(both)


start = time.monotonic()
while True:
    found, rows = differences()
    if not found or time.monotonic() > start + float(sys.argv[1]):
        break
    time.sleep(0.05)
print("\n".join(found[:20]) if found else
      f"agrees with the kernel, {rows} routes, after {time.monotonic() - start:.1f} s")
sys.exit(1 if found else 0)
