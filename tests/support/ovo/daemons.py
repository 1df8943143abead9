"""The programs under test: started, watched and ended by their process ids."""

import contextlib
import os
import pathlib
import re
import signal
import subprocess
import time

from ovo.ber import dotted
from ovo.snmp import Client
from ovo.tables import SCALARS, TABLES

BUILD = pathlib.Path(os.environ.get("OVO_BUILD", "build")).resolve()
# ./test --long: hours instead of minutes.
LONG = os.environ.get("OVO_LONG") == "1"
SANITIZED = os.environ.get("OVO_SANITIZED") == "1"
# The search for leaks at a program's end now and then never ends (it runs on after the daemon's last
# line, deaf to SIGABRT), and would report those of snmpd too: leaks are for the unit tests to find.
SANITIZERS = "detect_leaks=0:handle_abort=1"

OIDS = {
    **{f"{name}.0": f"{dotted(oid)}.0" for name, oid in SCALARS.items()},
    "sysDescr.0": "1.3.6.1.2.1.1.1.0",
    "sysUpTime.0": "1.3.6.1.2.1.1.3.0",
    "sysName.0": "1.3.6.1.2.1.1.5.0",
}
FORWARDING, NOT_FORWARDING = 1, 2

# As Debian starts it: smux is an old protocol with a TCP port of its own.
WITHOUT = "-smux,mteTrigger,mteTriggerConf"
# For tests of what the plug-in does not know yet: the daemon would answer for ipForwarding meanwhile.
WITHOUT_SCALARS = WITHOUT + ",ip,ip_scalars"


# Much for a busy machine, and less than the five seconds after which the module looks by itself.
SOON = 4.0


def eventually(holds, within=SOON):
    """Whether `holds` comes to be true in time; looked at every 5 ms, and once more at the end."""
    deadline = time.monotonic() + within
    while time.monotonic() < deadline:
        if holds():
            return True
        time.sleep(0.005)
    return bool(holds())


def stays(holds, during):
    """Whether `holds` is true all the while."""
    return not eventually(lambda: not holds(), during)


class Daemon:
    """One process with its log."""

    def __init__(self, command, log, env=None):
        self.log = log
        with open(log, "ab") as output:
            self.process = subprocess.Popen(
                command, stdin=subprocess.DEVNULL, stdout=output, stderr=output,
                env={"ASAN_OPTIONS": SANITIZERS, **os.environ, **(env or {})})
        self.pid = self.process.pid

    def alive(self):
        return self.process.poll() is None

    def send(self, number):
        self.process.send_signal(number)

    def stop(self, number=signal.SIGTERM, within=5):
        """Ends it; its exit code (negative: the signal)."""
        if self.alive():
            self.send(number)
            # A stopped process takes SIGTERM only once it is continued.
            self.send(signal.SIGCONT)
        try:
            return self.process.wait(within)
        except subprocess.TimeoutExpired as why:
            raise AssertionError(f"{self.process.args} did not end:\n{self._abort()}") from why

    def _abort(self):
        """Ends what does not end; where it stood, and the end of its log."""
        where = " ".join(task.read_text() for task in
                         pathlib.Path(f"/proc/{self.pid}/task").glob("*/wchan"))
        self.process.send_signal(signal.SIGABRT)  # a sanitizer then tells the stack
        try:
            self.process.wait(5)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
        return f"waiting in {where}\n{self.text()[-4000:]}"

    def kill(self):
        return self.stop(signal.SIGKILL)

    def text(self):
        return pathlib.Path(self.log).read_text(errors="replace")

    def lines(self, pattern):
        return [line for line in self.text().splitlines() if re.search(pattern, line)]

    def status(self, field):
        """A number of /proc/PID/status: VmRSS in kB, voluntary_ctxt_switches."""
        text = pathlib.Path(f"/proc/{self.pid}/status").read_text()
        return int(re.search(rf"^{field}:\s+(\d+)", text, re.M).group(1))

    def cpu(self):
        """Nanoseconds that it ran."""
        return int(pathlib.Path(f"/proc/{self.pid}/schedstat").read_text().split()[0])


