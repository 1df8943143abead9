"""What may befall the run directory and its files while daemons run: snmpd lives, serves what it knew,
and agrees with the kernel again afterwards, whatever the kernel did meanwhile and does from then on."""

import contextlib
import ctypes
import itertools
import os
import pathlib
import random
import signal
import struct
import subprocess
import time

import pytest

from ovo.daemons import BUILD, LONG, eventually, stays
from ovo.tables import HEALTH

AS_DEBIAN = ("-u", "Debian-snmp", "-g", "Debian-snmp")
# From the end of a fault: a look of the agent, and what the publisher waits until it makes tables anew.
HEALED = 30.0


def prepared(router, options=AS_DEBIAN):
    """A router with something in every table; its publisher and an agent."""
    router.links_up("eth1", "eth2")
    router.batch("addr add 10.1.0.1/24 dev eth1", "addr add 2001:db8::1/64 dev eth2 nodad",
                 "neigh add 10.1.0.9 lladdr 02:00:00:00:00:09 dev eth1",
                 *(f"route add 10.9.{n}.0/24 via 10.1.0.{2 + n % 2}" for n in range(40)),
                 *(f"route add 4000:{n}::/32 via 2001:db8::{2 + n % 2}" for n in range(10, 30)))
    router.forward4(True)
    router.publisher = router.publish()
    agent = router.agent(options=options)
    assert agent.answers(), agent.daemon.text()
    return agent


def change(router, turn):
    """Something comes, goes and changes in every table."""
    router.batch(f"addr del 10.2.{turn - 1}.1/24 dev eth2" if turn % 2 else
                 f"addr add 10.2.{turn}.1/24 dev eth2",
                 f"neigh replace 10.1.0.{10 + turn} lladdr 02:00:00:00:01:{turn:02x} dev eth1",
                 *(f"route replace 10.9.{n}.0/24 via 10.1.0.{4 + turn % 3}"
                   for n in range(turn % 5, 40, 5)),
                 f"route add 10.8.{turn}.0/24 via 10.1.0.3 metric {turn}",
                 f"route del 10.9.{turn}.0/24",
                 f"neigh replace 2001:db8::{10 + turn} lladdr 02:00:00:00:02:{turn:02x} dev eth2",
                 *(f"route replace 4000:{n}::/32 via 2001:db8::{4 + turn % 3}"
                   for n in range(10 + turn % 5, 30, 5)),
                 f"route append 4000:{20 + turn}::/32 via fe80::3 dev eth1",
                 f"route add unreachable 4001:{turn}::/32 metric {turn + 1}")


def agrees(router, agent, within=HEALED):
    router.agrees(agent, within)
    router.routes_agree(agent, within)
    router.inet_routes_agree(agent, within)
    router.neighbours_agree(agent, within)


@contextlib.contextmanager
def closed_above(router):
    router.rundir.parent.chmod(0)
    yield
    router.rundir.parent.chmod(0o777)


@contextlib.contextmanager
def link_loop(router):
    aside = router.fresh_dir("aside") / "run"
    router.rundir.rename(aside)
    router.rundir.symlink_to(router.rundir)
    yield
    router.rundir.unlink()


@contextlib.contextmanager
def tables_behind_a_link(router):
    """The same files, by a path that nobody follows."""
    elsewhere = router.fresh_dir("elsewhere", readable=True) / "tables"
    (router.rundir / "tables").rename(elsewhere)
    (router.rundir / "tables").symlink_to(elsewhere)
    yield


@contextlib.contextmanager
def lock_cut(router):
    os.truncate(router.rundir / "tables" / "lock.mdb", 0)
    yield


@contextlib.contextmanager
def lock_garbled(router):
    with open(router.rundir / "tables" / "lock.mdb", "r+b") as file:
        file.write(b"\xff" * 16)
    yield


@contextlib.contextmanager
def last_page_flipped(router):
    """Both meta pages of the data file (mdb.c, MDB_meta) name a last page beyond the map."""
    with open(router.rundir / "tables" / "data.mdb", "r+b") as file:
        for page in range(2):
            file.seek(page * 4096 + 136 + 5)
            file.write(b"\x40")
    yield


FAULTS = [closed_above, link_loop, tables_behind_a_link, lock_cut, lock_garbled, last_page_flipped]


@pytest.mark.parametrize("fault", FAULTS, ids=lambda fault: fault.__name__)
def test_both_daemons_get_over_it(router, fault):
    agent = prepared(router)
    agrees(router, agent)
    with fault(router):
        change(router, 0)
        assert stays(agent.daemon.alive, 6), agent.daemon.text()
        assert agent.ask("ipForwarding.0") == 1
    goes_on(router, agent)
    assert len(agent.daemon.lines(str(router.rundir))) < 8, agent.daemon.text()


