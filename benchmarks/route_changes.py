"""What a change of a route costs those who hear of it, and how soon a manager sees it."""

import random
import subprocess
import time

from internet import instances, of_batch
from ovo.churn import Churn
from ovo.daemons import WITHOUT
from report import Budget, microseconds
from rivals import Rivals, all_learned
from served import CONNECTED, FULL, an_internet, filled

RATES = (1_000, 10_000, 50_000)
TABLE = FULL // 10
CHANGED = TABLE // 2
SECONDS = 5  # of changes, at most
SEEN = 500  # single changes


class Listener:
    """`ip -o monitor route`, which prints what it hears to nobody."""

    def __init__(self, router):
        self.daemon = router.start(router.dir / "monitor.log", "sh", "-c",
                                   "exec ip -o monitor route >/dev/null")


def changed(internet, daemons, rate):
    """Nanoseconds of each daemon's time a change; `rate` a second, or all that the kernel takes.

    Routes go to other next hops and back again: the kernel says nothing of one that stays."""
    some = internet.lines[:CHANGED if rate is None else min(CHANGED, rate * SECONDS // 2)]
    lines = [line.replace("route add", "route replace") for line in internet.moved(some) + some]
    before = [one.cpu() for one in daemons]
    if rate is None:
        internet.take(lines)
        count = len(lines)
    else:
        churn = Churn(internet.router, lines, rate, len(lines) / rate)
        churn.start()
        churn.join()
        count = churn.changes
    quiet(daemons)
    return [(one.cpu() - start) / count for one, start in zip(daemons, before)]


def quiet(daemons, within=30):
    """Waits until none of them works."""
    deadline, last = time.monotonic() + within, None
    while time.monotonic() < deadline:
        now = [one.cpu() // 5_000_000 for one in daemons]
        if now == last:
            return
        last = now
        time.sleep(0.5)
    raise AssertionError("they never come to rest")


def what_a_change_costs():
    """A changed route, in µs of each daemon's own time, by changes a second; each heard it alone"""
    yield ("changes a second", "kelbased", "snmpd", "ip -o monitor", "BIRD", "kelbased / ip",
           "both / BIRD")
    with an_internet(TABLE) as (router, internet):
        rates = []
        for rate in (*RATES, None):
            publisher, agent = router.publish(), filled(router.agent(), TABLE + CONNECTED)
            quiet([publisher, agent.daemon])
            ours = changed(internet, [publisher, agent.daemon], rate)
            agent.daemon.stop()
            publisher.stop()
            monitor = Listener(router).daemon
            printed, = changed(internet, [monitor], rate)
            monitor.stop()
            rivals = Rivals(router)
            bird = rivals.bird()
            all_learned(rivals, TABLE)
            quiet([bird])
            learned, = changed(internet, [bird], rate)
            bird.stop()
            rates.append((*ours, printed, learned))
            yield (f"{rate:,}" if rate else "all that it takes",
                   *map(microseconds, (*ours, printed, learned)), f"{ours[0] / printed:.2f}",
                   f"{sum(ours) / learned:.2f}")
    yield Budget("kelbased, a change beside `ip -o monitor route`, the worst rate",
                 max(kelbased / printed for kelbased, _, printed, _ in rates), 0.6)
    yield Budget("both daemons, a change beside BIRD's import, the worst rate",
                 max((kelbased + snmpd) / learned for kelbased, snmpd, _, learned in rates), 1.0)
    yield Budget("snmpd, a change, at all that the kernel takes", rates[-1][1] / 1000, 3, "µs")


def a_single_change():
    """From a change of the kernel to a manager's answer, in ms (wall clock), of single changes"""
    yield "routes", "median", "90 of 100", "99 of 100", "the longest"
    with an_internet(TABLE) as (router, internet):
        router.publish()
        agent = filled(router.agent(without=f"{WITHOUT},ifTable,ifXTable"), TABLE + CONNECTED)
        times = sorted(seen(router, internet, agent))
        median, most, nearly, longest = (1000 * times[min(int(part * len(times)), len(times) - 1)]
                                         for part in (0.5, 0.9, 0.99, 1.0))
        yield (f"{TABLE:,}", *(f"{value:.1f}" for value in (median, most, nearly, longest)))
    yield Budget("a single change, 99 of 100", nearly, 10, "ms")


def seen(router, internet, agent):
    """Seconds from the line that `ip` reads to the row that is gone, or there."""
    kernel = subprocess.Popen(router.space.command("ip", "-batch", "-"), stdin=subprocess.PIPE)
    chance = random.Random(5)
    lines = chance.sample(internet.lines, SEEN)
    for line, oid in zip(lines, instances(of_batch(lines, internet.links()))):
        for verb, there in (("del", False), ("add", True)):
            time.sleep(chance.uniform(0.001, 0.02))
            start = time.monotonic()
            kernel.stdin.write(line.replace("add", verb, 1).encode() + b"\n")
            kernel.stdin.flush()
            while isinstance(agent.client.ask(oid), int) != there:
                pass
            yield time.monotonic() - start
    kernel.stdin.close()
    kernel.wait()


BENCHMARKS = [what_a_change_costs, a_single_change]
