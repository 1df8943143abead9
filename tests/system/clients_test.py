"""The programs that people ask agents with read from a stock snmpd what `ip` says.

It has all its own modules in, and the lines on access of Debian's snmpd.conf and of our package.
"""

import ipaddress
import pathlib
import re
import subprocess
import time
import urllib.request

import pysnmp.hlapi as pysnmp
import pysnmp_mibs
import pytest

from ovo import addresses, counters, inet_routes, routes
from ovo.ber import dotted
from ovo.daemons import eventually
from ovo.inet_routes import INET_ROUTE
from ovo.tables import ADDR, ADDRESS, EVERY_TABLE, HEALTH, NET_TO_MEDIA, NET_TO_PHYSICAL, PREFIX, \
    ROUTE, SCALARS, STATS

ROOT = pathlib.Path(__file__).resolve().parents[2]
MODULES = ROOT / "packaging/snmp_exporter/ovosnmp.yml"
# As docs/fleet.md has it, for an exporter that wants its modules by another layout (from 0.23 on).
LATER = """{ echo 'auths: {public_v2: {community: public, version: 2}}'; echo modules:
sed 's/^/  /' "$1"; } >"$2" """
TIMES = INET_ROUTE.column("inetCidrRouteAge"), NET_TO_PHYSICAL.column("ipNetToPhysicalLastUpdated")
EXPORTED = r"1\.3\.6\.1\.2\.1\.4\.(1|25|24\.[36]|20\.1\.2|22\.1\.4|24\.4\.1\.(5|11))\."
VIEWS = (ROOT / "packaging/snmpd/ovosnmp.conf.in").read_text()
ACCESS = """view systemonly included .1.3.6.1.2.1.1
view systemonly included .1.3.6.1.2.1.25.1
rocommunity public default -V systemonly
createUser monitor SHA authpassphrase AES privpassphrase
rouser monitor authpriv -V systemonly
""" + re.sub("^#view", "view", VIEWS[VIEWS.index("#view"):], flags=re.M)
WHO = {"3": ["-v3", "-lauthPriv", "-umonitor", "-aSHA", "-Aauthpassphrase", "-xAES",
             "-Xprivpassphrase"],
       **{version: [f"-v{version}", "-cpublic"] for version in ("1", "2c")}}

NET_SNMP = r"""
use Net::SNMP qw(:asn1);
my ($port, $version, $root) = @ARGV;
my @who = $version eq '3'
    ? (-username => 'monitor', -authprotocol => 'sha', -authpassword => 'authpassphrase',
       -privprotocol => 'aes', -privpassword => 'privpassphrase') : (-community => 'public');
my ($asks, $error) = Net::SNMP->session(-hostname => '127.0.0.1', -port => $port, @who,
    -version => $version, -translate => [-all => 0]);
die $error unless $asks;
my $rows = $asks->get_table(-baseoid => $root) // die $asks->error;
my $types = $asks->var_bind_types;
print "$_ ", ($types->{$_} == OCTET_STRING ? unpack 'H*', $rows->{$_} : $rows->{$_}), "\n"
    for keys %$rows;
"""
SNMP_INFO = r"""
use SNMP::Info;
my ($port, $version, $mibs, $part, @names) = @ARGV;
my %who = $version eq '3'
    ? (SecName => 'monitor', SecLevel => 'authPriv', AuthProto => 'SHA', PrivProto => 'AES',
       AuthPass => 'authpassphrase', PrivPass => 'privpassphrase') : (Community => 'public');
my $asks = SNMP::Info->new(AutoSpecify => 0, DestHost => '127.0.0.1', RemotePort => $port, %who,
    Version => $version =~ s/c//r, MibDirs => [$mibs], IgnoreNetSNMPConf => 1) or die;
for my $name (@names) {
    my $rows = $asks->$name($part eq '' ? () : $part) // die "$name: ", $asks->error;
    $rows = {0 => $rows} unless ref $rows;  # a scalar
    my $type = SNMP::getType($name);
    print SNMP::translateObj($name), ".$_ ",
        ($type eq 'OCTETSTR' ? unpack 'H*', $rows->{$_} : $rows->{$_}), "\n" for keys %$rows;
}
"""


def text(kind, value):
    if kind == "IpAddress":
        return ".".join(map(str, value))
    return value.hex() if kind == "OCTET STRING" else dotted(value) if kind.startswith("OBJ") \
        else str(value)