@pytest.mark.parametrize("seed", range(20 if LONG else 1))
def test_one_fault_upon_the_other(router, seed):
    chance = random.Random(seed)
    agent = prepared(router)
    for turn in range(12 if LONG else 3):
        with chance.choice(FAULTS)(router):
            change(router, turn)
            time.sleep(chance.uniform(0, 3))
        assert eventually((router.rundir / "tables" / "data.mdb").exists, HEALED)
        time.sleep(chance.uniform(0, 3))
    agrees(router, agent)
    assert router.publisher.alive() and agent.daemon.alive(), router.publisher.text()


def goes_on(router, agent, within=2):
    agrees(router, agent)
    for turn in range(2, 5):
        change(router, turn)
        agrees(router, agent, within)
    assert router.publisher.alive(), router.publisher.text()


def kelbased(router, *before):
    """A publisher started by way of other commands."""
    log = router.dir / "other.log"
    return router.start(log, *before, BUILD / "bin/kelbased", "--rundir", router.rundir)


def test_a_full_file_system_that_is_freed(router):
    router.space.run("mount", "-t", "tmpfs", "-o", "size=512k", "tmpfs", router.rundir.parent)
    agent = prepared(router)
    many = [f"blackhole 10.{64 + (n >> 8)}.{n & 255}.0/24" for n in range(20000)]
    for removed in (many, many[:19500]):
        router.batch(*(f"route add {one}" for one in many))
        assert eventually(lambda: not router.status()["publisher"]["exact"], 20)
        assert "full" in router.status()["publisher"]["trouble"]
        router.batch(*(f"route del {one}" for one in removed))
        assert eventually(lambda: router.status()["publisher"]["exact"], 20), \
            router.publisher.text()
        agrees(router, agent)
    goes_on(router, agent)


def test_address_spaces_smaller_than_the_map(router):
    limit = ("prlimit", f"--as={600 << 20}", "--")
    daemon = kelbased(router, *limit)
    router.wait_published(daemon)
    daemon.stop()
    agent = prepared(router, options=())
    router.space.run("prlimit", f"--as={600 << 20}", "--pid", agent.daemon.pid)
    router.forget_tables()  # opened anew by both
    # Until the large map is closed any allocation of snmpd may fail, and have the module start over.
    goes_on(router, agent, HEALED)


def test_no_inotify_instance_for_the_publisher(router):
    user = 54321
    libc = ctypes.CDLL(None)
    pid = os.fork()
    if pid == 0:  # takes all that this user may have
        os.setuid(user)
        while libc.inotify_init() >= 0:
            pass
        signal.pause()
    try:
        daemon = router.publish(user=user)
        assert daemon.lines("cannot be watched.*max_user_instances"), daemon.text()
        agent = router.agent()
        assert agent.answers()
        router.publisher = daemon
        router.forget_tables()
        router.links_up("eth1")
        router.batch("addr add 10.1.0.1/24 dev eth1")
        agrees(router, agent)
    finally:
        os.kill(pid, signal.SIGKILL)
        os.waitpid(pid, 0)


def test_closed_standard_descriptors(router):
    daemon = kelbased(router, "sh", "-c", 'exec "$@" <&- >&- 2>&-', "sh")
    assert eventually(lambda: router.status().get("generation"), 10)
    lock = (router.rundir / "publisher.lock").read_text()
    assert lock.startswith(f"pid={daemon.pid}") and "publishing" not in lock
    opened = [os.readlink(f"/proc/{daemon.pid}/fd/{fd}") for fd in range(3)]
    assert opened == ["/dev/null"] * 3


def test_a_publisher_without_memory_ends_and_loses_nothing(router):
    agent = prepared(router)
    daemon = router.publisher
    router.space.run("prlimit", f"--as={daemon.status('VmSize') << 10}", "--pid", daemon.pid)
    router.batch(*(f"route add 10.{64 + (n >> 8)}.{n & 255}.0/24 via 10.1.0.2"
                   for n in range(20000)))
    assert daemon.process.wait(10) == 1, daemon.text()
    assert daemon.text().splitlines()[-1] == "kelbased: out of memory: ends, to be started again"
    router.publisher = router.publish()
    goes_on(router, agent)


