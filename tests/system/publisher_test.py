"""kelbased as a daemon: one at a time, clean ends, what it publishes of links."""

import pathlib
import re
import shutil
import signal
import socket
import subprocess
import tempfile
import time

import pytest
from ovo.daemons import BUILD, as_user, eventually, stays

ROOT = pathlib.Path(__file__).resolve().parents[2]


def test_it_ends_within_a_second(router):
    for number in (signal.SIGTERM, signal.SIGINT):
        daemon = router.publish()
        assert daemon.stop(number, within=1) == 0
        assert router.rundir.is_dir()


def test_what_cannot_work_is_said(router):
    nowhere, first = "/proc/no-such-place", router.publish()
    for rundir, options, status, said in [
            (router.rundir, (), 1, str(first.pid)),
            (router.rundir, ("--group", "no-such-group"), 1, "kelbased: group no-such-group: "),
            (nowhere, (), 1, f"kelbased: {nowhere}: cannot make: No such file or directory; choose "),
            (router.rundir, ("--no-such-option",), 2, "--no-such-option")]:
        daemon = router.start(router.dir / "refused.log", BUILD / "bin/kelbased", "--rundir",
                              rundir, *options)
        assert daemon.process.wait(10) == status
        assert said in daemon.text()
    assert first.alive()


def test_its_service_manager_and_the_journal_are_told(router):
    """As sd_notify(3), and with the priorities of sd-daemon(3)."""
    log, notify = router.dir / "journal.log", router.dir / "notify"
    log.touch()
    journal = f"{log.stat().st_dev}:{log.stat().st_ino}"
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as manager:
        manager.bind(str(notify))
        manager.settimeout(20)

        def hear(text):
            while text not in manager.recv(1024):
                pass

        daemon = router.start(log, "env", f"NOTIFY_SOCKET={notify}", "WATCHDOG_USEC=200000",
                              f"JOURNAL_STREAM={journal}", BUILD / "bin/kelbased", "--rundir",
                              router.rundir)
        for text in (b"READY=1", b"STATUS=", b"WATCHDOG=1", b"WATCHDOG=1"):
            hear(text)
        shutil.rmtree(router.rundir)
        router.rundir.touch()  # nothing can be published there
        hear(b"STATUS=not exact: ")
        assert daemon.stop() == 0
        hear(b"STOPPING=1")
    assert daemon.lines("^<6>publishing in "), daemon.text()


def test_a_publisher_that_stands_still_is_told_everywhere(router):
    daemon, agent = router.publish(), router.agent()
    assert agent.answers()
    assert router.status()["publisher"]["exact"] is True
    started = time.monotonic()
    daemon.send(signal.SIGSTOP)
    assert eventually(lambda: agent.daemon.lines("stands still; serving the last known state"), 11)
    assert time.monotonic() - started < 10.5
    code, _ = router.ctl_fails("status")
    assert code == 3 and router.status()["publisher"]["exact"] is False
    assert "the publisher stands still" in router.ctl("status", check=False)
    daemon.send(signal.SIGCONT)
    assert eventually(lambda: agent.daemon.lines("is back"), 2), agent.daemon.text()
    assert router.status()["publisher"]["exact"] is True


def test_what_a_reader_counts_is_shown_while_it_lives(router):
    router.publish()
    agent = router.agent(options=("-u", "Debian-snmp", "-g", "Debian-snmp"))
    assert agent.answers()

    def told(**wanted):
        (shown,) = router.status()["readers"] or [{}]
        return wanted.items() <= shown.items() and shown["generation"] == router.status()["generation"]

    assert eventually(lambda: told(program="snmpd", pid=agent.daemon.pid, resyncs=0, badRecords=0), 3)
    router.link_add("eth1")
    assert eventually(lambda: told(resyncs=0), 3)
    router.forget_tables()
    assert eventually(lambda: told(pid=agent.daemon.pid, resyncs=1), 8), router.status()
    assert f"snmpd, pid {agent.daemon.pid}, version " in router.ctl("status")
    agent.reload_and_wait()
    assert eventually(lambda: told(pid=agent.daemon.pid, resyncs=0), 8), router.status()
    agent.daemon.kill()
    assert router.status()["readers"] == []


def test_tables_that_cannot_be_written_are_told_and_no_watchdog_is_fed(router):
    router.space.run("mount", "-t", "tmpfs", "-o", "size=512k", "tmpfs", router.rundir.parent)
    log, notify = router.dir / "full.log", router.dir / "notify"
    with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as manager:
        manager.bind(str(notify))
        manager.settimeout(4)
        daemon = router.start(log, "env", f"NOTIFY_SOCKET={notify}", "WATCHDOG_USEC=2000000",
                              BUILD / "bin/kelbased", "--rundir", router.rundir)
        router.wait_published(daemon)
        router.batch(*(f"route add blackhole 10.{n >> 8}.{n & 255}.0/24" for n in range(20000)))
        def told():
            return router.status()["publisher"]

        # Before it is full, it may be behind.
        assert eventually(lambda: "cannot" in (told()["trouble"] or ""), 60)
        assert eventually(lambda: told()["exact"] is False, 10)
        assert told()["counters"]["writesFailed"] > 0
        manager.settimeout(0.2)

        def fed():  # the reasons that it tells alternate
            try:
                return b"WATCHDOG" in manager.recv(4096)
            except TimeoutError:
                return False
        assert eventually(lambda: stays(lambda: not fed(), 4), 30)
        router.space.run("mount", "-o", "remount,size=64m", router.rundir.parent)
        assert eventually(lambda: router.status()["publisher"]["exact"], 10), daemon.text()


def test_a_run_directory_that_it_may_not_make_again_ends_it(router):
    """systemd then makes the directory (RuntimeDirectory=), and starts it again."""
    router.rundir.mkdir()
    shutil.chown(router.rundir, "nobody")
    router.rundir.parent.chmod(0o755)
    daemon = router.publish(user="nobody")
    router.forget_tables()
    assert eventually(lambda: not daemon.alive(), 5)
    assert daemon.stop() == 1 and daemon.lines("cannot make: Permission denied")


def test_a_state_that_may_not_be_read_is_not_said_to_be_absent(router):
    router.publish()
    done = subprocess.run(
        router.space.command(*as_user("nobody"), BUILD / "bin/kelbasectl", "--rundir",
                             router.rundir, "status"), capture_output=True, text=True, timeout=30)
    assert done.returncode == 1
    assert "none has been here" not in done.stdout and "ermission" in done.stderr


def test_the_unit_is_closed_as_far_as_it_goes():
    if not shutil.which("systemd-analyze"):
        pytest.skip("no systemd-analyze")
    unit = (ROOT / "packaging/kelbased.service").read_text()
    with tempfile.TemporaryDirectory() as directory:
        path = pathlib.Path(directory) / "kelbased.service"
        path.write_text(unit.replace("ExecStart=kelbased", "ExecStart=/bin/true"))
        text = subprocess.run(["systemd-analyze", "security", "--offline=true", path],
                              capture_output=True, text=True, check=False).stdout
    assert float(re.search(r"exposure level .*: ([0-9.]+)", text).group(1)) <= 1.0
