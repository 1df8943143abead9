"""Routing daemons that learn the same routes from the same kernel: BIRD and FRR's zebra.

Debian's packages of them, unpacked beside the build: nothing of them is installed, so none of their
services starts on this machine.
"""

import os
import pathlib
import subprocess

from ovo.daemons import BUILD, eventually

PACKAGES = ("bird2", "frr", "frr-snmp", "libprotobuf-c1", "libssh-gcrypt-4", "libyang2")
BIRD = """router id 198.18.0.1;
protocol device {}
protocol kernel { ipv4 { import all; export none; }; learn; scan time 3600; }
"""


class Rivals:
    """Starts them in a router. Raises RuntimeError where the packages cannot be had."""

    def __init__(self, router):
        self._router, self._dir = router, router.fresh_dir("rivals")
        self._root = unpacked(BUILD / "rivals")
        self._libraries = [self._root / "usr/lib" / f"{os.uname().machine}-linux-gnu" / where
                           for where in ("", "frr")]

    def _start(self, name, *command, env=()):
        paths = ":".join(map(str, self._libraries))
        return self._router.start(self._dir / f"{name}.log", "env", f"LD_LIBRARY_PATH={paths}",
                                  *env, *command)

    def bird(self):
        """Learns every route of the main table, and whatever changes there."""
        (self._dir / "bird.conf").write_text(BIRD)
        return self._start("bird", self._root / "usr/sbin/bird", "-f", "-c",
                           self._dir / "bird.conf", "-s", self._dir / "bird.ctl",
                           "-P", self._dir / "bird.pid")

    def bird_routes(self):
        """How many routes it has."""
        paths = ":".join(map(str, self._libraries))
        text = self._router.space.run(
            "env", f"LD_LIBRARY_PATH={paths}", self._root / "usr/sbin/birdc", "-s",
            self._dir / "bird.ctl", "show", "route", "count", check=False)
        words = text.split()
        return int(words[words.index("of") - 1]) if "of" in words else 0

    def zebra(self, agentx):
        """With its SNMP module, a subagent of the daemon behind the socket `agentx`."""
        config = self._dir / "etc"
        config.mkdir()
        (config / "frr.conf").write_text(f"agentXSocket unix:{agentx}\n")
        (self._dir / "zebra.conf").write_text("agentx\n")
        self._name_its_user()
        return self._start(
            "zebra", self._root / "usr/lib/frr/zebra", "-u", "root", "-g", "root",
            "-f", self._dir / "zebra.conf", "-i", self._dir / "zebra.pid",
            "-z", self._dir / "zserv", "--vty_socket", self._dir, "-A", "127.0.0.1",
            "-M", self._libraries[1] / "modules/zebra_snmp.so", "--log", "stdout",
            env=(f"SNMPCONFPATH={config}", "MIBS="))

    def _name_its_user(self):
        """Zebra looks its groups up, which the package would have made: here, in this namespace."""
        for file, lines in (("passwd", "frr:x:0:0::/:/bin/false\n"),
                            ("group", "frr:x:0:\nfrrvty:x:0:\n")):
            copy = self._dir / file
            copy.write_text(pathlib.Path("/etc", file).read_text() + lines)
            self._router.space.run("mount", "--bind", copy, f"/etc/{file}")


def unpacked(where):
    """The root of the unpacked packages, which are fetched once."""
    root = where / "root"
    if root.exists():
        return root
    where.mkdir(parents=True, exist_ok=True)
    done = subprocess.run(["apt-get", "download", "-qq", *PACKAGES], cwd=where, text=True,
                          capture_output=True)
    if done.returncode:
        raise RuntimeError(f"BIRD and FRR cannot be fetched: {done.stderr.strip()}")
    fresh = where / "unpacking"
    for package in where.glob("*.deb"):
        subprocess.run(["dpkg", "-x", package, fresh], check=True)
    fresh.rename(root)
    return root


def all_learned(rivals, count, within=120):
    assert eventually(lambda: rivals.bird_routes() >= count, within)
