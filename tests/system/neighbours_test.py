"""ipNetToMediaTable and ipNetToPhysicalTable are what the kernel's neighbours make them, always.

Every scenario runs twice: before the daemons start, and step by step after it. What the kernel tells
is visible at once, what it does in silence within some two seconds.
"""

import random
import signal
import socket
import time

import pytest

from ovo.daemons import eventually, stays
from ovo.router import SEEDS
from ovo.tables import NET_TO_MEDIA, NET_TO_PHYSICAL

DELAY, INCOMPLETE = 3, 7
LOCAL = 5
PAIR = ("link add name eth1 type veth peer name eth1-far", "link set eth1-far up",
        "link set eth1 up")


def neighbour(address, link="eth1", mac=1, state="permanent", verb="replace"):
    return f"neigh {verb} {address} lladdr 02:00:00:00:00:{mac:02x} dev {link} nud {state}"


SCENARIOS = {
    "a link that loses its carrier, and goes down": [
        PAIR,
        [neighbour("10.0.0.1"), neighbour("10.0.0.2", state="reachable")],
        ("link set eth1-far down",),
        ("link set eth1-far up", neighbour("10.0.0.3", state="reachable")),
        ("link set eth1 down",),
        ("link set eth1 up", neighbour("10.0.0.4")),
    ],
    "zeros": [
        (*PAIR, "neigh add 0.0.0.0 lladdr 00:00:00:00:00:00 dev eth1 nud stale"),
        (neighbour("0.0.0.0"),),
        ("neigh del 0.0.0.0 dev eth1",),
    ],
}
BY_NAME = pytest.mark.parametrize("steps", SCENARIOS.values(), ids=SCENARIOS)


def started(router, user=None):
    publisher, agent = router.publish(user=user), router.agent()
    agent.publisher = publisher
    assert agent.answers()
    return agent


@BY_NAME
def test_each_step_shows(router, steps):
    agent = started(router)
    for step in steps:
        router.batch(*step)
        router.neighbours_agree(agent)


@BY_NAME
def test_what_happened_before_the_start(router, steps):
    for step in steps[:-1]:
        router.batch(*step)
    agent = started(router)
    router.neighbours_agree(agent)
    router.batch(*steps[-1])
    router.neighbours_agree(agent)


def request_of(sender, target):
    """An ARP request (RFC 826) from `sender` of 02:00:00:00:00:77, as a frame to everybody."""
    mac = bytes.fromhex("020000000077")
    return (b"\xff" * 6 + mac + bytes.fromhex("0806" "0001080006040001") + mac
            + socket.inet_aton(sender) + bytes(6) + socket.inet_aton(target)).ljust(60, b"\0")


def test_a_neighbour_that_the_kernel_learns_and_one_that_it_does_not_find(router):
    agent = started(router)
    router.batch(*PAIR, "addr add 10.0.0.1/24 dev eth1")
    index = next(index for name, index, _ in router.kernel_links() if name == "eth1")
    found = (*NET_TO_MEDIA.column("ipNetToMediaPhysAddress"), index, 10, 0, 0, 2)
    wire = router.space.inside(lambda: socket.socket(socket.AF_PACKET, socket.SOCK_RAW))
    with wire:
        wire.bind(("eth1-far", 0))

        def learned():  # the kernel sends nothing until a worker of its has seen the carrier
            wire.send(request_of("10.0.0.2", "10.0.0.1"))
            return agent.client.ask(found) == bytes.fromhex("020000000077")
        assert eventually(learned)
    missing = (*found[:-1], 3)
    router.space.run("ping", "-c1", "-W1", "10.0.0.3", check=False)
    assert stays(lambda: agent.client.ask(missing) == "noSuchInstance", 0.5)
    router.neighbours_agree(agent)


def test_what_the_kernel_does_in_silence_shows_within_two_seconds(router):
    """That it begins to look for a neighbour, and that it doubts one that it used."""
    agent = started(router)
    router.batch(*PAIR, "addr add 10.0.0.1/24 dev eth1", "addr add 10.0.0.1/32 dev lo",
                 "addr add 2001:db8::1/64 dev eth1 nodad",
                 *(neighbour(one, state="stale") for one in ("10.0.0.2", "2001:db8::2")))
    router.neighbours_agree(agent)
    for one in ("10.0.0.2", "10.0.0.3", "2001:db8::2", "2001:db8::3"):
        router.space.run("ping", "-c1", "-W0.1", one, check=False)
    _, told = router.neighbours_agree(agent, within=3)
    assert {DELAY, INCOMPLETE} <= {one.value for one in told if one.oid[9:10] == (7,)}, told
    router.batch(neighbour("10.0.0.1"))  # of the machine itself
    index = next(index for name, index, _ in router.kernel_links() if name == "eth1")
    kind = (*NET_TO_PHYSICAL.column("ipNetToPhysicalType"), index, 1, 4, 10, 0, 0, 1)
    assert eventually(lambda: agent.client.ask(kind) == LOCAL)