def columns(root):
    """Names and OIDs of the columns, or the scalar, below a root or above it."""
    known = {one.name: table.column(one.name) for table in EVERY_TABLE.values()
             for one in table.columns}
    return {name: oid for name, oid in (SCALARS | known).items()
            if oid[:len(root)] == root or root[:len(oid)] == oid}


def pairs(shown):
    """Lines of an OID and its value, whatever the tool makes of dots, quotes and octets."""
    found = {}
    for line in filter(None, shown.splitlines()):
        oid, value = line.lstrip(".").split(" ", 1)
        found[oid] = value.replace(" ", "").lower() if '"' in value else value.lstrip(".")
    return {oid: value.strip('"') for oid, value in found.items()}


def plain(value):
    """What pysnmp would show by the MIB's names."""
    if isinstance(value, pysnmp.OctetString):
        octets = value.asOctets()
        return ".".join(map(str, octets)) if isinstance(value, pysnmp.IpAddress) else octets.hex()
    return str(value) if isinstance(value, pysnmp.ObjectIdentity) else str(int(value))


def definitions():
    """The objects as a MIB file says them: Debian has none of the IETF's."""
    def line(name, kind, place, index=""):
        return (f'{name} OBJECT-TYPE SYNTAX {kind} MAX-ACCESS read-only STATUS current '
                f'DESCRIPTION "" {index} ::= {{ {place} }}\n')

    def path(oid):
        names = (f"n{'-'.join(map(str, oid[:at]))}({oid[at - 1]})" for at in range(2, len(oid)))
        return " ".join(("iso", *names, str(oid[-1])))

    yield line("sysObjectID", "INTEGER", path((1, 3, 6, 1, 2, 1, 1, 2)))
    yield line("ifIndex", "INTEGER", path((1, 3, 6, 1, 2, 1, 2, 2, 1, 1)))
    for name, oid in SCALARS.items():
        yield line(name, "INTEGER", path(oid))
    for table in EVERY_TABLE.values():
        yield line(f"{table.name}Row", "INTEGER", path((*table.oid, 1)), "INDEX { ifIndex }")
        for one in table.columns:
            yield line(one.name, one.kind, f"{table.name}Row {one.number}")


class Asked:
    """One daemon, as each client sees it: text by OID, of what is at and below a root."""

    def __init__(self, router, agent):
        self.router, self.agent = router, agent

    def run(self, *command):
        return self.router.space.run("env", "MIBS=", *command)

    def walk(self, tool, version, root):
        return pairs(self.run(tool, *WHO[version], "-OnqteU", "-Ox", "-t5",
                              f"127.0.0.1:{self.agent.port}", dotted(root)))

    def snmpwalk(self, version, root):
        return self.walk("snmpwalk", version, root)

    def snmpbulkwalk(self, version, root):
        return self.walk("snmpbulkwalk", version, root)

    def net_snmp(self, version, root):
        return pairs(self.run("perl", "-we", NET_SNMP, self.agent.port, version, dotted(root)))

    def snmp_info(self, version, root):
        names = columns(root)
        part = dotted(root[min(map(len, names.values())):])
        return pairs(self.run("perl", "-we", SNMP_INFO, self.agent.port, version, self.mibs(), part,
                              *names))

    def mibs(self):
        """A directory of the modules that SNMP::Info asks for."""
        directory = self.router.dir / "mibs"
        directory.mkdir(exist_ok=True)
        for module in ("SNMPv2-MIB", "IF-MIB", "IP-MIB"):
            (directory / module).write_text(
                f"{module} DEFINITIONS ::= BEGIN\n{''.join(definitions())}END\n")
        return directory

    def pysnmp(self, version, root):
        who = pysnmp.CommunityData("public", mpModel=int(version == "2c"))
        if version == "3":
            who = pysnmp.UsmUserData("monitor", "authpassphrase", "privpassphrase",
                                     pysnmp.usmHMACSHAAuthProtocol, pysnmp.usmAesCfb128Protocol)
        target = ("127.0.0.1", self.agent.port)
        name = pysnmp.ObjectIdentity(dotted(root)).addMibSource(pysnmp_mibs.__path__[0]) \
            .loadMibs("IP-MIB", "IP-FORWARD-MIB")

        def ask():
            return list(pysnmp.nextCmd(
                pysnmp.SnmpEngine(), who, pysnmp.UdpTransportTarget(target, 5, 0),
                pysnmp.ContextData(), pysnmp.ObjectType(name), lexicographicMode=False))
        found = {}
        for error, status, _, [(oid, value)] in self.router.space.inside(ask):
            assert not error and not status, (error, status)
            assert len(oid.getMibSymbol()[2]) >= 1  # the index, as the MIB has it
            found[str(oid)] = plain(value)
        return found


