"""The rows of brivetSwFwdIpStatsTable that the kernel's counters make, and traffic that they count."""

import socket

from ovo.tables import STATS

PREFIX = "brivetSwFwdIpStats"
# A row by the names of its columns, as sums of counters: what is added, what is taken off.
SUMS = {
    "InForwDatagrams": (("ForwDatagrams", "InNoRoutes"), ()),
    "OutFragReqds": (("FragOKs", "FragFails"), ()),
    "OutTransmits": (("ForwDatagrams", "OutRequests", "FragCreates"),
                     ("OutNoRoutes", "FragFails", "FragOKs", "OutDiscards")),
    "OutForwDatagrams": (("ForwDatagrams",), ()),
    "DiscontinuityTime": ((), ()),
}
NOT_READ = {"InOctets", "OutOctets", "InMcastOctets", "OutMcastOctets"}  # of IPv4


def kernel_counters(space):
    """The counters of IPv4 and of IPv6, by name."""
    def files(*names):
        return space.run("cat", *(f"/proc/net/{name}" for name in names)).splitlines()

    rows = [line.split() for line in files("snmp", "netstat")]
    four = {name: int(value) for names, values in zip(rows[::2], rows[1::2])
            if names[0] in ("Ip:", "IpExt:") for name, value in zip(names[1:], values[1:])
            if name not in NOT_READ}
    six = {name.removeprefix("Ip6").replace("OutForw", "Forw"): int(value)
           for name, value in map(str.split, files("snmp6")) if name.startswith("Ip6")}
    return four, six


def row(least, most):
    """Between which numbers each column is, when the counters are between these."""
    bounds = {}
    for column in STATS.columns:
        name = column.name.removeprefix(PREFIX)
        name = name.removeprefix("HC")
        plain = name.removeprefix("Out") if name.startswith("OutFrag") else name
        plus, minus = SUMS.get(name, ((plain,), ()))

        def total(add, take):
            return sum(add.get(one, 0) for one in plus) - sum(take.get(one, 0) for one in minus)

        low, high = total(least, most), total(most, least)
        bounds[column.name] = (500, 500) if name == "RefreshRate" else (low, high)
    return bounds


def traffic(space):
    """A socket's worth of each kind: unicast, in fragments, multicast, broadcast, without a route."""
    space.run("ip", "link", "set", "lo", "mtu", "1500", "multicast", "on")

    def send():
        four = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        four.setsockopt(socket.SOL_SOCKET, socket.SO_BROADCAST, 1)
        four.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_IF, socket.inet_aton("127.0.0.1"))
        six = socket.socket(socket.AF_INET6, socket.SOCK_DGRAM)
        six.setsockopt(socket.IPPROTO_IPV6, socket.IPV6_MULTICAST_IF, 1)
        for link, address in [(four, "127.0.0.1"), (four, "127.255.255.255"), (four, "224.0.0.1"),
                              (four, "203.0.113.1"), (six, "::1"), (six, "ff02::1")] * 20:
            try:
                link.sendto(b"x" * 4000, (address, 9))
            except OSError:
                pass  # no route: that is counted, too
        four.close()
        six.close()

    return lambda: space.inside(send)
