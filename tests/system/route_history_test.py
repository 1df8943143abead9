"""Random histories of routes and of all that they hang on, and of faults: after each step the agent
serves what the kernel would use then, and at the end a publisher that has seen nothing of it finds
the same."""

import json
import random
import signal

import pytest

from ovo import routes
from ovo.daemons import BUILD, eventually
from ovo.router import SEEDS

STEPS = 45
EXACT = 20.0
PREFIXES = [f"40.{n}.0.0/24" for n in range(7)]
START = ("link add name eth1 type veth peer name eth1-far", "link set dev eth1-far up",
         "link set dev eth1 up", "addr add 10.1.0.1/24 dev eth1",
         "link add name eth2 type veth peer name eth2-far", "link set dev eth2-far up",
         "link set dev eth2 up", "addr add 10.2.0.1/24 dev eth2",
         "link add name eth3 type veth peer name eth3-far", "link set dev eth3 up",
         "nexthop add id 7 via 10.1.0.7 dev eth1", "nexthop add id 8 via 10.2.0.8 dev eth2",
         "nexthop add id 70 group 7/8")


class History:
    """One router, and changes drawn at random; what the kernel refuses is no change."""
    PREFIXES, METRICS = PREFIXES, (0, 5, 10)

    def __init__(self, router, seed):
        self._router, self._random = router, random.Random(seed)
        self._name = "eth1"  # of the first link, now
        self._told = []
        router.batch(*START)
        self._publisher = self._publish()
        self.agent = router.agent()

    def _publish(self):
        # An ordinary user's buffer holds some 250 notifications.
        return self._router.publish(user="nobody")

    def _one(self, *choices):
        return self._random.choice(choices)

    def _ip(self, *lines):
        self._told += lines
        self._router.space.run("ip", "-force", "-batch", "-", text="\n".join(lines) + "\n",
                               check=False)

    def _via(self):
        link, net = self._one((self._name, 1), ("eth2", 2), ("eth3", 3))
        return self._one(f"via 10.{net}.0.{self._random.randint(2, 5)} dev {link}",
                         f"via 10.{net}.0.{self._random.randint(2, 5)} dev {link} onlink",
                         f"dev {link}")

    def _route(self):
        kind = self._random.randrange(12)
        if kind < 2:
            return self._one("throw", "prohibit", "blackhole", "unreachable"), ""
        if kind == 2:
            return "multicast", self._via()
        if kind < 5:
            return self._one("unicast", "unicast", "prohibit"), f"nhid {self._one(7, 8, 70)}"
        if kind < 8:
            return "unicast", " ".join(f"nexthop {self._via()}" for _ in range(self._one(2, 3)))
        if kind == 8:
            return "unicast", self._one(f"via inet6 fe80::9 dev {self._name}", "dev lo",
                                        "via 10.1.0.9 dev eth2 onlink table 100")
        return "unicast", self._via() + self._one("", "", " src 10.1.0.1", " mtu 1400")

    def _proto(self):
        return self._one("", "", "proto bgp", "proto redirect", "proto 77")

    def _changed_routes(self):
        lines = []
        for _ in range(self._random.randint(1, 8)):
            kind, hops = self._route()
            verb = self._one("add", "append", "append", "prepend", "replace", "replace", "del")
            where = f"{self._one(*self.PREFIXES)} metric {self._one(*self.METRICS)}"
            lines.append(f"route del {where}" if self._random.random() < 0.25 else
                         f"route {verb} {kind} {where} {self._proto()} {hops}")
        self._ip(*lines)

    def _changed_routes6(self):
        lines = []
        for _ in range(self._random.randint(1, 6)):
            where = f"2600:{self._random.randrange(5)}::/32 metric {self._one(1, 5, 1024)}"
            link = self._one(self._name, "eth2")
            hops = self._one(f"via fe80::{self._random.randint(2, 5)} dev {link}", f"dev {link}",
                             f"nexthop via fe80::2 dev {link} nexthop via fe80::3 dev eth2")
            kind = self._one("unicast", "unicast", "unicast", "blackhole", "unreachable", "throw")
            verb = self._one("add", "append", "append", "replace", "del")
            lines.append(f"route del {where}" if self._random.random() < 0.25 else
                         f"route {verb} {kind} {where} {self._one('', 'proto bgp')} "
                         f"{hops if kind == 'unicast' else ''}")
        self._ip(*lines)

    def _changed_objects(self):
        self._ip(*self._random.sample((
            f"nexthop replace id 7 via 10.1.0.{self._random.randint(2, 9)} dev {self._name}",
            f"nexthop replace id 8 via 10.2.0.{self._random.randint(2, 9)} dev eth2",
            f"nexthop replace id 7 via fe80::7 dev {self._name}",
            "nexthop replace id 7 blackhole", "nexthop replace id 70 group 7/8",
            "nexthop replace id 70 group 8", "nexthop replace id 70 group 7", "nexthop del id 7",
            f"nexthop add id 7 via 10.1.0.7 dev {self._name}",
            "nexthop add id 8 via 10.2.0.8 dev eth2"), self._random.randint(1, 4)))

    def _changed_links(self):
        self._ip(*self._random.sample((
            "link set dev eth1-far down", "link set dev eth1-far up", "link set dev eth2-far down",
            "link set dev eth2-far up", f"link set dev {self._name} up", "link set dev eth2 up",
            "link set dev eth3-far down", "link set dev eth3-far up",
            f"link set dev {self._one(self._name, 'eth2')} down",
            f"addr del 10.1.0.1/24 dev {self._name}", f"addr add 10.1.0.1/24 dev {self._name}",
            f"addr add 10.1.0.6/24 dev {self._name}", f"addr del 10.1.0.6/24 dev {self._name}",
            f"addr add 10.3.0.1/24 dev {self._name}", f"addr del 10.3.0.1/24 dev {self._name}",
            "addr add 10.2.0.1/24 dev eth2"), self._random.randint(1, 3)))

    def _renamed(self):
        name = "wan" if self._name == "eth1" else "eth1"
        up = json.loads(self._router.ip("-json", "link", "show", "dev", self._name))[0]["flags"]
        self._ip(f"link set dev {self._name} down", f"link set dev {self._name} name {name}",
                 f"link set dev {name} {'up' if 'UP' in up else 'down'}")
        self._name = name

    def _turned_setting(self):
        where = self._one("all", "default", self._name, "eth2")
        path = self._one(f"/proc/sys/net/ipv4/conf/{where}/ignore_routes_with_linkdown",
                         f"/proc/sys/net/ipv4/conf/{where}/promote_secondaries",
                         "/proc/sys/net/ipv4/nexthop_compat_mode")
        self._turn(path)

    def _turn(self, path):
        self._told.append(f"{path} turned")
        self._router.space.run("sh", "-c", f"echo $((1 - $(cat {path}))) > {path}")

    def _lost_tables(self):
        self._told.append("the run directory lost")
        self._router.forget_tables()

    def _killed(self):
        self._told.append("the publisher killed")
        self._publisher.kill()
        self._changed_routes()
        self._publisher = self._publish()

    def _overrun(self):
        self._told.append("the publisher stopped")
        self._publisher.send(signal.SIGSTOP)
        try:
            # The least that the kernel counts for one (include/linux/skbuff.h, SKB_TRUESIZE).
            most = self._router.status()["publisher"]["counters"]["bufferBytes"] // 256
            self._router.batch(*(f"route {verb} 41.{n >> 8}.{n & 255}.0/24 dev lo"
                                 for n in range(most // 2) for verb in ("add", "del")))
            self.change()
        finally:
            self._publisher.send(signal.SIGCONT)

    def change(self):
        self._random.choices(
            (self._changed_routes, self._changed_routes6, self._changed_objects,
             self._changed_links, self._renamed, self._turned_setting), (12, 6, 4, 5, 1, 2))[0]()

    def fault(self):
        self._one(self._lost_tables, self._killed, self._overrun)()

    def step(self):
        """Some changes, now and then amid a fault; then what is served is what is in use."""
        if self._random.random() < 0.15:
            self.fault()
        for _ in range(self._random.randint(1, 3)):
            self.change()
        found = []

        def agree():
            found[:] = self._lookups_elsewhere(self._router.routes_agree(self.agent, EXACT))
            self._router.inet_routes_agree(self.agent, EXACT)
            return not found

        try:
            assert eventually(agree, EXACT), found
        except AssertionError as why:
            raise AssertionError("\n".join(["the last changes:", *self._told[-40:], str(why)]))

    def _lookups_elsewhere(self, rows):
        """Prefixes of which a lookup in the kernel does not end at these rows. (Which of its next hops
        a packet takes is another matter: the kernel shares them out anew when a link turns, and not
        when ignore_routes_with_linkdown does.) A carrier that turns in between makes some: it is told
        of up to a second later than it was set."""
        found = []
        for prefix in PREFIXES:
            base = routes.destination(prefix)[0]
            got = self._router.kernel_lookup(prefix.replace(".0/24", ".1"))
            if got != [row for row in rows if row.dest == base]:
                found += [prefix, got, self._router.ip("-d", "route")]
        return found

    def shown(self, rundir):
        text = self._router.space.run(BUILD / "bin/kelbasectl", "--rundir", rundir, "--json", "show",
                                      "routes", check=False)
        return [{**row, "fec": None} for row in json.loads(text or "[]")]

    def ends_as_a_cold_start(self):
        fresh = self._router.fresh_dir("cold") / "run"
        other = self._router.start(self._router.dir / "cold.log", BUILD / "bin/kelbased",
                                   "--rundir", fresh)
        assert eventually(lambda: other.lines("publishing in"), EXACT), other.text()
        warm = self.shown(self._router.rundir)
        assert eventually(lambda: self.shown(fresh) == warm, EXACT), (warm, self.shown(fresh))


@pytest.mark.parametrize("seed", SEEDS)
def test_any_history_ends_as_the_kernel_does(router, seed):
    history = History(router, seed)
    for step in range(STEPS):
        history.step()
        if step % 5 == 0:
            router.loads_as_published()
    history.ends_as_a_cold_start()
