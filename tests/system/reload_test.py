"""SIGHUP unloads and loads the module again, under load, as often as one likes."""

import threading

import pytest

from ovo.daemons import FORWARDING, eventually

RELOADS = 1000
# What the daemon itself may keep over a thousand reloads without our module, in kB, and a little.
ALLOWED_GROWTH = 1024


class Load(threading.Thread):
    """Asks without pause from a client of its own; remembers which answers came."""

    def __init__(self, client, oid):
        super().__init__()
        self._client, self._oid, self._end = client, oid, threading.Event()
        self.answers = {}

    def run(self):
        while not self._end.is_set():
            answer = self._client.ask(self._oid)
            self.answers[answer] = self.answers.get(answer, 0) + 1

    def end(self):
        self._end.set()
        self.join()
        self._client.close()


@pytest.fixture
def loaded(router):
    router.forward4(True)
    router.publish()
    agent = router.agent()
    assert agent.answers()
    load = Load(agent.new_client(), "1.3.6.1.2.1.4.1.0")
    load.start()
    yield agent, load
    load.end()


def test_a_thousand_reloads_under_load(loaded):
    agent, load = loaded
    early = None
    for turn in range(1, RELOADS + 1):
        agent.reload_and_wait()
        assert eventually(lambda: agent.ask("ipForwarding.0") == FORWARDING), (
            turn, agent.daemon.text()[-2000:])
        if turn == 10:
            early = agent.daemon.status("VmRSS")
    growth = agent.daemon.status("VmRSS") - early
    print(f"growth {growth} kB, answers {load.answers}")
    assert growth < ALLOWED_GROWTH
    assert set(load.answers) <= {FORWARDING, "noSuchObject", "genErr"}, load.answers


def test_the_module_taken_out_and_put_back(loaded):
    agent, load = loaded
    early = None
    for turn in range(1, RELOADS // 2 + 1):
        agent.config(plugin=False)
        agent.reload_and_wait()
        assert eventually(lambda: agent.ask("ipForwarding.0") == "noSuchObject"), turn
        assert agent.ask("sysUpTime.0") is not None
        agent.config(plugin=True)
        agent.reload_and_wait()
        assert eventually(lambda: agent.ask("ipForwarding.0") == FORWARDING), turn
        if turn == 10:
            early = agent.daemon.status("VmRSS")
    growth = agent.daemon.status("VmRSS") - early
    print(f"growth {growth} kB, answers {load.answers}")
    assert growth < ALLOWED_GROWTH
    assert set(load.answers) <= {FORWARDING, "noSuchObject", "genErr"}, load.answers
