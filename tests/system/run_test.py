"""./run as people use it: once, until Ctrl-C, in a namespace, as root and as an ordinary user."""

import pathlib
import re
import signal
import subprocess

import pytest

from ovo.daemons import BUILD, as_user
from ovo.tables import EVERY_TABLE, SCALARS

ROOT = pathlib.Path(__file__).resolve().parents[2]
USERS = pytest.mark.parametrize("user", [None, "nobody"], ids=["root", "user"])
FOREVER = re.compile(r"snmpd \(pid (\d+)\)")


@pytest.fixture(autouse=True, scope="module")
def built():
    """./run builds what is out of date; here that must not count as its time."""
    if BUILD != ROOT / "build":
        pytest.skip(f"./run uses {ROOT}/build, and the release under test is elsewhere")
    subprocess.run([ROOT / "cmake" / "build-tree", "build", "-DCMAKE_BUILD_TYPE=Release",
                    "-DBUILD_TESTING=OFF"], check=True, capture_output=True)


class Run:
    """One ./run inside the router's namespace, with a place of its own for temporary files."""

    def __init__(self, router, *arguments, user=None):
        self.temp = router.fresh_dir("tmp", readable=True)
        self.port = router.space.free_port()
        self._shared = set(pathlib.Path("/dev/shm").glob("ovosnmp.*"))
        self.process = subprocess.Popen(
            router.space.command(*as_user(user), "env", f"TMPDIR={self.temp}", ROOT / "run",
                                 "--port", self.port, *arguments),
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        self.text = ""
        router.ends_with_it(self)

    def alive(self):
        return self.process.poll() is None

    def stop(self):
        self.end(signal.SIGTERM)

    def read_until(self, pattern):
        while not re.search(pattern, self.text):
            line = self.process.stdout.readline()
            assert line, self.text
            self.text += line
        return re.search(pattern, self.text)

    def end(self, number=None):
        """What it printed, and its exit code."""
        if number:
            self.process.send_signal(number)
        rest, _ = self.process.communicate(timeout=60)
        self.text += rest
        return self.process.returncode

    def leaves_nothing(self):
        processes = subprocess.run(["pgrep", "-f", f"127.0.0.1:{self.port}$"],
                                   capture_output=True, text=True).stdout
        return (not list(self.temp.iterdir()) and not processes
                and set(pathlib.Path("/dev/shm").glob("ovosnmp.*")) <= self._shared)


@USERS
def test_once_prints_the_kernels_values(router, user):
    router.forward4(True)
    router.links_up("eth1")
    router.batch("addr add 10.0.0.1/8 dev lo", "route add 10.9.0.0/16 dev lo",
                 "neigh add 192.0.2.2 lladdr 02:00:00:00:00:02 dev eth1")
    index = {name: number for name, number, _ in router.kernel_links()}["eth1"]
    run = Run(router, "--once", user=user)
    assert run.end() == 0, run.text
    for line in ("ipForwarding.0 = forwarding(1)  [1.3.6.1.2.1.4.1.0]",
                 "ipCidrRouteNumber.0 = 1  [1.3.6.1.2.1.4.24.3.0]",
                 f"ipNetToMediaTable: 1 rows, ipNetToMediaIfIndex.{index}.192.0.2.2 = {index}  "
                 "[1.3.6.1.2.1.4.22]",
                 "ipCidrRouteTable: 1 rows, ipCidrRouteIfIndex.10.9.0.0.255.255.0.0.0.0.0.0.0 = 1  "
                 "[1.3.6.1.2.1.4.24.4]"):
        assert f"{line}\n" in run.text
    for name in SCALARS:
        assert f"\n{name}.0 = " in f"\n{run.text}"
    for table in EVERY_TABLE:
        assert re.search(rf"^{table}: [1-9]\d* rows, ", run.text, re.M), table
    assert run.leaves_nothing()


@USERS
@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM])
def test_it_serves_until_it_is_told_to_end(router, user, number):
    run = Run(router, user=user)
    run.read_until("Ctrl-C ends both")
    answer = router.space.run("snmpget", "-v2c", "-c", "public", "-Oqvn", "-m", "",
                              f"127.0.0.1:{run.port}", "1.3.6.1.2.1.4.1.0")
    assert answer == "2\n"
    assert run.end(number) == 0, run.text
    assert run.leaves_nothing()


def test_loopback_that_is_down_is_brought_up(router):
    router.ip("link", "set", "lo", "down")
    run = Run(router, "--once")
    assert run.end() == 0, run.text
    assert "brought lo" in run.text


def test_loopback_that_is_down_is_told_to_who_may_not_bring_it_up(router):
    router.ip("link", "set", "lo", "down")
    run = Run(router, "--once", user="nobody")
    assert run.end() == 1
    assert "ip link set lo up" in run.text


def test_a_daemon_that_ends_is_told_with_its_log(router):
    run = Run(router)
    pid = int(run.read_until(FOREVER).group(1))
    subprocess.run(["kill", "-KILL", str(pid)], check=True)
    assert run.end() == 1
    assert "snmpd ended by itself" in run.text
    assert run.leaves_nothing()


def test_a_port_that_is_taken_is_told(router):
    first = Run(router)
    first.read_until("Ctrl-C ends both")
    second = Run(router, "--once", "--port", str(first.port))
    assert second.end() == 1
    assert f"udp:127.0.0.1:{first.port} is taken" in second.text
    assert first.end(signal.SIGINT) == 0


def test_a_run_directory_that_has_a_publisher_is_told(router):
    daemon = router.publish()
    run = Run(router, "--once", "--rundir", router.rundir)
    assert run.end() == 1
    assert "kelbased ended by itself" in run.text and str(daemon.pid) in run.text
    assert router.rundir.exists() and daemon.alive()


def test_a_run_directory_of_the_users(router):
    run = Run(router, "--rundir", router.rundir)
    run.read_until("Ctrl-C ends both")
    assert router.status()["publisher"]["alive"] is True
    assert run.end(signal.SIGINT) == 0
    assert not router.rundir.exists()


def test_a_port_that_needs_root_is_not_said_to_be_taken(router):
    run = Run(router, "--once", "--port", "1", user="nobody")
    run.read_until(r"udp:127\.0\.0\.1:1 needs root; choose \d+ or more with --port")
    assert run.process.wait(20) == 1


@pytest.mark.parametrize("arguments, problem", [
    (["--port", "x"], '--port: expected a number from 1 to 65535, got "x"'),
    (["--port", "65536"], '--port: expected a number from 1 to 65535, got "65536"'),
    (["--rundir"], "--rundir: expected a directory"),
    (["--twice"], 'unknown argument "--twice"'),
])
def test_a_wrong_argument_is_refused(arguments, problem):
    done = subprocess.run([ROOT / "run", *arguments], capture_output=True, text=True, timeout=10)
    assert done.returncode == 2
    assert problem in done.stderr
