"""A made-up table of the internet's size and shape, the same for the same seed: routes as a border
router has them, and the links and addresses through which their next hops are reached.

About 60 % of the prefixes are /24, 11 % /22, 9 % /23, 5 % /21, 4.5 % /20, the rest thins out to /8,
behind 36 next hops on four links, gen0 to gen3. Half of those of IPv6 are /48, a fifth /32, the rest
/29 to /47, behind 36 link-local and global next hops on the same links. No prefix is in an /8 of which RFC 6890 sets a part
aside, so that the table goes beside a host's own networks; the links' networks are 198.18.0.0/24
and on, of the block for benchmarks (RFC 2544).
"""

import ipaddress
import json
import random

LINKS = [f"gen{n}" for n in range(4)]
HOPS = [(f"198.18.{link}.{2 + host}", name) for link, name in enumerate(LINKS) for host in range(9)]
LENGTH_MIN = 8
HOPS6 = [(f"{start}{2 + host:x}", name) for name in LINKS
         for host, start in enumerate(("fe80::", "2001:db8:6::") * 4 + ("fe80::",))]
# Of a hundred thousand prefixes, how many are /8, /9 ... /24.
SHARES = (5, 15, 30, 50, 100, 200, 300, 500, 1300, 1500, 2500, 4000, 4500, 5000, 11000, 9000, 60000)
SET_ASIDE = {0, 10, 100, 127, 169, 172, 192, 198, 203, *range(224, 256)}


def _quotas(count):
    """How many of each length: of a short one at most a third of all that there could be, so that
    drawing them ends soon; the next longer one takes the rest."""
    share = assigned = 0
    for length, part in enumerate(SHARES, LENGTH_MIN):
        share += part
        wanted = count * share // 100_000 - assigned
        quota = wanted if part is SHARES[-1] else min(wanted, (1 << length) // 3)
        assigned += quota
        yield length, quota


def routes(count, seed=1):
    """Prefixes and their next hops, in the order of prefixes."""
    source = random.Random(seed)
    made = []
    for length, quota in _quotas(count):
        drawn = set()
        while len(drawn) < quota:
            prefix = source.getrandbits(length)
            if prefix >> length - 8 not in SET_ASIDE:
                drawn.add(prefix << 32 - length)
        made += [(address, length, HOPS[source.randrange(len(HOPS))]) for address in sorted(drawn)]
    return [(f"{address >> 24}.{address >> 16 & 255}.{address >> 8 & 255}.{address & 255}/{length}",
             hop) for address, length, hop in sorted(made)]


def routes6(count, seed=1):
    """The same of IPv6: in the order of prefixes, within 2600::/8."""
    source = random.Random(seed)
    drawn = set()
    while len(drawn) < count:
        length = source.choice((48,) * 5 + (32,) * 2 + (*range(29, 32),) + (*range(33, 48, 5),))
        drawn.add((0x26 << 120 | source.getrandbits(length - 8) << 128 - length, length))
    return [(f"{ipaddress.IPv6Address(address)}/{length}", HOPS6[source.randrange(len(HOPS6))])
            for address, length in sorted(drawn)]


def batch_of_links():
    """Lines of `ip -batch`: pairs, so that a link runs without a neighbour."""
    return [line for number, name in enumerate(LINKS) for line in (
        f"link add {name} type veth peer name {name}-far", f"link set {name}-far up",
        f"link set {name} up", f"address add 198.18.{number}.1/24 dev {name}")]


def batch_of_routes(made):
    return [f"route add {prefix} via {hop} dev {link} proto bgp metric 20"
            for prefix, (hop, link) in made]


def _link(number, name, address, length):
    return {"ifindex": number, "ifname": name, "flags": ["UP"], "link_type": "ether",
            "addr_info": [{"family": "inet", "local": address, "prefixlen": length,
                           "label": name}]}


def ip_json(made, made6=()):
    """The same as `ip -json address` and `ip -json route` of both families tell it."""
    links = [_link(1, "lo", "127.0.0.1", 8)]
    links += [_link(2 + number, name, f"198.18.{number}.1", 24)
              for number, name in enumerate(LINKS)]
    connected = [f'{{"dst":"198.18.{number}.0/24","dev":"{name}","protocol":"kernel"}}'
                 for number, name in enumerate(LINKS)]
    told = [f'{{"dst":"{prefix}","gateway":"{hop}","dev":"{link}","protocol":"bgp","metric":20}}'
            for prefix, (hop, link) in made]
    told6 = [f'{{"dst":"{prefix}","gateway":"{hop}","dev":"{link}","protocol":"bgp","metric":1024,'
             '"pref":"medium"}' for prefix, (hop, link) in made6]
    return json.dumps(links) + "\n[" + ",\n".join(connected + told + told6) + "]\n"
