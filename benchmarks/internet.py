"""A router with a table of the internet's size, as made_routes makes it."""

import contextlib
import gc
import multiprocessing
import os
import random
import time

import made_routes
from ovo.routes import MASKS, PROTOCOLS, Row, address, destination
from ovo.snmp import Silence
from ovo.tables import ROUTE

OID_OF_UPTIME = (1, 3, 6, 1, 2, 1, 1, 3, 0)


class Internet:
    """The kernel's routes of a router, kept as lines of `ip -batch`; the model needs no dump."""

    def __init__(self, router, count, seed=1):
        self.router = router
        self.made = made_routes.routes(count, seed)
        self.lines = made_routes.batch_of_routes(self.made)

    def connect(self):
        """Makes the links."""
        self.router.batch(*made_routes.batch_of_links())
        return self

    def links(self):
        return {name: index for name, index, _ in self.router.kernel_links()}

    def connected(self):
        """The rows that the links' own addresses bring."""
        # Not by their protocol: `ip` leaves out what it was asked for.
        return self.router.kernel_routes("scope", "link")

    def rows(self, lines):
        """The rows of the links and of these lines."""
        return sorted(self.connected() + of_batch(lines, self.links()))

    def take(self, lines, verb=None):
        """Gives the lines to the kernel, with another verb if need be; the time of its end."""
        if verb is not None:
            lines = [line.replace("route add", f"route {verb}", 1) for line in lines]
        path = self.router.dir / "batch"
        path.write_text("\n".join(lines) + "\n")
        start = time.monotonic()
        self.router.space.run("ip", "-batch", path, timeout=300)
        end = time.monotonic()
        print(f"kernel: {len(lines)} lines in {end - start:.1f} s")
        return end

    def moved(self, lines):
        """The same prefixes behind the next hops of their neighbours in the table."""
        hops = [line.split(" via ")[1] for line in lines]
        return [f"{line.split(' via ')[0]} via {hop}"
                for line, hop in zip(lines, hops[1:] + hops[:1])]


def of_batch(lines, links):
    """The rows of lines as made_routes makes them, each prefix once."""
    rows = []
    for line in lines:
        _, _, prefix, _, hop, _, link, _, protocol, _, metric = line.split()
        dest, length = destination(prefix)
        number, preference = PROTOCOLS[protocol]
        rows.append(Row(dest, MASKS[length], address(hop), links[link], number, int(metric),
                        preference))
    return rows


def some(rows, count=300, seed=1):
    """The last ones, which the kernel took last, and others from everywhere."""
    return rows[-20:] + random.Random(seed).sample(rows, min(count, len(rows)))


def instances(rows):
    return [(*ROUTE.column("ipCidrRouteIfIndex"), *row.index()) for row in rows]


def shows(agent, rows):
    """Whether each of these rows is there, with its ifIndex."""
    return all(agent.client.ask(oid) == row.if_index
               for oid, row in zip(instances(rows), rows))


class Asker:
    """GETs of sysUpTime and of objects that stay, by turns, so many a second; how long each took.

    A process of its own: what else the test does would count as the agent's time.
    """

    def __init__(self, agent, oids, rate=100):
        self._client, self._pause, self._oids = agent.new_client(), 1 / rate, oids
        self.times, self.lost, self.absent = [], 0, []
        forked = multiprocessing.get_context("fork")
        self._ours, self._its = forked.Pipe()
        self._process = forked.Process(target=self._run, daemon=True)

    def start(self):
        self._process.start()

    def _run(self):
        gc.disable()
        self._drop_inherited()
        due = time.monotonic()
        for turn in range(1 << 30):
            due += self._pause
            if self._its.poll(max(0.0, due - time.monotonic())):
                self._its.send((self.times, self.lost, self.absent))
                return
            self._ask(self._oids[turn // 2 % len(self._oids)] if turn % 2 else OID_OF_UPTIME)

    def _drop_inherited(self):
        """Of the test's own files some end with their last holder, such as a pipe to `ip -batch`."""
        keep = {0, 1, 2, self._client.fileno(), self._its.fileno()}
        for fd in map(int, os.listdir("/proc/self/fd")):
            if fd not in keep:
                with contextlib.suppress(OSError):
                    os.close(fd)

    def _ask(self, oid):
        start = time.monotonic()
        try:
            if self._client.get(oid).bindings[0].value is None:
                self.absent.append(oid)
        except Silence:
            self.lost += 1
        self.times.append(time.monotonic() - start)

    def end(self):
        self._ours.send("end")
        self.times, self.lost, self.absent = self._ours.recv()
        self._process.join()
        self._client.close()

    def percentile(self, part):
        """In milliseconds."""
        ordered = sorted(self.times)
        return 1000 * ordered[min(len(ordered) - 1, int(part * len(ordered)))]