class Disturbed:
    """Sets clocks and has allocations fail in what runs with its `env` (tests/support/disturbed.cc)."""

    def __init__(self, router):
        directory = router.fresh_dir("disturbed", readable=True)
        library, self._file = directory / "disturbed.so", directory / "wanted"
        root = pathlib.Path(__file__).resolve().parents[2]
        subprocess.run(["c++", "-O1", "-shared", "-fPIC", f"-I{root}", "-o", library,
                        root / "tests/support/disturbed.cc"], check=True)
        self._file.write_bytes(bytes(16))
        self._file.chmod(0o666)
        self.env = {"LD_PRELOAD": library, "DISTURBED": self._file}

    def fails(self, one_of=0, at_call=0):
        """One allocation of so many, or one, so many calls from now."""
        self._write(0, struct.pack("<II", one_of, at_call))

    def has_failed(self):
        return self._file.read_bytes()[4:8] == bytes(4)

    def clock(self, seconds):
        self._write(8, struct.pack("<q", seconds))

    def _write(self, at, octets):
        with open(self._file, "r+b") as file:
            file.seek(at)
            file.write(octets)

    def kelbased(self, router):
        return kelbased(router, "env", *(f"{name}={value}" for name, value in self.env.items()))


def ask_everything(agent):
    """Whatever the answers are."""
    for oid in ((1, 3, 6, 1, 2, 1, 4), (1, 3, 6, 1, 4, 1, 99999)):
        with contextlib.suppress(Exception):
            agent.client.walk(oid, repetitions=20)


def test_allocations_that_fail_in_snmpd_cost_no_more_than_an_answer(router):
    failing = Disturbed(router)
    prepared(router).close()
    agent = router.agent(options=AS_DEBIAN, env=failing.env)
    assert agent.answers(), agent.daemon.text()
    for turn, number in enumerate((2000, 500, 100, 20, 5)):
        failing.fails(one_of=number)
        change(router, turn)
        for _ in range(5):
            ask_everything(agent)
        if turn % 2 == 0:
            router.forget_tables()
            ask_everything(agent)
        assert stays(agent.daemon.alive, 2), agent.daemon.text()[-3000:]
        failing.fails()
        agrees(router, agent)
    for number in (50, 5):
        failing.fails(one_of=number)
        agent.reload()
        assert stays(agent.daemon.alive, 2), agent.daemon.text()[-3000:]
        failing.fails()
        agrees(router, agent)


def test_every_allocation_of_a_change_may_fail_in_snmpd(router):
    failing = Disturbed(router)
    prepared(router).close()
    agent = router.agent(options=AS_DEBIAN, env=failing.env)
    assert agent.answers(), agent.daemon.text()
    for turn, number in enumerate(itertools.count(1, 1 if LONG else 17)):
        failing.fails(at_call=number)
        for verb, state in (("add", "up"), ("del", "down")):
            router.batch(*(f"route {verb} 10.7.{n}.0/24 via 10.1.0.{n + 2}" for n in range(9)),
                         f"neigh {verb} 10.1.0.99 lladdr 02:00:00:00:01:09 dev eth1",
                         f"addr {verb} 10.2.0.1/24 dev eth2", f"link set eth2 {state}")
            ask_everything(agent)
        # A module that could not read its tables looks again in 5 s.
        if not eventually(failing.has_failed, 6):
            break
        assert agent.daemon.alive(), (number, agent.daemon.text()[-3000:])
        if turn % 20 == 0:
            agrees(router, agent)
    assert turn > 3
    failing.fails()
    agrees(router, agent)


def test_every_allocation_of_a_start_may_fail_in_kelbased(router):
    failing = Disturbed(router)
    agent = prepared(router)
    router.publisher.stop()
    for turn, number in enumerate(itertools.count(1, 1 if LONG else 41)):
        failing.fails(at_call=number)
        router.batch(f"route replace 10.7.0.0/24 via 10.1.0.{2 + turn % 9}")
        daemon = failing.kelbased(router)
        assert eventually(lambda: failing.has_failed() or router.status()["publisher"]["exact"], 10)
        if not failing.has_failed():
            break
        assert daemon.process.wait(10) == 1, (number, daemon.text()[-3000:])
        assert "ends, to be started again" in daemon.text(), number
        if turn % 20 == 0:
            whole = router.publish()
            agrees(router, agent)
            whole.stop()
    assert turn > 3
    failing.fails()
    daemon.stop()  # its allocation may have come by now
    router.publish()
    agrees(router, agent)


def test_a_clock_that_is_set_makes_no_publisher_old_nor_young_for_ever(router):
    disturbed = Disturbed(router)
    daemon = disturbed.kelbased(router)
    router.wait_published(daemon)
    agent = router.agent(env=disturbed.env)
    assert agent.answers()

    def told():
        alive, up_time, age = (one.value for one in agent.client.get(
            *((*HEALTH, number, 0) for number in (1, 2, 3))).bindings)
        return alive, up_time < 60 * 100, age <= 4
    for seconds in (10**8, -10**8, 0):
        disturbed.clock(seconds)
        assert stays(lambda: told() == (1, True, True), 1.5), told()
    assert not agent.daemon.lines("stands still")
    disturbed.clock(-10**6)
    daemon.send(signal.SIGSTOP)
    assert eventually(lambda: told()[0] == 2 and agent.daemon.lines("stands still"), 10), told()
