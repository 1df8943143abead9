"""However snmpd is started, it answers."""

import pytest

from ovo.daemons import FORWARDING, WITHOUT_SCALARS, eventually, stays

DROPPED = ("-u", "Debian-snmp", "-g", "Debian-snmp")


@pytest.mark.parametrize("foreground", [True, False], ids=["foreground", "background"])
@pytest.mark.parametrize("options", [(), DROPPED], ids=["root", "dropped"])
def test_it_answers_and_follows(router, foreground, options):
    router.publish()
    agent = router.agent(foreground=foreground, options=options)
    assert agent.answers()
    router.forward4(True)
    assert eventually(lambda: agent.ask("ipForwarding.0") == FORWARDING)
    agent.reload()
    router.forward4(False)
    assert eventually(lambda: agent.ask("ipForwarding.0") not in (FORWARDING, None))
    assert agent.answers()
    agent.daemon.stop()


@pytest.mark.parametrize("publisher", ["nobody", None], ids=["both", "snmpd"])
def test_an_ordinary_user_may_run_it(router, publisher):
    if publisher is None:
        # The tables are the publisher's group's: without it there is no way in, and a clear line.
        router.publish()
        agent = router.agent(user="nobody", without=WITHOUT_SCALARS)
        assert stays(lambda: agent.ask("ipForwarding.0") in ("noSuchObject", "genErr"), 1)
        assert agent.daemon.lines(f"{router.rundir}.*ermission")
        return
    router.forward4(True)
    router.publish(user=publisher)
    agent = router.agent(user="nobody")
    assert agent.answers()
    assert agent.ask("ipForwarding.0") == FORWARDING


def test_it_ends_within_a_second_of_sigterm(router):
    daemon = router.publish()
    agent = router.agent()
    assert agent.answers()
    assert agent.daemon.stop(within=5 if agent.sanitized else 1) == 0
    assert daemon.stop(within=1) == 0
