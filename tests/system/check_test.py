"""kelbasectl check beside a real snmpd: nothing to say when all is well, the remedy when not."""

import json
import signal

from ovo.daemons import BUILD, eventually


def checked(router, agent):
    """Each check by its name, and the exit code."""
    done = router.space.run(
        "sh", "-c", f"{BUILD}/bin/kelbasectl --rundir {router.rundir} check -j "
        f"--agent 127.0.0.1:{agent.port}; echo $?")
    text, code = done.rstrip().rsplit("\n", 1)
    return {one["check"]: one for one in json.loads(text)}, int(code)


def faults(router, agent):
    found, code = checked(router, agent)
    bad = {name: one for name, one in found.items() if one["verdict"] == "bad"}
    assert code == (1 if bad else 0)
    return bad


def test_all_is_well(router):
    router.links_up("eth1")
    router.ip("address", "add", "192.0.2.1/24", "dev", "eth1")
    router.ip("route", "add", "198.51.100.0/24", "via", "192.0.2.9")
    router.publish()
    agent = router.agent()
    assert agent.answers()
    assert not faults(router, agent)
    found, _ = checked(router, agent)
    assert found[f"snmpd (pid {agent.daemon.pid})"]["found"] == "has loaded the module"
    assert found["ipCidrRouteTable"]["found"] == "answered"
    assert found["other modules"]["verdict"] == "good"


def test_what_is_wrong_comes_with_its_remedy(router):
    publisher, agent = router.publish(), router.agent()
    assert agent.answers()
    config = agent.dir / "snmpd.conf"
    config.write_text(config.read_text().replace(
        "rwcommunity public", "view few included .1.3.6.1.2.1.1\nrocommunity public default -V few"))
    agent.reload_and_wait()
    assert eventually(lambda: "view NAME included" in faults(router, agent)
                      .get("ipForwarding", {"remedy": ""})["remedy"], 5)
    publisher.send(signal.SIGSTOP)
    assert eventually(lambda: "stands still" in faults(router, agent)
                      .get("publisher", {"found": ""})["found"], 10)
    publisher.kill()
    assert "systemctl restart kelbased" in faults(router, agent)["publisher"]["remedy"]


def test_a_daemon_without_the_module(router):
    router.publish()
    agent = router.agent(plugin=False)
    bad = faults(router, agent)
    assert bad[f"snmpd (pid {agent.daemon.pid})"]["found"] == "has not loaded the module"
    assert bad["ipCidrRouteNumber"]["found"].startswith("the module has not registered it")
