"""brivetSwFwdIpStatsTable beside the kernel's own counters, on this kernel as it is."""

import math
import re
import subprocess
import threading
import time

import pytest

from ovo.counters import kernel_counters, row, traffic
from ovo.daemons import eventually
from ovo.tables import STATS

# A row is half a second old at most, and what kelbased keeps of the kernel a quarter more.
OLD = 0.75
HEADER = ("Ip: Forwarding DefaultTTL InReceives InHdrErrors InAddrErrors ForwDatagrams "
          "InUnknownProtos InDiscards InDelivers OutRequests OutDiscards OutNoRoutes ReasmTimeout "
          "ReasmReqds ReasmOKs ReasmFails FragOKs FragFails FragCreates\n")


def cell(name, version):
    return (*STATS.column(f"brivetSwFwdIpStats{name}"), version)


def received(agent):
    """IPv4 datagrams; the question is one of them."""
    return agent.client.get(cell("HCInReceives", 1)).bindings[0].value


def counts(agent):
    """Whether the IPv4 row goes on."""
    before = received(agent)
    return eventually(lambda: (received(agent) or 0) > (before or 0), 3)


@pytest.fixture
def counted(router):
    router.publish()
    agent = router.agent()
    assert agent.answers() and counts(agent)
    return agent


def wrong_columns(router, agent, before):
    """What is not between the kernel's counters of `before` and of now."""
    served = [agent.client.get(*((*STATS.oid, 1, column.number, version)
                                 for column in STATS.columns)).bindings for version in (1, 2)]
    after = kernel_counters(router.space)
    found = []
    for version in (0, 1):
        bounds = row(before[version], after[version])
        for column, binding in zip(STATS.columns, served[version]):
            low, high = bounds[column.name]
            if column.kind == "Counter32" and high >= 2**32:
                continue
            if binding.kind != column.kind or not low <= binding.value <= high:
                found.append(f"IPv{(4, 6)[version]} {column.name}: {binding}, not {low} to {high}")
    return found


def test_every_column_is_the_kernels_within_the_freshness_interval(router, counted):
    send = traffic(router.space)
    moved = [set(), set()]
    start = kernel_counters(router.space)
    for _ in range(8):
        before = kernel_counters(router.space)
        ending = threading.Event()
        sender = threading.Thread(target=lambda: [send() for _ in iter(ending.is_set, True)])
        sender.start()
        time.sleep(OLD + 0.1)
        found = wrong_columns(router, counted, before)
        ending.set()
        sender.join()
        assert not found, "\n".join(found)
    for names, first, last in zip(moved, start, kernel_counters(router.space)):
        names |= {name for name in first if last[name] > first[name]}
    assert {"InReceives", "OutRequests", "InDelivers", "FragCreates", "ReasmOKs", "OutNoRoutes",
            "InMcastPkts", "InBcastPkts"} <= moved[0]
    assert {"InReceives", "InOctets", "FragOKs"} <= moved[1]
    time.sleep(OLD + 0.5)
    assert wrong_columns(router, counted, kernel_counters(router.space)) == []


def test_a_walk_has_ipv4_first_and_reads_each_file_once(router, counted):
    log = router.fresh_dir("strace") / "out"
    tracer = subprocess.Popen(["strace", "-qq", "-e", "trace=openat", "-e", "signal=none",
                               "-p", str(counted.daemon.pid), "-o", log])
    assert eventually(lambda: counted.daemon.status("TracerPid"), 5)
    time.sleep(0.6)  # what was read to begin with is old by then
    began = time.monotonic()
    walked = [binding.oid for binding in counted.client.walk(STATS.oid, repetitions=10)]
    most = math.ceil((time.monotonic() - began) / 0.5)
    tracer.terminate()
    tracer.wait()
    assert walked == [(*STATS.oid, 1, column.number, version)
                      for column in STATS.columns for version in (1, 2)]
    opened = re.findall(r'"[^"]*/(net-snmp|snmp|netstat|snmp6)"', log.read_text())
    assert {"netstat", "snmp6"} < set(opened)
    assert all(opened.count(name) <= most for name in opened), (opened, most)


def test_what_is_absent_leaves_the_others_answered_and_nothing_can_be_set(counted):
    there = [cell("InReceives", 1), cell("RefreshRate", 2)]
    answer = counted.client.get(there[0], cell("InReceives", 3), (*STATS.oid, 1, 2, 1),
                                (*STATS.oid, 1, 48, 1), (*STATS.oid, 2), there[1])
    assert answer.error == "noError"
    kinds = [binding.kind for binding in answer.bindings]
    assert kinds[0] == "Counter32" and kinds[-1] == "Gauge32", kinds
    assert set(kinds[1:-1]) <= {"noSuchObject", "noSuchInstance"}, kinds
    for column in STATS.columns:
        refused = counted.client.set(((*STATS.oid, 1, column.number, 1), column.kind, 0))
        assert (refused.error, refused.index) == ("notWritable", 1), column


def test_counts_beyond_32_bits_from_a_file_of_the_users(router):
    file = router.fresh_dir("proc", readable=True) / "snmp"
    large = 2**40 + 2**31 + 5
    file.write_text(f"{HEADER}Ip: 1 64 {large} {2**64 - 1}" + " 7" * 15 + "\n")
    router.publish()
    agent = router.agent(env={"PROC_NET_SNMP": file})
    assert agent.answers()
    values = [binding.value for binding in agent.client.get(
        cell("InReceives", 1), cell("HCInReceives", 1), cell("InHdrErrors", 1)).bindings]
    assert values == [large % 2**32, large, 2**32 - 1]


def test_the_ipv4_row_counts_on_after_anything_that_befalls_the_publisher(router):
    agent = router.agent()
    publisher = router.publish()
    assert agent.answers() and counts(agent)
    for _ in range(2):
        router.forget_tables()
        assert eventually(lambda: router.status().get("publisher"), 5)
        time.sleep(1.5)
        assert counts(agent)
    publisher.kill()
    time.sleep(OLD + 0.5)
    if (router.rundir / "net-snmp").exists():  # else the kernel itself is read
        assert not counts(agent)
    router.publish()
    assert counts(agent)
