# The words of the roads that run inside the machine under trial.
set -euo pipefail
export DEBIAN_FRONTEND=noninteractive
cd /root

step() { echo; echo "== $*"; }
typed() { echo "# $*"; }
wrong() { echo "WRONG: $*"; journalctl -n 40 --no-pager -u kelbased -u snmpd -u ovosnmpd; exit 1; }
is_up() { systemctl is-active --quiet "$1"; }
eventually() {  # SECONDS COMMAND...
  local tries=$(($1 * 10)); shift
  for ((; tries > 0; --tries)); do "$@" >/dev/null 2>&1 && return 0; sleep 0.1; done
  "$@"
}
install() { apt-get install -y -qq -o Dpkg::Options::=--force-confold "$@" 2>&1 | grep -v '^(Reading\|^debconf\|^Preparing\|^Select'; }
walk() { snmpbulkwalk -v2c -c public -On localhost "$1" | grep -v ' = No '; }
agrees() { python3 ovosnmp/tests/package/agrees.py "${1:-10}" || wrong "not what the kernel has"; }

# A machine of its own has lost all this at every boot.
network() {
  ip link set lo up
  for n in 7 8; do
    ip link add eth$n type veth peer name far$n; ip link set far$n up; ip link set eth$n up
    ip addr add 192.0.$n.7/24 dev eth$n; ip addr add 2001:db8:$n::7/64 dev eth$n nodad
    ip neigh add 192.0.$n.1 lladdr 02:00:00:00:00:0$n dev eth$n
  done
  ip nexthop add id 12 via 192.0.7.1 dev eth7
  for n in $(seq 200); do echo "route add 198.51.$n.0/24 via 192.0.7.$((n % 3 + 1))"; done | ip -batch -
  for n in $(seq 200); do echo "route add 2001:db8:f$n::/48 via 2001:db8:7::$((n % 3 + 1))"; done | ip -6 -batch -
  ip route add 203.0.113.0/24 nhid 12
}
# Changes everything a little; every call another way.
changes=0
change() {
  changes=$((changes + 1))
  ip route del 198.51.$changes.0/24; ip route del 2001:db8:f$changes::/48; ip route add 100.64.$changes.0/24 via 192.0.8.1
  ip nexthop replace id 12 via 192.0.7.$((changes + 1)) dev eth7
  ip addr add 192.0.2.$changes/32 dev eth8; ip neigh add 192.0.8.$((changes + 20)) lladdr 02:00:00:00:01:$((changes + 10)) dev eth8
  ip link set eth8 down; ip link set eth8 up; ip route replace 100.64.$changes.0/24 via 192.0.8.1
  ip route replace 198.18.0.0/15 via 192.0.7.$((changes + 1))
}
complete_like_bash() {  # LINE WORD
  local words line=$1
  words=$(bash -c '. /usr/share/bash-completion/completions/kelbasectl
    COMP_WORDS=($1); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _kelbasectl; echo "${COMPREPLY[*]}"' - "$line")
  [[ $words == "$2" ]] || wrong "completion of '$line': $words"
}
