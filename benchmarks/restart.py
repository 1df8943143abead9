"""What a manager sees while daemons are restarted and the run directory is lost: the number of rows,
asked for a hundred times a second."""

import threading
import time

from ovo.daemons import Daemon, eventually
from report import Budget
from served import CONNECTED, FULL, an_internet, filled

ROUTES = FULL // 10
WITHDRAWN = ROUTES // 10
INTERVAL, QUIET = 0.01, 1.5


class Watched(threading.Thread):
    """Asks an agent; remembers when its answer became another."""

    def __init__(self, agent):
        super().__init__()
        self._client, self._end = agent.new_client(), threading.Event()
        self._begin = time.monotonic()
        self.told = []  # second, rows or None, what happened

    def now(self):
        return time.monotonic() - self._begin

    def rows(self):
        return next((rows for _, rows, what in reversed(self.told) if not what), None)

    def happens(self, what):
        self.told.append((self.now(), self.rows(), what))

    def run(self):
        while not self._end.is_set():
            answer = self._client.ask("1.3.6.1.2.1.4.24.3.0", timeout=0.05)
            rows = answer if isinstance(answer, int) else None
            if not self.told or rows != self.rows():
                self.told.append((self.now(), rows, ""))
            time.sleep(INTERVAL)

    def end(self):
        self._end.set()
        self.join()
        self.told.append((self.now(), self.rows(), ""))


def restarts(router, internet, publisher, agent, watched):
    """What happens, step by step; each step ends when all is well again."""
    yield "kelbased restarted"
    publisher.stop()
    publisher = router.publish()
    yield "kelbased killed; a tenth of the routes goes"
    publisher.kill()
    internet.take(internet.lines[:WITHDRAWN], "del")
    yield "kelbased started"
    router.publish()
    left = ROUTES - WITHDRAWN + CONNECTED
    assert eventually(lambda: watched.rows() == left, 30)
    yield "run directory lost"
    router.forget_tables()
    assert eventually((router.rundir / "tables" / "data.mdb").exists, 30)
    yield "snmpd restarted"
    before = agent.daemon
    before.stop()
    agent.daemon = Daemon(before.process.args, before.log)
    assert eventually(lambda: watched.rows() == left, 30)


def what_is_served_through_restarts():
    """Rows served while daemons are restarted (wall clock), seen by a GET each 10 ms"""
    yield "second", "rows", "what happened"
    with an_internet(ROUTES) as (router, internet):
        publisher, agent = router.publish(), router.agent()
        watched = Watched(filled(agent, ROUTES + CONNECTED))
        watched.start()
        time.sleep(QUIET)
        for what in restarts(router, internet, publisher, agent, watched):
            time.sleep(QUIET)
            watched.happens(what)
        time.sleep(QUIET)
        watched.end()
    for second, rows, what in watched.told:
        yield f"{second:.2f}", "none" if rows is None else f"{rows:,}", what
    silent = sum(after[0] - one[0] for one, after in zip(watched.told, watched.told[1:])
                 if one[1] is None)
    yield Budget("no answer, in all of these restarts", silent, 1.0, "s")


BENCHMARKS = [what_is_served_through_restarts]
