"""Whatever happened, the address tables are what a start from nothing would make them.

Random histories of links and addresses on a real kernel, with everything that may lose a
notification among them: each part is followed by a comparison with `ip -json`, and the last by one
with an agent that has seen nothing of it.
"""

import itertools
import random
import signal

import pytest

from ovo.router import SEEDS

PARTS, CHANGES = 24, 40
# More than the buffer of a publisher without privileges keeps, several times over.
LOST = 3_000
# The names print as, begin with, or are labels of addresses of one another.
NAMES = ["w", "w1", "w10", "w#2", "w!"]
LENGTHS4, LENGTHS6 = (0, 1, 8, 16, 24, 24, 24, 30, 31, 32), (0, 48, 57, 64, 64, 127, 128)


class History:
    """Lines for `ip`, of which some fail: what they leave is what counts."""

    def __init__(self, seed):
        self._random = random.Random(seed)
        self._pairs = itertools.count(1)

    def lines(self):
        return [line for _ in range(CHANGES) for line in self._change()]

    def _change(self):
        pick = self._random.choice
        if self._random.random() < 0.3:
            return pick((self._comes, self._comes, self._goes, self._renamed, self._swapped,
                         self._flaps, self._flaps))(pick(NAMES))
        verb = pick(("add", "add", "del"))
        if self._random.random() < 0.3:
            text = f"2001:db8::{self._random.randint(1, 4)}/{pick(LENGTHS6)}"
            return [f"addr {verb} {text} dev {pick(NAMES)} nodad"]
        return [f"addr {verb} {self._address4()}"]

    def _address4(self):
        pick = self._random.choice
        name, address = pick([*NAMES, "lo"]), f"10.0.{pick((0, 1))}.{self._random.randint(1, 4)}"
        peer = pick(("", "", "", f" peer 10.0.2.{self._random.randint(1, 4)}"))
        label = pick(("", "", f" label {name}:x", f" label {name}1"))
        return (f"{address}{peer}/{pick(LENGTHS4)} dev {name}{label}" if peer else
                f"{address}/{pick(LENGTHS4)} dev {name}{label}")

    def _comes(self, name):
        far = f"far{next(self._pairs)}"
        index = self._random.choice(("", "", f"index {self._random.choice((*range(500, 505), 70000, 2147483647))} "))
        return [f"link add name {name} {index}type veth peer name {far}", f"link set {far} up",
                f"link set {name} up"]

    def _goes(self, name):
        return [f"link del {name}", *self._comes(name)][:self._random.choice((1, 4))]

    def _renamed(self, name):
        return [f"link set {name} name {self._random.choice(NAMES)}"]

    def _swapped(self, name):
        other = self._random.choice(NAMES)
        return [f"link set {name} name aside", f"link set {other} name {name}",
                f"link set aside name {other}"]

    def _flaps(self, name):
        return [f"link set {name} {self._random.choice(('up', 'up', 'down'))}"]


def take(router, lines):
    """A batch, but for lines with a #: behind that `ip` takes a line of a batch for a remark."""
    script = []
    for alone, part in itertools.groupby(lines, lambda line: "#" in line):
        script += [f"ip {line}" for line in part] if alone else [
            "ip -force -batch - <<end", *part, "end"]
    router.space.run("sh", text="\n".join(script) + "\n", check=False, timeout=60)


def stopped_publisher(router, agent, lines):
    """Away long enough to lose notifications, among them those of the history."""
    router.publisher.send(signal.SIGSTOP)
    noise = [f"addr {verb} 10.9.{n // 200}.{n % 200}/32 dev lo" for verb in ("add", "del")
             for n in range(LOST // 2)]
    take(router, [*noise, *lines])
    router.publisher.send(signal.SIGCONT)


def stopped_agent(router, agent, lines):
    with agent.stopped():
        take(router, lines)


def lost_tables(router, agent, lines):
    take(router, lines[::2])
    router.forget_tables()
    take(router, lines[1::2])


def killed_publisher(router, agent, lines):
    router.publisher.kill()
    take(router, lines)
    router.publisher = router.publish(user="nobody")


def nothing_else(router, agent, lines):
    take(router, lines)


HAPPENINGS = [nothing_else, stopped_publisher, nothing_else, stopped_agent, lost_tables,
              killed_publisher]


@pytest.mark.parametrize("seed", SEEDS)
def test_history_decides_nothing(router, seed):
    router.publisher = router.publish(user="nobody")
    agent = router.agent()
    assert agent.answers()
    router.sysctl("net/ipv4/conf/default/promote_secondaries", 1 - seed % 2)
    history, chance = History(seed), random.Random(seed)
    for _ in range(PARTS):
        happening = chance.choice(HAPPENINGS)
        print(happening.__name__)
        happening(router, agent, history.lines())
        router.agrees(agent, within=10)
    cold = router.agent()
    assert cold.answers(within=30)
    router.agrees(cold, within=10)
    router.agrees(agent, within=10)  # again: a link's carrier may have come late
    assert any(cold.tables().values())
    assert router.loads_as_published()["addresses"]
