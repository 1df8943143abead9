"""A table of the internet's size from its start through what may befall it: how soon it is there, and
there again (wall clock), and what it keeps."""

import signal
import socket
import struct
import time

import made_routes
from internet import OID_OF_UPTIME, Asker, instances, shows, some
from ovo.daemons import eventually
from report import Budget
from served import CONNECTED, FULL, a_router, an_internet, anonymous, filled, load

CHURN_SECONDS = 60
CHANGED = FULL * 15 // 100


def start_on_published_routes():
    """snmpd started on published routes: when the last row is there (wall clock), and its memory"""
    yield "rows", "from its start", "first answer after", "processor time", "octets a row"
    with a_router() as router:
        load(router, [])
        empty = filled(router.agent(), CONNECTED)
        size = anonymous(empty.daemon)
        load(router, made_routes.routes(FULL))
        times = []
        for _ in range(3):
            start = time.monotonic()
            agent = router.agent()
            up = time.monotonic() - start
            filled(agent, FULL + CONNECTED)
            times.append((time.monotonic() - start, up, agent.daemon.cpu(),
                          anonymous(agent.daemon) - size))
            agent.daemon.stop()
        total, up, cpu, memory = min(times)
        yield (f"{FULL + CONNECTED:,}", f"{total:.2f} s", f"{up:.2f} s", f"{cpu / 1e9:.2f} s",
               f"{memory / FULL:.0f}")
    yield Budget("snmpd from its start to the last row", total, 1.0, "s")
    yield Budget("snmpd, memory of its own a row, filled in order", memory / FULL, 80, "octets")


def bare_dump(router):
    """Seconds that a dump of the main table takes when nobody looks at what comes."""
    def asking():
        link = socket.socket(socket.AF_NETLINK, socket.SOCK_RAW, socket.NETLINK_ROUTE)
        link.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 1 << 20)
        return link

    # RTM_GETROUTE, NLM_F_REQUEST | NLM_F_DUMP, AF_INET.
    request = struct.pack("=IHHII", 28, 26, 0x301, 1, 0) + struct.pack("=8BI", 2, *[0] * 7, 0)
    with router.space.inside(asking) as link:
        buffer = bytearray(1 << 20)
        start = time.monotonic()
        link.send(request)
        while True:
            size = link.recv_into(buffer)
            if struct.unpack_from("=H", buffer, 4)[0] == 3 or size == 0:  # NLMSG_DONE
                return time.monotonic() - start


def the_whole_road():
    """From a kernel that holds the routes to the last row, both daemons starting (wall clock)"""
    yield "routes", "bare dump", "kelbased and snmpd", "ratio", "kelbased's part", "its octets a route"
    with an_internet() as (router, _):
        dump, total, published = [], [], []
        for _ in range(3):
            dump.append(bare_dump(router))
            start = time.monotonic()
            publisher = router.publish(wait=False)
            agent = router.agent(up=False)
            router.wait_published(publisher)
            published.append(time.monotonic() - start)
            filled(agent, FULL + CONNECTED)
            total.append(time.monotonic() - start)
            memory = anonymous(publisher)
            agent.daemon.stop()
            publisher.stop()
            router.forget_tables()
    ratio = min(total) / min(dump)
    yield (f"{FULL:,}", f"{min(dump):.2f} s", f"{min(total):.2f} s", f"{ratio:.1f}",
           f"{min(published):.2f} s", f"{memory / FULL:.0f}")
    yield Budget("the whole road beside a bare dump of the kernel", ratio, 1.8)
    yield Budget("kelbased, memory of its own a route", memory / FULL, 40, "octets")


def seconds_until(holds, start, within=60):
    assert eventually(holds, within)
    return time.monotonic() - start


