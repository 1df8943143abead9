"""Nothing is woken when nothing changes, but for one look every five seconds."""

import math
import time

WATCHED = 22


def test_an_idle_agent_wakes_once_in_five_seconds_more_than_a_stock_one(router):
    daemon = router.publish()
    ours, stock = router.agent(), router.agent(plugin=False)
    assert ours.answers()
    time.sleep(3)  # what the start itself still has to do
    watched = [ours.daemon, stock.daemon, daemon]
    before = [one.status("voluntary_ctxt_switches") for one in watched]
    time.sleep(WATCHED)
    woken = [one.status("voluntary_ctxt_switches") - then for one, then in zip(watched, before)]
    print("wake-ups: with the plug-in, stock, kelbased:", woken)
    assert woken[0] - woken[1] <= math.ceil(WATCHED / 5)
    assert woken[2] <= WATCHED * 1.2 + 1