def kernel(router):
    """Every object of the standard MIBs that the kernel's state decides; no times."""
    rows, inet_rows = router.kernel_routes(), router.kernel_inet_routes()
    trees = [*addresses.expected(router.kernel_addresses()).values(),
             *router.kernel_neighbours(), routes.tree(rows), inet_routes.tree(inet_rows)]
    values = {one.oid: text(one.kind, one.value) for tree in trees for one in tree.bindings}
    return values | {(*SCALARS["ipForwarding"], 0): "1", (*SCALARS["ipv6IpForwarding"], 0): "2",
                     (*SCALARS["ipCidrRouteNumber"], 0): str(len(rows)),
                     (*SCALARS["inetCidrRouteNumber"], 0): str(len(inet_rows))}


def below(values, root):
    return without_times({dotted(oid): value for oid, value in values.items()
                          if oid[:len(root)] == root})


def without_times(values):
    columns = tuple(dotted(column) + "." for column in TIMES)
    return {oid: value for oid, value in values.items() if not oid.startswith(columns)}


@pytest.fixture(scope="module")
def asked(still_router):
    router = still_router
    router.forward4(True)
    router.links_up("eth1", "eth2")
    router.batch("addr add 10.0.0.1/24 dev eth1", "addr add 10.0.1.1/31 dev eth2",
                 "addr add 2001:db8::1/64 dev eth1 nodad",
                 "addr add 2001:db8:1::1/128 dev eth2 nodad",
                 *(f"neigh add 10.0.0.{n} lladdr 02:00:00:00:00:{n:02x} dev eth{n % 2 + 1}"
                   for n in range(20, 50)),
                 *(f"route add 10.9.{n}.0/24 via 10.0.0.{2 + n % 9} metric {n}" for n in range(60)),
                 "route add 10.8.0.0/16 nexthop via 10.0.0.2 nexthop via 10.0.1.0 nexthop dev eth2",
                 "route add blackhole 10.7.0.0/16 proto bgp", "route add prohibit 4000::/16",
                 "route add 4001::/16 nexthop via 2001:db8::2 nexthop via fe80::2 dev eth2",
                 "route add default via 2001:db8::3 dev eth1 proto ospf",
                 *(f"neigh add {at}::{n} lladdr 02:00:00:00:00:{n:02x} dev eth1 nud {state}"
                   for at in ("fe80", "2001:db8")
                   for n, state in ((2, "permanent"), (3, "stale"), (4, "failed"))))
    router.publish()
    agent = router.agent(access=ACCESS)
    assert agent.answers()
    router.routes_agree(agent, 5)
    return Asked(router, agent)


def roots(router):
    """The objects one by one, and parts of columns: what one link or one prefix has."""
    yield from (SCALARS[name] for name in ("ipForwarding", "ipv6IpForwarding", "ipCidrRouteNumber"))
    yield from (table.oid for table in (ADDR, NET_TO_MEDIA, PREFIX, ADDRESS, ROUTE, INET_ROUTE,
                                    NET_TO_PHYSICAL))
    [link] = [index for name, index, _ in router.kernel_links() if name == "eth1"]
    yield (*NET_TO_MEDIA.column("ipNetToMediaPhysAddress"), link)
    yield (*ROUTE.column("ipCidrRouteIfIndex"), 10, 8, 0, 0)
    yield (*INET_ROUTE.column("inetCidrRouteProto"), 2)


@pytest.mark.parametrize("version", ["1", "2c", "3"])
@pytest.mark.parametrize("client", [
    Asked.snmpwalk, Asked.snmpbulkwalk, Asked.net_snmp, Asked.snmp_info, Asked.pysnmp])
def test_a_client_reads_what_the_kernel_has(asked, client, version):
    if client is Asked.snmpbulkwalk and version == "1":
        client = Asked.snmpwalk  # SNMPv1 has no GETBULK
    values = kernel(asked.router)
    for root in roots(asked.router):
        expected = below(values, root)
        assert len(expected) >= 1
        assert without_times(client(asked, version, root)) == expected, dotted(root)


