"""Nothing is woken when nothing changes, but for one look every five seconds."""

import math
import subprocess
import time

WATCHED = 22
LOOKS = math.ceil(WATCHED / 5)
# The daemon's own alarms fall into the window or beside it.
CHANCE = 3


class Wakes:
    """Counts how often a daemon's loop comes out of its select, by strace."""

    def __init__(self, router, daemon):
        self._log = router.fresh_dir("strace") / "out"
        self._process = subprocess.Popen(
            ["strace", "-qq", "-e", "trace=pselect6,select,poll,ppoll", "-e", "signal=none",
             "-p", str(daemon.pid), "-o", self._log])

    def end(self):
        """Woken by a descriptor, and by anything at all."""
        self._process.terminate()
        self._process.wait()
        lines = self._log.read_text().splitlines()
        assert lines, "nothing traced"
        return sum("(in [" in line for line in lines), len(lines)


def test_an_idle_agent_wakes_once_in_five_seconds_more_than_a_stock_one(router):
    publisher = router.publish()
    ours, stock = router.agent(), router.agent(plugin=False)
    assert ours.answers()
    time.sleep(3)  # what the start itself still has to do
    before = publisher.status("voluntary_ctxt_switches")
    traces = [Wakes(router, one.daemon) for one in (ours, stock)]
    time.sleep(WATCHED)
    (by_look, all_ours), (by_nothing, all_stock) = [trace.end() for trace in traces]
    by_heartbeat = publisher.status("voluntary_ctxt_switches") - before
    print(f"by descriptors {by_look}, stock {by_nothing}; all {all_ours}, stock {all_stock}; "
          f"kelbased {by_heartbeat}")
    assert by_nothing == 0
    assert 1 <= by_look <= LOOKS
    assert all_ours - all_stock <= LOOKS + CHANCE
    # A sign of life each second; where this kernel's IPv4 counters need it, a file four times.
    each_second = 5 if (router.rundir / "net-snmp").exists() else 1
    assert by_heartbeat <= each_second * WATCHED + CHANCE
