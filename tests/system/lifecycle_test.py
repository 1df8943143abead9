"""Publisher and agent come, go and come back in any order."""

import re
import shutil

from ovo.ber import dotted
from ovo.daemons import BUILD, FORWARDING, NOT_FORWARDING, WITHOUT_SCALARS, eventually, stays
from ovo.tables import HEALTH

UNKNOWN = ("noSuchObject", "genErr")


def test_without_a_publisher_nothing_is_made_up_and_a_later_one_is_found(router):
    router.forward4(True)
    agent = router.agent(without=WITHOUT_SCALARS)
    assert stays(lambda: agent.ask("ipForwarding.0") in UNKNOWN, 1)
    assert isinstance(agent.ask("sysDescr.0"), bytes)
    assert len(agent.daemon.lines(f"{router.rundir}: ")) == 1, agent.daemon.text()
    router.publish()
    assert agent.answers(within=1), agent.daemon.text()
    assert agent.ask("ipForwarding.0") == FORWARDING


def test_the_first_answer_of_a_daemon_that_starts_is_ours_and_it_follows(router):
    router.publish()
    dropped = ("-u", "Debian-snmp", "-g", "Debian-snmp")
    for options in ({}, {"foreground": False, "options": dropped}):
        agent = router.agent(up=False, **options)
        while (first := agent.client.ask(dotted((*HEALTH, 1, 0)), timeout=20)) is None:
            pass
        assert first == 1, agent.daemon.text()
        agent.reload()
        for on in (True, False):
            router.forward4(on)
            expected = FORWARDING if on else NOT_FORWARDING
            assert eventually(lambda: agent.ask("ipForwarding.0") == expected), expected


def test_a_second_file_of_the_module_does_nothing(router):
    router.publish()
    copy = shutil.copy(BUILD / "lib/libOvoSnmp.so", router.dir)
    agent = router.agent(config=f"dlmod OvoSnmp {copy}\n")
    for _ in range(2):
        assert agent.answers()
        assert agent.daemon.lines("loaded from another file already")
        agent.reload_and_wait()


def test_a_dead_publisher_leaves_its_last_state_and_its_age(router):
    router.forward4(True)
    daemon = router.publish()
    agent = router.agent()
    assert agent.answers()
    daemon.kill()
    router.forward4(False)
    assert eventually(lambda: agent.daemon.lines(r"last known state"), 7), agent.daemon.text()
    assert stays(lambda: agent.ask("ipForwarding.0") == FORWARDING, 1)
    status = router.status()
    assert status["publisher"]["alive"] is False
    text = router.ctl("status", check=False)
    assert re.search(r"\d+(\.\d+)? ?s", text), text
    router.publish()
    assert eventually(lambda: agent.ask("ipForwarding.0") == NOT_FORWARDING)


def test_what_debians_log_keeps(router):
    daemon = router.publish()
    agent = router.agent(log="-LOw", env={"MAV_TRACE": "Snmp/1"})
    assert eventually(lambda: agent.daemon.lines("ipAddrTable initializing oid"), 10)
    assert not agent.daemon.lines("in sync")  # nobody was warned
    daemon.kill()
    assert eventually(lambda: agent.daemon.lines("has gone"), 7)
    daemon = router.publish()
    assert eventually(lambda: agent.daemon.lines("is back"), 7), agent.daemon.text()
    daemon.kill()
    shutil.rmtree(router.rundir)
    assert eventually(lambda: agent.daemon.lines(f"{router.rundir}: "), 7)
    router.publish()
    assert eventually(lambda: agent.daemon.lines("in sync"), 7), agent.daemon.text()


def test_times_are_in_the_log_of_a_daemon_that_was_told_to_count(router):
    router.publish()
    agent = router.agent(env={"BLIPMARK": "1"})
    assert agent.answers()
    agent.daemon.stop()
    assert agent.daemon.lines(r" us .* us"), agent.daemon.text()
    assert agent.daemon.lines("IpSnmp::IpRouteTableSm::handleRoute"), agent.daemon.text()
