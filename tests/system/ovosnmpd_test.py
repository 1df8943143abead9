"""ovosnmpd, the module as an AgentX subagent: a manager cannot tell it from the module."""

import signal
import subprocess

import pytest

from ovo.daemons import BUILD, FORWARDING, NOT_FORWARDING, WITHOUT, eventually
from ovo.tables import EVERY_TABLE, IP, SCALARS

# What the man page has an operator leave out of the master: a longer name there comes first.
MASTER = WITHOUT + (",ip,at,ip_scalars,ipAddressTable,ipAddressPrefixTable,ipCidrRouteTable,"
                    "inetCidrRouteTable")


@pytest.fixture
def subagent(router):
    """Starts a master, and the subagent beside it; both are the router's to end."""
    router.links_up("eth1", "eth2")
    router.batch("addr add 192.0.2.1/24 dev eth1", "addr add 192.0.2.2/24 dev eth1",
                 "addr add 2001:db8::1/64 dev eth2 nodad",
                 "neigh add 192.0.2.9 lladdr 02:00:00:00:00:09 dev eth1",
                 "nexthop add id 12 via 192.0.2.9 dev eth1",
                 *(f"route add 198.51.{n}.0/24 via 192.0.2.{n + 3}" for n in range(100)),
                 "route add 203.0.113.0/24 nhid 12")
    router.publish()
    directory = router.fresh_dir("ovosnmpd", readable=True)
    (directory / "ovosnmpd.conf").write_text("agentXPingInterval 1\n")
    daemon = router.start(
        directory / "ovosnmpd.log", "env", f"KELBASE_RUNDIR={router.rundir}",
        f"SNMPCONFPATH={directory}", BUILD / "bin/ovosnmpd", "-x", f"unix:{router.dir}/master")
    return daemon


def start_master(router):
    return router.agent(plugin=False, module="none", without=MASTER,
                        config=f"master agentx\nagentXSocket unix:{router.dir}/master\n")


def served(agent):
    """Every object but the vendor's, which tell of the agent itself and count this very question."""
    tables = {name: list(agent.client.walk(table.oid, repetitions=50))
              for name, table in EVERY_TABLE.items() if table.oid[:len(IP)] == IP}
    return tables | {name: agent.ask(f"{name}.0") for name, oid in SCALARS.items()
                     if oid[:len(IP)] == IP}


def shown_of_the_vendor(agent):
    return [one.oid for one in agent.client.walk("1.3.6.1.4.1.99999.3", repetitions=50)]


def agree(router, one, other):
    assert eventually(lambda: served(one) == served(other), 5)
    router.routes_agree(other)
    router.agrees(other)
    router.neighbours_agree(other)


def test_it_answers_as_the_module_does(router, subagent):
    module, master = router.agent(), start_master(router)
    assert module.answers() and master.answers()
    agree(router, module, master)
    assert eventually(lambda: shown_of_the_vendor(module) == shown_of_the_vendor(master), 5)
    assert shown_of_the_vendor(module)
    router.forward4(True)
    router.batch("route del 198.51.7.0/24", "link set eth2 down", "addr del 192.0.2.2/24 dev eth1",
                 "nexthop replace id 12 via 192.0.2.8 dev eth1")
    assert eventually(lambda: master.ask("ipForwarding.0") == FORWARDING)
    agree(router, module, master)
    assert master.set("ipForwarding.0", 2) == module.set("ipForwarding.0", 2) == "notWritable"


def test_it_finds_a_restarted_master(router, subagent):
    master = start_master(router)
    assert master.answers()
    subagent.send(signal.SIGPIPE)  # the kernel's, where the master ends amid what it is being told
    master.daemon.kill()
    router.ip("route", "add", "203.0.113.128/25", "via", "192.0.2.9")
    again = start_master(router)
    assert again.answers(within=20) and again.ask("ipForwarding.0") == NOT_FORWARDING
    assert eventually(lambda: served(again)["ipCidrRouteTable"], 5)
    router.routes_agree(again)
    assert subagent.alive() and subagent.stop() == 0
    assert eventually(lambda: again.ask("ipForwarding.0") == "noSuchObject")


def test_its_command_line():
    def run(*arguments):
        done = subprocess.run([BUILD / "bin/ovosnmpd", *arguments], capture_output=True, text=True)
        return done.returncode, done.stdout + done.stderr

    code, version = run("-v")
    assert code == 0 and version.split()[0] == "ovosnmpd" and run("--version") == (0, version)
    assert run("-h")[0] == 0
    for wrong in (["-x"], ["--no-such"], ["extra"]):
        code, said = run(*wrong)
        assert code == 2 and repr(wrong[-1]).replace("'", '"') in said