class Agent:
    """An snmpd of its own with the plug-in, asked by a small client.

    The daemon's own modules are in, as Debian has them. `config` is more of its snmpd.conf.
    """

    def __init__(self, router, plugin=True, foreground=True, options=(), user=None,
                 without=WITHOUT, env=None, module="OvoSnmp", library=None, config="",
                 access="rwcommunity public\n", log="-Lo"):
        self._router, self._env, self._module = router, env or {}, module
        self._library = library or module
        self._more_config, self._access = config, access
        self.dir = router.fresh_dir("snmpd", readable=True)
        self.port = router.space.free_port()
        self.config(plugin)
        command = ["/usr/sbin/snmpd", "-r", "-C", "-c", self.dir / "snmpd.conf", "-p",
                   self.dir / "pid", "-I", without, *options]
        command += ["-f", log] if foreground else ["-Lf", self.dir / "forked.log"]
        command.append(f"udp:127.0.0.1:{self.port}")
        self.daemon = router.start(self.dir / "snmpd.log", *as_user(user),
                                   "env", *self._environment(), *command)
        if not foreground:
            self.daemon = self._forked()
        self._client = None
        self._ours = False
        self._read = self._seen = 0

    def _environment(self):
        values = {"KELBASE_RUNDIR": self._router.rundir, "MIBS": "", "SNMPCONFPATH": self.dir,
                  "SNMP_PERSISTENT_DIR": self.dir / "persistent"}
        if SANITIZED:
            libraries = [subprocess.run(["gcc", f"-print-file-name=lib{name}.so"], text=True,
                                        capture_output=True).stdout.strip()
                         for name in ("asan", "ubsan")]
            values |= {"LD_PRELOAD": ":".join(libraries), "ASAN_OPTIONS": SANITIZERS,
                       "UBSAN_OPTIONS": "print_stacktrace=1"}
        return [f"{name}={value}" for name, value in (values | self._env).items()]

    def _forked(self):
        """The daemon that went to the background, by its pid file."""
        assert self.daemon.process.wait(20) == 0, self.daemon.text()
        pid_file = self.dir / "pid"
        assert eventually(lambda: pid_file.exists() and pid_file.read_text().strip(), 10)
        return Forked(int(pid_file.read_text()), self.dir / "forked.log")

    def config(self, plugin=True):
        """Writes its configuration; `reload` has it read."""
        (self.dir / "snmpd.conf").write_text(
            self._access + "dontLogTCPWrappersConnects yes\n"
            + (f"dlmod {self._module} {BUILD}/lib/lib{self._library}.so\n" if plugin else "")
            + self._more_config)
        (self.dir / "snmpd.conf").chmod(0o644)

    def reload(self):
        self.daemon.send(signal.SIGHUP)

    def reload_and_wait(self):
        """Until the daemon says that it has read its configuration again."""
        done = self._restarts() + 1
        self.reload()

        def restarted():
            if self._restarts() >= done:
                return True
            # Between its look at the signal and its select(2) the daemon sleeps on: this wakes it.
            self.ask("ipForwarding.0", 0.1)
            return False

        assert eventually(restarted, 5), self.daemon.text()[-2000:]

    def _restarts(self):
        with open(self.daemon.log, "rb") as log:
            log.seek(self._read)
            new = log.read()
        whole = new[:new.rfind(b"\n") + 1]
        self._read += len(whole)
        self._seen += whole.count(b"restarted")
        return self._seen

    def set(self, name, value):
        """The error of a SET of an INTEGER."""
        return self.client.set((OIDS[name], "INTEGER", value)).error

    def new_client(self, community="public"):
        return self._router.space.inside(lambda: Client(self.port, community))

    @property
    def client(self):
        """The small client, made once."""
        if self._client is None:
            self._client = self.new_client()
        return self._client

    def ask(self, name, timeout=2.0):
        """An integer, octets, an error's or an exception's name, or None when nothing came."""
        return self.client.ask(OIDS[name], timeout=timeout)

    def tables(self):
        """Each address table as a walk gives it."""
        return {table: list(self.client.walk(table.oid, repetitions=50)) for table in TABLES}

    def answers(self, name="ipForwarding.0", within=30):
        """Waits until the object has a value, and not by the daemon's own module."""
        return eventually(lambda: self.ours() and isinstance(self.ask(name, 0.2), int), within)

    def ours(self):
        """Whether the plug-in has taken the tables: until then the daemon's own module answers."""
        self._ours = self._ours or self._module != "OvoSnmp" or bool(
            self.daemon.lines("taken out of the daemon's own"))
        return self._ours

    def up(self, within=20):
        """Waits until the daemon answers at all; under ASan its start takes seconds."""
        assert eventually(lambda: self.ask("sysUpTime.0", 0.2) is not None, within), \
            self.daemon.text()
        return self

    @contextlib.contextmanager
    def stopped(self):
        """Not running, as under a debugger."""
        self.daemon.send(signal.SIGSTOP)
        try:
            yield
        finally:
            self.daemon.send(signal.SIGCONT)

    def close(self):
        if self._client:
            self._client.close()
        if self.daemon.alive():
            self.daemon.stop()


class Forked(Daemon):
    """A daemon that is not our child any more."""

    def __init__(self, pid, log):
        self.pid, self.log = pid, log

    def alive(self):
        try:
            state = pathlib.Path(f"/proc/{self.pid}/stat").read_text().rsplit(")", 1)[1].split()[0]
        except (FileNotFoundError, ProcessLookupError):
            return False
        return state != "Z"

    def send(self, number):
        os.kill(self.pid, number)

    def stop(self, number=signal.SIGTERM, within=5):
        self.send(number)
        if not eventually(lambda: not self.alive(), within):
            os.kill(self.pid, signal.SIGKILL)
            raise TimeoutError(f"process {self.pid} did not end")


def as_user(user):
    """The start of a command that is to run as an ordinary user."""
    return [] if user is None else ["setpriv", f"--reuid={user}", "--regid=nogroup",
                                    "--clear-groups", "--pdeathsig", "KILL", "--"]