def what_may_befall_it():
    """Seconds until what is served is the kernel's again (wall clock), of 1,000,000 routes"""
    yield "what happened", "rows concerned", "seconds"
    with an_internet() as (router, internet):
        publisher = router.publish()
        agent = filled(router.agent(), FULL + CONNECTED)
        size = anonymous(agent.daemon)

        start = time.monotonic()
        router.forget_tables()
        anew = seconds_until(lambda: published_again(router), start)
        yield "the run directory was lost: all is published again", f"{FULL:,}", f"{anew:.2f}"

        moved = internet.moved(internet.lines[:CHANGED])
        publisher.send(signal.SIGSTOP)
        start = internet.take(moved, "replace")
        publisher.send(signal.SIGCONT)
        wanted = some(internet.rows(moved)[CONNECTED:])
        behind = seconds_until(lambda: shows(agent, wanted), start)
        yield "the publisher stood still", f"{CHANGED:,}", f"{behind:.2f}"

        left = internet.lines[CHANGED:] + moved
        gone = sum(" dev gen3 " in line for line in left)
        router.link_down("gen3")
        fallen = seconds_until(lambda: agent.ask("ipCidrRouteNumber.0") == FULL - gone
                               + CONNECTED - 1, time.monotonic())
        yield "a link fell", f"{gone:,}", f"{fallen:.2f}"
        grown = anonymous(agent.daemon)
    yield Budget("the run directory was lost: published again", anew, 2, "s")
    yield Budget(f"the publisher stood still amid {CHANGED:,} changes: served", behind, 3, "s")
    yield Budget(f"a link with {gone:,} routes fell: gone", fallen, 2, "s")
    yield Budget("snmpd grew by that, of its size", grown / size, 1.1)


def published_again(router):
    """The status counts the routes of both versions of IP together."""
    status = router.status()
    return (status.get("publisher") or {}).get("exact") and any(
        one["name"] == "routes" and one["records"] >= FULL + CONNECTED for one in status["tables"])


def gets_while_routes_churn():
    """GETs, 100 a second, while the whole table is loaded and withdrawn in a loop (wall clock)"""
    yield "measure", "this module", "stock snmpd"
    with an_internet() as (router, internet):
        publisher = router.publish()
        staying, others = internet.lines[:1000], internet.lines[1000:]
        rows = internet.rows(staying)
        agent = filled(router.agent(), FULL + CONNECTED)
        size = anonymous(agent.daemon)
        asker = Asker(agent, instances(some(rows)))
        # What the machine itself does to a daemon that has nothing to do with routes.
        beside = Asker(router.agent(plugin=False), [OID_OF_UPTIME])
        asker.start()
        beside.start()
        start = time.monotonic()
        changes = 0
        while time.monotonic() - start < CHURN_SECONDS:
            internet.take(others, "del")
            end = internet.take(others)
            changes += 2 * len(others)
        filled(agent, FULL + CONNECTED)
        settled = time.monotonic() - end
        for one in (asker, beside):
            one.end()
        yield "route changes a second that the kernel took", f"{changes / (end - start):,.0f}", ""
        yield "GETs", f"{len(asker.times):,}", f"{len(beside.times):,}"
        yield "GETs lost", asker.lost, beside.lost
        yield "rows absent that were not withdrawn", len(asker.absent), ""
        for name, part in (("median", 0.5), ("90 of 100", 0.9), ("99 of 100", 0.99),
                           ("999 of 1,000", 0.999), ("the longest", 1.0)):
            yield f"GET, {name}", *(f"{one.percentile(part):.1f} ms" for one in (asker, beside))
        yield "rows are the kernel's after its end", f"{settled:.2f} s", ""
        random = (anonymous(agent.daemon) - size) / FULL
        yield "memory that snmpd gained a row", f"{random:.0f} octets", ""
        yield "kelbased, memory of its own at the end", f"{anonymous(publisher) / 1e6:.0f} MB", ""
    yield Budget("a GET amid it, 99 of 100", asker.percentile(0.99), 10, "ms")


BENCHMARKS = [start_on_published_routes, the_whole_road, what_may_befall_it,
              gets_while_routes_churn]
