"""A network and mount namespace that lives as long as the test that made it."""

import ctypes
import socket
import subprocess

CLONE_NEWNET = 0x40000000
_libc = ctypes.CDLL(None, use_errno=True)


def _enter(fd):
    if _libc.setns(fd, CLONE_NEWNET):
        raise OSError(ctypes.get_errno(), "setns")


class Namespace:
    """Held by one process that reads a pipe of ours, so that nothing outlives the test."""

    def __init__(self):
        self._holder = subprocess.Popen(
            ["unshare", "--net", "--mount", "--propagation", "private", "--",
             "sh", "-c", "ip link set lo up && echo ready && exec cat"],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        if self._holder.stdout.readline() != "ready\n":
            raise RuntimeError("no network namespace")

    def close(self):
        self._holder.stdin.close()
        self._holder.wait()
        self._holder.stdout.close()

    def command(self, *command):
        """The command, to be run inside; it keeps its process id and dies with this test."""
        return ["setpriv", "--pdeathsig", "KILL", "--",
                "nsenter", f"--net=/proc/{self._holder.pid}/ns/net",
                f"--mount=/proc/{self._holder.pid}/ns/mnt", "--",
                *map(str, command)]

    def run(self, *command, text=None, check=True, timeout=30):
        """What the command printed on stdout."""
        done = subprocess.run(self.command(*command), input=text, capture_output=True, text=True,
                              timeout=timeout)
        if check and done.returncode:
            raise RuntimeError(f"{command}: exit {done.returncode}: {done.stderr}")
        return done.stdout

    def inside(self, make):
        """Calls `make` in the network namespace: a socket stays where it was made."""
        with open("/proc/self/ns/net") as home, \
                open(f"/proc/{self._holder.pid}/ns/net") as away:
            _enter(away.fileno())
            try:
                return make()
            finally:
                _enter(home.fileno())

    def free_port(self):
        def pick():
            with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as probe:
                probe.bind(("127.0.0.1", 0))
                return probe.getsockname()[1]

        return self.inside(pick)

    def open_up(self, path):
        """Lets every user of this namespace reach `path`, though an ancestor is closed to them."""
        closed = next((p for p in reversed(path.parents) if not p.stat().st_mode & 0o001), None)
        if closed is not None:
            self.run("sh", "-ec", """
                aside=$(mktemp -d)
                mount --bind "$1" "$aside"
                mount -t tmpfs -o mode=755 tmpfs "$2"
                mkdir -p "$1"
                mount --move "$aside" "$1"
                rmdir "$aside" """, "sh", path, closed)
