"""Full internet tables: exact, soon after the kernel has ended, and no GET is lost meanwhile.

How soon is the benchmarks' to say: here it is printed, and the bound is wide.

OVO_ROUTES says of how many routes; a million takes some minutes: by default there are fewer.
"""

import os
import time

import pytest

from internet import Asker, Internet, instances, shows, some
from ovo import routes
from ovo.daemons import eventually
from ovo.routes import VARYING

COUNT = int(os.environ.get("OVO_ROUTES", "200000"))
# Seconds after the kernel's own end.
WITHIN = 10.0
CHURN_SECONDS = 15
LOG_KEPT = 200_000  # changes, by the publisher


@pytest.fixture(name="internet")
def _internet(router):
    internet = Internet(router, COUNT).connect()
    router.publisher = router.publish()
    internet.agent = router.agent()
    assert internet.agent.answers()
    return internet


def settles(internet, rows, end, within=WITHIN):
    """The number of rows at once, rows from everywhere, then all of them."""
    agent = internet.agent
    left = max(0.0, end + within - time.monotonic())
    assert eventually(lambda: agent.ask("ipCidrRouteNumber.0") == len(rows), left), \
        (agent.ask("ipCidrRouteNumber.0"), len(rows))
    left = max(0.0, end + within - time.monotonic())
    assert eventually(lambda: shows(agent, some(rows)), left)
    print(f"settled {time.monotonic() - end:.2f} s after the kernel's end")
    assert routes.differences(agent.client, rows, VARYING) == []


def withdraw_beyond_the_log(internet, lines):
    """Until the log of changes cannot tell them any more, however often that takes."""
    changes = 0
    while changes <= LOG_KEPT:
        if changes > 0:
            changes += len(lines)
            internet.take(lines)
        changes += len(lines)
        internet.take(lines, "del")
    time.sleep(WITHIN)


def test_a_table_that_is_loaded_moved_and_half_withdrawn(router, internet):
    settles(internet, internet.rows(internet.lines), internet.take(internet.lines))
    # The kernel itself agrees with the lines.
    router.routes_agree(internet.agent, within=30, columns=VARYING)

    half = COUNT // 2
    lines = internet.moved(internet.lines[:half]) + internet.lines[half:]
    settles(internet, internet.rows(lines), internet.take(lines[:half], "replace"))

    with internet.agent.stopped():
        withdraw_beyond_the_log(internet, lines[half:])
    settles(internet, internet.rows(lines[:half]), time.monotonic())

    router.ip("route", "flush", "proto", "bgp")
    settles(internet, internet.rows([]), time.monotonic())


def test_the_publisher_killed_in_the_middle(router, internet):
    half = COUNT // 2
    rows = internet.rows(internet.lines[:half])
    settles(internet, rows, internet.take(internet.lines[:half]))
    asker = Asker(internet.agent, instances(some(rows)))
    asker.start()
    internet.take(internet.lines[half:half + half // 2])
    router.publisher.kill()
    end = internet.take(internet.lines[half + half // 2:])
    start = time.monotonic()
    router.publish()
    print(f"published again {time.monotonic() - start:.2f} s after the start")
    settles(internet, internet.rows(internet.lines), max(end, time.monotonic()))
    asker.end()
    assert asker.absent == [] and asker.lost == 0


def test_no_get_is_lost_while_the_table_comes_and_goes(internet):
    staying, others = internet.lines[:1000], internet.lines[1000:]
    rows = internet.rows(staying)
    settles(internet, rows, internet.take(staying))
    asker = Asker(internet.agent, instances(some(rows)))
    asker.start()
    start, rounds = time.monotonic(), 0
    while time.monotonic() - start < CHURN_SECONDS or rounds < 1:
        internet.take(others)
        end = internet.take(others, "del")
        rounds += 1
    settles(internet, rows, end)
    asker.end()
    print(f"{rounds} rounds; p50 {asker.percentile(0.5):.1f} ms, "
          f"p99 {asker.percentile(0.99):.1f} ms")
    assert asker.lost == 0 and asker.absent == []
