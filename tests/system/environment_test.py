"""What can be wrong with the run directory: told once, nothing made up, mended by itself."""

import contextlib
import os
import re

import pytest

from ovo.daemons import FORWARDING, NOT_FORWARDING, WITHOUT_SCALARS, eventually, stays

UNKNOWN = ("noSuchObject", "genErr")
# A look every five seconds finds what no notification tells.
LOOK = 6.5


@contextlib.contextmanager
def read_only(router):
    """The agent sees the run directory on a read-only mount."""
    router.space.run("mount", "--bind", router.rundir, router.rundir)
    router.space.run("mount", "-o", "remount,bind,ro", router.rundir)
    yield
    router.space.run("mount", "-o", "remount,bind,rw", router.rundir)


@contextlib.contextmanager
def unreadable(router):
    router.rundir.chmod(0)
    yield
    router.rundir.chmod(0o750)


@contextlib.contextmanager
def replaced_data(router, make):
    """data.mdb is another file for a while: `make` gets the used start of the real one."""
    data = router.rundir / "tables" / "data.mdb"
    aside, other = router.rundir / "aside", router.rundir / "other"
    with open(data, "rb") as file:
        used = file.read(1 << 20)
    other.write_bytes(make(used))
    other.chmod(0o640)
    os.chown(other, data.stat().st_uid, data.stat().st_gid)
    os.link(data, aside)
    other.rename(data)
    yield
    aside.rename(data)


def foreign(router):
    return replaced_data(router, lambda used: b"this is no table\n" * 1000)


def truncated(router):
    return replaced_data(router, lambda used: used[:2 * 4096])


def other_schema(router):
    magic = b"OVOT"

    def make(used):
        assert magic in used
        return re.sub(magic + b"....", magic + (99).to_bytes(4, "little"), used, flags=re.S)

    return replaced_data(router, make)


FAULTS = [read_only, unreadable, foreign, truncated, other_schema]
WORDS = {
    read_only: "read-only",
    unreadable: "ermission",
    foreign: "data.mdb",
    truncated: "data.mdb",
    other_schema: "schema",
}


def told(agent, router):
    """The agent's lines about the run directory, but for those that tell of normal life."""
    return [line for line in agent.daemon.lines(re.escape(str(router.rundir)))
            if not re.search(r"last known state|in sync|, reading", line)]


@pytest.mark.parametrize("fault", FAULTS, ids=lambda fault: fault.__name__)
def test_a_fault_at_the_start_is_told_once_and_mended(router, fault):
    router.forward4(True)
    router.publish().stop()
    with fault(router):
        agent = router.agent(options=("-u", "Debian-snmp", "-g", "Debian-snmp"),
                             without=WITHOUT_SCALARS)
        assert stays(lambda: agent.ask("ipForwarding.0", 5) in UNKNOWN, LOOK), (
            agent.ask("ipForwarding.0", 5), agent.daemon.text())
        assert isinstance(agent.ask("sysDescr.0"), bytes)
        lines = told(agent, router)
        assert len(lines) == 1 and WORDS[fault] in lines[0], agent.daemon.text()
    assert agent.answers(within=LOOK), agent.daemon.text()
    assert agent.ask("ipForwarding.0") == FORWARDING


@pytest.mark.parametrize("fault", FAULTS, ids=lambda fault: fault.__name__)
def test_a_fault_later_on_leaves_the_last_state(router, fault):
    router.forward4(True)
    router.publish().stop()
    agent = router.agent(options=("-u", "Debian-snmp", "-g", "Debian-snmp"))
    assert agent.answers()
    with fault(router):
        assert stays(lambda: agent.ask("ipForwarding.0", 5) == FORWARDING, LOOK)
        assert agent.ask("ipv6IpForwarding.0") == NOT_FORWARDING
        assert len(told(agent, router)) <= 1, agent.daemon.text()
    router.forward4(False)
    router.publish()
    assert eventually(lambda: agent.ask("ipForwarding.0") == NOT_FORWARDING, LOOK), \
        agent.daemon.text()


def test_tables_cut_short_under_a_reader_do_not_end_it(router):
    daemon = router.publish()
    agent = router.agent()
    assert agent.answers()
    daemon.kill()
    os.truncate(router.rundir / "tables" / "data.mdb", 8192)
    assert stays(lambda: agent.ask("ipForwarding.0", 5) == NOT_FORWARDING, LOOK), \
        agent.daemon.text()
    assert len(told(agent, router)) == 1, agent.daemon.text()
    router.forward4(True)
    router.publish()
    assert eventually(lambda: agent.ask("ipForwarding.0") == FORWARDING), agent.daemon.text()