@pytest.mark.parametrize("version", ["1", "2c", "3"])
def test_check_snmp_tells_numbers(asked, version):
    who = ["-C", "public"] if version != "3" else [
        "-L", "authPriv", "-U", "monitor", "-a", "SHA", "-A", "authpassphrase", "-x", "AES",
        "-X", "privpassphrase"]
    for root in (SCALARS["ipCidrRouteNumber"], ROUTE.column("ipCidrRouteMetric1")):
        expected = below(kernel(asked.router), root)
        for oid, value in list(expected.items())[:5]:
            def check(least):
                return subprocess.run(
                    asked.router.space.command(
                        "/usr/lib/nagios/plugins/check_snmp", "-H", "127.0.0.1", "-p",
                        asked.agent.port, "-P", version, *who, "-o", oid, "-c", f"{least}:"),
                    capture_output=True, text=True)
            good, bad = check(value), check(int(value) + 1)
            assert good.returncode == 0 and good.stdout.startswith(f"SNMP OK - {value} |"), good
            assert bad.returncode == 2 and "SNMP CRITICAL" in bad.stdout, bad


def samples(shown):
    """OID and value of each sample, by the names, OIDs and labels of the module file."""
    objects = {name: (oid, re.findall("labelname: (.*)", rest)) for name, oid, rest in re.findall(
        r"- name: (\w+)\n *oid: ([\d.]+)\n(.*?)(?=- name:|\Z)", MODULES.read_text(), re.S)}
    for name, labels, value in re.findall(r"^(\w+)(?:\{(.*)\})? (\S+)$", shown, re.M):
        if name in objects:
            oid, indexes = objects[name]
            told = dict(re.findall(r'(\w+)="(.*?)"', labels))
            yield ".".join([oid, *(told[one] for one in indexes)] + ["0"] * (not indexes)), \
                str(int(float(value)))


def address_label(kind, size, *octets):
    """The exporter's label of an InetAddress; it does not know the type ipv6z(4)."""
    if kind == 4:
        return f"0x{bytes((kind, size, *octets)).hex().upper()}"
    address = ipaddress.ip_address(bytes(octets))
    return address.exploded.upper()


@pytest.fixture
def scrape(asked):
    """What the exporter makes of one of the modules that we ship."""
    exporter, config = "prometheus-snmp-exporter", asked.router.dir / "snmp.yml"
    config.write_text(MODULES.read_text())
    tried = [exporter, f"--config.file={config}", "--dry-run"]
    if subprocess.run(tried, capture_output=True).returncode:
        subprocess.run(["sh", "-ec", LATER, "sh", MODULES, config], check=True)
    asked.router.start(asked.router.dir / "exporter.log", exporter, f"--config.file={config}",
                       "--web.listen-address=127.0.0.1:9116")

    def fetch(module):
        url = f"http://127.0.0.1:9116/snmp?target=127.0.0.1:{asked.agent.port}&module={module}"
        try:
            with urllib.request.urlopen(url, timeout=30) as answer:
                return dict(samples(answer.read().decode()))
        except OSError:
            return {}

    def once_it_listens(module):
        assert eventually(lambda: asked.router.space.inside(lambda: fetch(module)), 30)
        return asked.router.space.inside(lambda: fetch(module))
    return once_it_listens


def test_the_exporter_with_the_module_file_that_we_ship(asked, scrape):
    least = counters.kernel_counters(asked.router.space)
    time.sleep(0.75)  # what is served of them may be that old
    found = scrape("ovosnmp") | scrape("ovosnmp_routes")
    most = counters.kernel_counters(asked.router.space)
    counted = {dotted((*STATS.column(name), version)): bounds for version in (1, 2)
               for name, bounds in counters.row(least[version - 1], most[version - 1]).items()}
    told = {oid for oid in found if oid in counted}
    assert len(told) > 40 and all(
        counted[oid][0] <= int(found[oid]) <= counted[oid][1] for oid in told)
    own = {oid: value for oid, value in found.items() if oid.startswith(dotted(HEALTH))}
    assert own[dotted((*HEALTH, 1, 0))] == own[dotted((*HEALTH, 4, 0))] == "1"
    column = NET_TO_PHYSICAL.column("ipNetToPhysicalState")
    states = {oid: value for oid, value in found.items() if oid.startswith(dotted(column))}
    assert states == {f"{dotted(one.oid[:11])}.{address_label(*one.oid[11:])}": str(one.value)
                      for one in asked.router.kernel_neighbours()[1].bindings
                      if one.oid[:len(column)] == column}
    own |= states
    assert {oid: value for oid, value in found.items() if oid not in told | set(own)} == {
        dotted(oid): value for oid, value in kernel(asked.router).items()
        if re.match(EXPORTED, dotted(oid))}
