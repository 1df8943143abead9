"""Addresses and routes that come and go by the thousand, and walkers that watch meanwhile."""

import collections
import random
import subprocess
import threading
import time

from ovo.ber import dotted


def changing_lines(link, seed):
    """One round: some 400 addresses come in any order, and go in another.

    /32 and /128 are cheap for the kernel; the others share prefixes with their neighbours. None is
    an address of the rows that stay: it would rightly take the prefix row along.
    """
    texts = [f"10.150.{n // 200}.{n % 200 + 1}/32" for n in range(300)]
    texts += [f"10.151.{n % 4}.{n + 1}/24" for n in range(40)]
    texts += [f"2001:db8:150:{n % 4}::{n + 1:x}/64" for n in range(40)]
    texts += [f"2001:db8:151::{n + 1:x}/128" for n in range(20)]
    chance = random.Random(seed)
    lines = []
    for verb in ("add", "del"):
        chance.shuffle(texts)
        lines += [f"addr {verb} {text} dev {link}" + (" nodad" if verb == "add" and ":" in text
                                                     else "") for text in texts]
    return lines


def changing_routes():
    """One round: some 800 routes come, change and go, singly and as sets of next hops in the networks
    10.40.0.0/24 and 10.41.0.0/24."""
    chance = random.Random(3)
    prefixes = [f"31.{64 + n % 8}.{n // 8}.0/{24 + n % 3}" for n in range(600)]
    prefixes += [f"31.128.{n}.{4 * n % 256}/32" for n in range(200)]
    lines = []
    for verb, hop in (("add", "via 10.40.0.2"), ("replace", "via 10.41.0.3"),
                      ("replace", "nexthop via 10.40.0.4 nexthop via 10.41.0.4"), ("del", "")):
        chance.shuffle(prefixes)
        lines += [f"route {verb} {prefix} {hop}" for prefix in prefixes]
    return lines


class Churn(threading.Thread):
    """Feeds `ip -batch` at a steady rate (lines a second) for a while; stops in mid-round."""

    TICK = 0.01

    def __init__(self, router, lines, rate, seconds):
        super().__init__()
        self._lines = [line.encode() + b"\n" for line in lines]
        self._length, self._chunk = seconds, round(rate * self.TICK)
        self._process = subprocess.Popen(
            router.space.command("ip", "-force", "-batch", "-"), stdin=subprocess.PIPE,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.changes, self.seconds = 0, 0.0

    def run(self):
        start = tick = time.monotonic()
        while tick < start + self._length:
            at = self.changes % len(self._lines)
            chunk = (self._lines * 2)[at:at + self._chunk]
            self._process.stdin.write(b"".join(chunk))
            self._process.stdin.flush()
            self.changes += len(chunk)
            # Where the kernel is slower than the rate, the pipe holds this up.
            tick = max(tick + self.TICK, time.monotonic() - self.TICK)
            time.sleep(max(0.0, tick - time.monotonic()))
        self._process.stdin.close()
        self._process.wait()
        self.seconds = time.monotonic() - start

    def rate(self):
        return self.changes / self.seconds

    def half_way(self):
        """Sleeps until the first half is over."""
        time.sleep(self._length / 2)


class Walker(threading.Thread):
    """Walks a table again and again; remembers what was not as it should be.

    Strictly increasing (so nothing twice), and in every column all rows that stay. With `columns`
    only these are walked, one by one.
    """

    def __init__(self, agent, table, staying, repetitions, columns=()):
        super().__init__()
        self._client, self._table, self._repetitions = agent.new_client(), table, repetitions
        self._columns = [table.column(name) for name in columns] or [
            (*table.oid, 1, column.number) for column in table.columns]
        self._roots = self._columns if columns else [table.oid]
        self._staying, self._end = set(staying), threading.Event()
        self.walks, self.rows, self.wrong = 0, 0, []

    def run(self):
        try:
            while not self._end.is_set():
                self._walk()
        except Exception as why:
            self.wrong.append(f"{self._table.name}: {type(why).__name__}: {why}")
        finally:
            self._client.close()

    def _walk(self):
        last, seen = self._table.oid, set()
        head = len(self._table.oid) + 2
        for binding in self._bindings():
            if binding.oid <= last:
                self.wrong.append(f"{dotted(binding.oid)} after {dotted(last)}")
                return
            last = binding.oid
            if last[head:] in self._staying:
                seen.add(last)
            self.rows += 1
        for column in self._columns:
            self.wrong += [f"skipped {dotted((*column, *index))}" for index in self._staying
                           if (*column, *index) not in seen]
        self.walks += 1

    def _bindings(self):
        for root in self._roots:
            yield from self._client.walk(root, repetitions=self._repetitions)

    def end(self):
        self._end.set()
        self.join()


class Asking(threading.Thread):
    """Asks for objects without pause, from a client of its own; how often which values came."""

    def __init__(self, agent, *oids):
        super().__init__()
        self._client, self._oids, self._end = agent.new_client(), oids, threading.Event()
        self.answers = collections.Counter()

    def run(self):
        while not self._end.is_set():
            self.answers[tuple(map(self._client.ask, self._oids))] += 1

    def end(self):
        self._end.set()
        self.join()
        self._client.close()
