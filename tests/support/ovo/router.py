"""A router for one test: a network namespace, a run directory, a publisher, agents."""

import json
import os
import pathlib
import shutil
import subprocess
import tempfile

from ovo import inet_routes, neighbours, routes
from ovo.addresses import expected
from ovo.daemons import BUILD, SOON, Agent, Daemon, as_user, eventually
from ovo.namespaces import Namespace

MAIN = ("route", "show", "table", "main")
# Of the random histories; a long run takes more.
SEEDS = range(int(os.environ.get("OVO_HISTORIES", "2")))


class Router:
    def __init__(self):
        base = "/dev/shm" if pathlib.Path("/dev/shm").is_dir() else None
        self.dir = pathlib.Path(tempfile.mkdtemp(prefix="ovo-", dir=base))
        self.dir.chmod(0o755)
        self.space = Namespace()
        self.space.open_up(BUILD.parent)
        (self.dir / "run").mkdir()
        (self.dir / "run").chmod(0o777)
        self.rundir = self.dir / "run" / "kelbase"
        self._started = []
        self._count = 0

    def close(self):
        """Ends everything; a daemon that the sanitizers ended fails the test here."""
        reports = []
        for one in reversed(self._started):
            one.close() if isinstance(one, Agent) else one.alive() and one.stop()
        self.space.close()
        for log in self.dir.rglob("*.log"):
            text = log.read_text(errors="replace")
            if "AddressSanitizer" in text or "runtime error:" in text:
                reports.append(f"{log.name}:\n{text}")
        shutil.rmtree(self.dir)
        assert not reports, "\n".join(reports)

    def ends_with_it(self, one):
        """What has alive() and stop() is ended with the router."""
        self._started.append(one)

    def fresh_dir(self, name, readable=False):
        self._count += 1
        path = self.dir / f"{name}{self._count}"
        path.mkdir()
        path.chmod(0o777 if readable else 0o700)
        return path

    def start(self, log, *command):
        daemon = Daemon(self.space.command(*command), log)
        self._started.append(daemon)
        return daemon

    # The kernel.
    def forward4(self, on):
        self.sysctl("net/ipv4/ip_forward", on)

    def forward6(self, on):
        self.sysctl("net/ipv6/conf/all/forwarding", on)

    def sysctl(self, name, value):
        self.space.run("sh", "-c", f"echo {int(value)} > /proc/sys/{name}")

    def ip(self, *arguments):
        return self.space.run("ip", *arguments)

    def batch(self, *lines, timeout=60):
        """Lines as `ip` takes them, by one process."""
        self.space.run("ip", "-batch", "-", text="\n".join(lines) + "\n", timeout=timeout)

    def link_add(self, name):
        """A pair: NAME, and its far end, which is up, so that NAME runs once it is up."""
        self.ip("link", "add", "name", name, "type", "veth", "peer", "name", f"{name}-far")
        self.ip("link", "set", f"{name}-far", "up")

    def links_up(self, *names):
        """Pairs, both ends up."""
        self.batch(*(line for name in names for line in (
            f"link add name {name} type veth peer name {name}-far",
            f"link set {name}-far up", f"link set {name} up")))

    def link_down(self, name):
        self.ip("link", "set", name, "down")

    def kernel_links(self):
        """Name, index and whether up and running, of every link."""
        def runs(flags):
            return "UP" in flags and "NO-CARRIER" not in flags

        return sorted((link["ifname"], link["ifindex"], runs(link["flags"]))
                      for link in self._tell("link"))

    def kernel_addresses(self):
        """Every link with its addresses, as `ip` tells."""
        return self._tell("-d", "address")

    def kernel_neighbours(self):
        """The trees that the kernel's neighbours make."""
        return neighbours.expected(self._tell("neighbour", "show", "nud", "all"), self._indexes())

    def kernel_routes(self, *which):
        """The rows that the kernel's routes make, or `which` of them (`ip route show`)."""
        return routes.expected(self._tell("-details", "-4", *MAIN, *which), self._tell("nexthop"),
                               self._indexes())

    def kernel_lookup(self, address):
        """The rows of the route that a lookup of the address finds."""
        return routes.expected(self._tell("-details", "route", "get", "fibmatch", address),
                               self._tell("nexthop"), self._indexes())

    def kernel_inet_routes(self):
        """The rows of both families that the kernel's routes make, by index."""
        return inet_routes.expected(*(self._tell("-details", family, *MAIN)
                                      for family in ("-4", "-6")),
                                    self._tell("nexthop"), self._indexes())

    def _tell(self, *arguments):
        """What `ip -json` lists; a lookup may find nothing."""
        return json.loads(self.space.run("ip", "-json", *arguments, timeout=120,
                                         check="get" not in arguments) or "[]")

    def _indexes(self):
        return {link["ifname"]: link["ifindex"] for link in self._tell("link")}

    # The publisher.
    def publish(self, *options, user=None, wait=True):
        """Starts kelbased; waits until the tables are there."""
        self._count += 1
        daemon = self.start(self.dir / f"kelbased{self._count}.log", *as_user(user),
                            BUILD / "bin/kelbased", "--rundir", self.rundir, *options)
        if wait:
            self.wait_published(daemon)
        return daemon

    def wait_published(self, daemon, within=20):
        def published():
            return not daemon.alive() or daemon.lines("publishing in")

        assert eventually(published, within) and daemon.alive(), daemon.text()

    def forget_tables(self):
        """Removes the run directory, as a reboot does; it may have gone and not come back yet."""
        if self.rundir.exists():
            shutil.rmtree(self.rundir)

    def ctl(self, *arguments, text=None, check=True, timeout=30):
        return self.space.run(BUILD / "bin/kelbasectl", "--rundir", self.rundir, *arguments,
                              text=text, check=check, timeout=timeout)

    def ctl_fails(self, *arguments):
        done = subprocess.run(
            self.space.command(BUILD / "bin/kelbasectl", "--rundir", self.rundir, *arguments),
            capture_output=True, text=True, timeout=30)
        assert done.returncode != 0, done.stdout
        return done.returncode, done.stderr

    def load(self, *files):
        """`files`: Python values, written as the JSON that ip prints."""
        names = []
        for value in files:
            names.append(self.fresh_dir("load") / "state.json")
            names[-1].write_text(json.dumps(value))
        return self.ctl("load", *names)

    def loads_as_published(self, within=20.0):
        """What `ip -json` says of this machine, loaded elsewhere, gives the tables that kelbased
        publishes; but for the numbers of the sets of next hops that the kernel gives none."""
        def tables(rundir):
            def shown(table):
                text = self.space.run(BUILD / "bin/kelbasectl", "--rundir", rundir, "--json",
                                      "show", table, check=False)
                return sorted((json.dumps({**row, "fec": min(row.get("fec") or 0, 1 << 32)})
                               for row in json.loads(text or "[]")))

            return {table: shown(table) for table in
                    ("links", "addresses", "forwarding", "neighbours", "routes", "fecs")}

        def none():
            rundir = self.fresh_dir("loaded") / "run"
            told = [self.ip("-json", *which) for which in
                    (("-d", "link"), ("-d", "address"), ("netconf",), ("neighbour",),
                     ("-d", "-4", "route", "show", "table", "all"),
                     ("-d", "-6", "route", "show", "table", "all"), ("-d", "nexthop"))]
            self.space.run(BUILD / "bin/kelbasectl", "--rundir", rundir, "load", "-",
                           text="\n".join(told), check=False)
            found.update(loaded=tables(rundir), published=tables(self.rundir))
            return found["loaded"] == found["published"]

        found = {}
        assert eventually(none, within), [
            (table, rows, found["published"][table]) for table, rows in found["loaded"].items()
            if rows != found["published"][table]]
        return found["loaded"]

    def status(self):
        text = self.ctl("--json", "status", check=False)
        return json.loads(text) if text.strip() else {}

    # The agent.
    def agent(self, up=True, **options):
        agent = Agent(self, **options)
        self._started.append(agent)
        return agent.up() if up else agent

    def _comes_to_agree(self, agent, differences, within):
        """Waits until `differences` gives none, of tables that are the module's; fails with them."""
        found = []

        def none():
            try:
                found[:] = differences()
            except KeyError as number:
                found[:] = [f"nexthop object {number} went between the listings"]
                return False
            return agent.ours() and not found

        assert eventually(none, within), "\n".join(found[:40])

    def agrees(self, agent, within=SOON):
        """Waits until the address tables are the kernel's; fails with what is different."""
        def differences():
            trees = expected(self.kernel_addresses())
            served = agent.tables()
            return [line for table, tree in trees.items()
                    for line in tree.differences(served[table])]

        self._comes_to_agree(agent, differences, within)

    def routes_agree(self, agent, within=SOON, columns=range(1, 17)):
        """The same of ipCidrRouteTable; `within` counts from now, after the kernel has ended."""
        rows = []

        def differences():
            rows[:] = self.kernel_routes()
            return routes.differences(agent.client, rows, columns)

        self._comes_to_agree(agent, differences, within)
        return rows

    def inet_routes_agree(self, agent, within=SOON):
        """The same of inetCidrRouteTable, whatever ages it tells."""
        rows = {}

        def differences():
            rows.clear()
            rows.update(self.kernel_inet_routes())
            return inet_routes.differences(agent.client, rows)

        self._comes_to_agree(agent, differences, within)
        return rows

    def neighbours_agree(self, agent, within=6.0):
        """The same of ipNetToMediaTable and ipNetToPhysicalTable; what is served."""
        served = []

        def differences():
            served[:] = neighbours.served(agent.client)
            return [line for tree, rows in zip(self.kernel_neighbours(), served)
                    for line in tree.differences(rows)]

        self._comes_to_agree(agent, differences, within)
        return served
