"""What requests cost the agent: its own processor time, which other work on the machine leaves
nearly alone, and ratios within one run."""


def populate(router, count, links=20):
    """So many IPv4 addresses, each with a prefix of its own, and as many neighbours, on a few links."""
    router.links_up(*(f"eth{n}" for n in range(links)))
    router.batch(*(f"addr add 10.{n >> 14 & 255}.{n >> 6 & 255}.{(n & 63) * 4 + 1}/32 "
                   f"dev eth{n % links}" for n in range(count)))
    router.batch(*(f"neigh add 10.{n >> 14 & 255}.{n >> 6 & 255}.{(n & 63) * 4 + 2} "
                   f"lladdr 02:00:00:00:00:01 dev eth{n % links}" for n in range(count)))


class ColumnCost:
    """One column of an agent; its rows as they are at first."""

    def __init__(self, agent, table, name):
        self._agent, self.root = agent, table.column(name)
        self.oids = [binding.oid for binding in agent.client.walk(self.root, repetitions=50)]

    def walk(self, repetitions, walks=1):
        """Nanoseconds a row of walking it through."""
        rows, before = 0, self._agent.daemon.cpu()
        for _ in range(walks):
            rows += sum(1 for _ in self._agent.client.walk(self.root, repetitions=repetitions))
        return (self._agent.daemon.cpu() - before) / rows

    def get_present(self):
        """Nanoseconds of a GET, over rows spread through the table."""
        return self._each(self._agent.client.get, self._some())

    def get_absent(self):
        """The same for rows beside these that are not there."""
        return self._each(self._agent.client.get, self._beside())

    def next_of_present(self):
        """Nanoseconds of a GETNEXT."""
        return self._each(self._agent.client.getnext, self._some())

    def next_of_absent(self):
        return self._each(self._agent.client.getnext, self._beside())

    def _some(self, count=500):
        return self.oids[::max(1, len(self.oids) // count)]

    def _beside(self):
        return [(*one[:-1], one[-1] + 2) for one in self._some()]

    def _each(self, ask, oids):
        before = self._agent.daemon.cpu()
        for one in oids:
            ask(one)
        return (self._agent.daemon.cpu() - before) / len(oids)


def in_turns(rounds, *measures):
    """The least of each measure over so many rounds, in which they take turns."""
    values = [[measure() for measure in measures] for _ in range(rounds)]
    return [min(column) for column in zip(*values)]
