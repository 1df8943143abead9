#!/usr/bin/python3 -B
"""Makes up a table of the internet's size and shape, to try and to measure with.

With --batch it prints input of `ip -batch`, which gives a kernel these links and routes; else what
`ip -json` prints of them:

    benchmarks/generate.py --routes 1000000 | kelbasectl --rundir /tmp/try load -
    ip netns add lab; benchmarks/generate.py --routes 10000 --batch | ip -n lab -batch -
    benchmarks/generate.py --routes 10000 --batch --routes-only | sed s/add/del/ | ip -n lab -batch -
"""

import argparse
import sys

import made_routes


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--routes", type=int, default=1_000_000, metavar="N")
    parser.add_argument("--seed", type=int, default=1, metavar="S", help="which of all such tables")
    parser.add_argument("--batch", action="store_true", help="print input of 'ip -batch'")
    parser.add_argument("--routes-only", action="store_true", help="with --batch: no links")
    wanted = parser.parse_args()
    made = made_routes.routes(wanted.routes, wanted.seed)
    if not wanted.batch:
        sys.stdout.write(made_routes.ip_json(made))
        return
    links = [] if wanted.routes_only else made_routes.batch_of_links()
    sys.stdout.writelines(f"{line}\n" for line in links + made_routes.batch_of_routes(made))


if __name__ == "__main__":
    main()