def test_when_each_was_updated(router):
    router.batch(*PAIR, neighbour("10.0.0.2"), neighbour("fe80::2"))
    time.sleep(1.1)
    agent = started(router)
    column = NET_TO_PHYSICAL.column("ipNetToPhysicalLastUpdated")

    def updated():
        return [one.value for one in agent.client.walk(column)]
    assert eventually(lambda: updated() == [0, 0])
    time.sleep(1.1)
    router.batch(neighbour("10.0.0.2", mac=2))
    now = agent.client.ask((1, 3, 6, 1, 2, 1, 1, 3, 0))
    assert eventually(lambda: updated()[0] > 0) and abs(updated()[0] - now) < 100
    before = updated()
    router.batch(*(f"link add name more{n} type bridge" for n in range(9)))  # dumps do not tell
    time.sleep(2.5)
    assert updated() == before


def test_ten_thousand(router):
    """They come, change and go at once."""
    agent = started(router)
    addresses = [f"10.{n // 4000}.{n % 4000 // 16}.{1 + n % 16}" for n in range(10_000)]
    router.batch(*PAIR, "addr add 192.0.2.1/24 dev eth1", *map(neighbour, addresses))
    assert len(router.neighbours_agree(agent, within=20)[0]) == 40_000
    router.batch(*(neighbour(address, mac=2) for address in addresses))
    router.neighbours_agree(agent, within=20)
    router.batch("link del eth1")
    router.neighbours_agree(agent, within=20)


def history(chance, links):
    """One batch of changes; `links` (name to index) is kept in step."""
    lines = []
    for _ in range(chance.randint(1, 12)):
        name, other = (f"lan{chance.randrange(4)}" for _ in range(2))
        kind = chance.random()
        if name not in links:
            links[name] = chance.choice([n for n in (*range(600, 606), 70000, 2147483647)
                                         if n not in links.values()])
            lines += [f"link add name {name} index {links[name]} type bridge",
                      f"link set {name} up"]
        elif kind < 0.08:
            lines += [f"link del {name}"]
            del links[name]
        elif kind < 0.16 and other not in links:
            lines += [f"link set {name} name {other}"]
            links[other] = links.pop(name)
        elif kind < 0.2:
            lines += [f"link set {name} down", f"link set {name} up"]
        elif kind < 0.24:
            lines += [f"neigh flush dev {name} nud {chance.choice(('all', 'permanent'))}"]
        elif kind < 0.3:
            lines += [f"addr replace 10.0.0.{chance.randint(1, 9)}/24 dev {name}"]
        elif kind < 0.36:
            lines += [chance.choice((f"link set {name} address 02:00:00:00:01:{len(links):02x}",
                                     f"link set {name} arp {chance.choice(('off', 'on'))}",
                                     f"neigh replace proxy 10.0.0.11 dev {name}"))]
        elif kind < 0.4 and other in links and other != name:
            lines += [f"link set {name} name aside", f"link set {other} name {name}",
                      f"link set aside name {other}"]
            links[name], links[other] = links[other], links[name]
        else:
            state = chance.choice(("permanent", "reachable", "stale", "delay", "probe", "failed",
                                   "incomplete", "noarp", "none"))
            net = chance.choice(("10.0.0.", "2001:db8::", "fe80::"))
            lines += [neighbour(f"{net}{chance.randint(10, 30)}", name, chance.randint(1, 3),
                                state)]
    return lines


@pytest.mark.parametrize("seed", SEEDS)
def test_a_random_history(router, seed):
    """With faults in the middle, changes after each, and at the end a second agent beside it."""
    chance, links = random.Random(seed), {}
    agent = started(router, user="nobody")  # whose buffer holds some 250 notifications

    def changes(rounds):
        for _ in range(rounds):
            router.batch(*history(chance, links))
            router.neighbours_agree(agent)

    changes(25)
    router.forget_tables()
    router.batch(*history(chance, links))
    router.neighbours_agree(agent, within=20)
    changes(8)
    agent.publisher.kill()
    router.batch(*history(chance, links))
    publisher = router.publish(user="nobody")
    router.neighbours_agree(agent, within=20)
    changes(8)
    publisher.send(signal.SIGSTOP)
    router.batch("link add name far type bridge",
                 *(neighbour(f"10.1.{n % 9}.{n // 9}", "far") for n in range(900)),
                 *history(chance, links))
    publisher.send(signal.SIGCONT)
    router.neighbours_agree(agent, within=20)  # so many cost a debug build long looks, far apart
    router.batch("link del far")
    router.neighbours_agree(agent, within=20)
    with agent.stopped():
        router.batch(*history(chance, links))
    agent.reload_and_wait()
    router.batch(*history(chance, links))
    router.neighbours_agree(agent, within=20)
    changes(8)
    router.batch("link add name last type bridge", neighbour("10.1.0.1", "last"))
    cold = router.agent()
    assert router.neighbours_agree(cold, within=20) == router.neighbours_agree(agent)
    assert router.loads_as_published()["neighbours"]
