"""docs/mib-coverage.md and mibs/objects.txt say the same, and the agent does it."""

import pathlib
import re
import subprocess

import pytest

from ovo.daemons import NOT_FORWARDING, eventually
from ovo.tables import ABSENT, EVERY_TABLE, SCALARS, SYNTAXES

ROOT = pathlib.Path(__file__).resolve().parents[2]
PAGE = (ROOT / "docs" / "mib-coverage.md").read_text()
# Nothing of the daemon's own for these MIBs: what answers is the plug-in.
ALONE = "dlmod,snmp_mib,system_mib,vacm_conf,vacm_vars"


def sections():
    """The page's sections by the first word of their headings."""
    return {part.split()[0]: part for part in PAGE.split("\n## ")[1:]}


def test_the_page_lists_every_object():
    listed = sections()
    assert set(re.findall(r"^\| `(\w+)` \| ([\d.]+)", listed["Scalars"], re.M)) == {
        (name, ".".join(map(str, oid))) for name, oid in SCALARS.items()}
    for table in EVERY_TABLE.values():
        section = listed[table.name]
        assert f"({'.'.join(map(str, table.oid))}" in section.splitlines()[0]
        assert re.findall(r"^\| (\d+) \| `(\w+)` \| ([\w ]+|-) \|", section, re.M) == sorted(
            [(str(number), name, "-") for number, name in table.unread]
            + [(str(one.number), one.name, one.kind) for one in table.columns],
            key=lambda line: int(line[0])), table.name
    rows = re.findall(r"^\| (`.*`) \| ([\d., ]+) \|", listed["Absent"], re.M)
    assert {name: (1, 3, 6, 1, 2, 1, *map(int, oid.split("."))) for names, oids in rows
            for name, oid in zip(re.findall(r"\w+", names), oids.split(", "))} == ABSENT


@pytest.fixture
def alone(router):
    """Every table has a row."""
    router.links_up("eth1")
    router.batch("addr add 10.0.0.1/24 dev eth1", "addr add 2001:db8::1/64 dev eth1 nodad",
                 "neigh add 10.0.0.2 lladdr 02:00:00:00:00:02 dev eth1")
    router.publish()
    agent = router.agent(without=ALONE)
    assert eventually(lambda: agent.ask("ipForwarding.0") == NOT_FORWARDING, 10)
    return agent


def test_what_is_listed_answers_and_what_is_absent_does_not(alone):
    ask = alone.client
    for name, oid in SCALARS.items():
        assert ask.get((*oid, 0)).bindings[0].kind == SYNTAXES[name], name
    for table in EVERY_TABLE.values():
        def kinds():
            walked = list(ask.walk(table.oid, repetitions=50))
            return {(one.oid[len(table.oid) + 1], one.kind) for one in walked}
        columns = {(one.number, one.kind) for one in table.columns}
        assert eventually(lambda: kinds() == columns), (table.name, kinds() ^ columns)
        row = next(ask.walk(table.oid)).oid[len(table.oid) + 2:]
        for number in {number for number, _ in table.unread} | {table.columns[-1].number + 1}:
            answer = ask.get((*table.oid, 1, number, *row)).bindings[0]
            assert answer.kind in ("noSuchObject", "noSuchInstance"), (table.name, number)
    for name, oid in ABSENT.items():
        assert next(ask.walk(oid), None) is None, name


def test_managers_show_the_names_of_the_vendor_table(router, alone):
    shown = router.space.run(
        "env", f"MIBDIRS={ROOT / 'mibs'}", "snmptable", "-v2c", "-c", "public", "-Pe", "-CH", "-Ci",
        "-m", "BRIVET-SW-FWD-IP-MIB", f"127.0.0.1:{alone.port}", "brivetSwFwdIpStatsTable")
    assert [line.split()[0] for line in shown.split("\n\n")[-1].splitlines()] == ["ipv4", "ipv6"]


@pytest.mark.parametrize("name", ["BRIVET-SW-FWD-IP-MIB", "BRIVET-KELBASE-MIB"])
def test_the_vendors_mibs_are_clean(name):
    done = subprocess.run(["smilint", "-l", "6", ROOT / "mibs" / f"{name}.txt"],
                          env={"PATH": "/usr/bin", "SMIPATH": ROOT / "tests" / "lint" / "smi"},
                          capture_output=True, text=True)
    assert (done.returncode, done.stdout + done.stderr) == (0, "")
