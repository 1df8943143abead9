# Runs inside the fresh Debian: an operator's road, step by step. Each line with "# typed" is one that
# a newcomer types; the rest looks whether all is well.
set -euo pipefail
export DEBIAN_FRONTEND=noninteractive
cd /root

step() { echo; echo "== $*"; }
wrong() { echo "WRONG: $*"; journalctl -n 40 --no-pager -u kelbased -u snmpd; exit 1; }
is_up() { systemctl is-active --quiet "$1" || wrong "$1 is not running"; }
eventually() {  # SECONDS COMMAND...
  local tries=$(($1 * 10)); shift
  for ((; tries > 0; --tries)); do "$@" >/dev/null 2>&1 && return 0; sleep 0.1; done
  "$@"
}
walk() { snmpwalk -v2c -c public -On localhost "$1"; }
answers() { walk "$1" | grep -q "$2"; }
install() { apt-get install -y -qq --no-install-recommends --no-download "$@" 2>&1 | grep -v "^(Reading\|^debconf"; }
etc_sum() { find /etc -type f ! -path '/etc/systemd/system/*' ! -name 'ld.so.cache' ! -name '*-' \
  ! -path '/etc/.pwd.lock' -exec md5sum {} + | sort -k2; }

step "a Debian as it is"
. /etc/os-release; echo "$PRETTY_NAME, snmpd $(dpkg-query -W -f '${Version}' snmpd)"
ip link set lo up
ip link add eth7 type veth peer name far7; ip link set far7 up
ip addr add 192.0.2.7/24 dev eth7; ip link set eth7 up
ip route add 198.51.100.0/24 via 192.0.2.1
systemctl restart snmpd; is_up snmpd
etc_sum >before.etc
systemctl cat snmpd | grep '^ExecStart' >before.command

step "the publisher alone"
install ./debs/kelbase_*.deb
eventually 5 systemctl is-active --quiet kelbased || wrong "kelbased is not running"
eventually 5 kelbasectl status || wrong "kelbased does not publish"
kelbasectl status

step "the module"
install ./debs/libovosnmp_*.deb      # typed: apt install ./kelbase_*.deb ./libovosnmp_*.deb
is_up snmpd
systemctl cat snmpd | grep '^ExecStart' | diff before.command - || wrong "snmpd's command line is another"
answers .1.3.6.1.2.1.1 sysDescr || answers .1.3.6.1.2.1.1 "$(uname -s)" || wrong "snmpd does not answer"
answers .1.3.6.1.2.1.4.24.4 198.51.100 && wrong "shown although Debian's view does not include it"
kelbasectl check && wrong "kelbasectl check does not see that the view hides the objects"

step "the view"
sed -i 's/^#view/view/' /etc/snmp/snmpd.conf.d/ovosnmp.conf    # typed
systemctl restart snmpd                                        # typed
eventually 10 answers .1.3.6.1.2.1.4.24.4.1.5 198.51.100.0 || wrong "no answer"
walk .1.3.6.1.2.1.4.24.4.1.4                                   # typed: snmpwalk ...
answers .1.3.6.1.2.1.4.20.1.2 192.0.2.7 || wrong "no address"
answers .1.3.6.1.4.1.99999.3.1.1.1 Counter64 || wrong "no vendor table"
kelbasectl check || wrong "kelbasectl check is not content"
journalctl -u snmpd -n 5 --no-pager | cat

step "a change of the kernel is there at once"
ip route add 203.0.113.0/24 via 192.0.2.1
eventually 1 answers .1.3.6.1.2.1.4.24.4.1.5 203.0.113.0 || wrong "the new route is not served"
ip route del 203.0.113.0/24
eventually 1 bash -c '! snmpwalk -v2c -c public -On localhost .1.3.6.1.2.1.4.24.4.1.5 | grep -q 203.0.113.0' ||
  wrong "the old route is served"

step "snmpd reloaded, publisher killed"
systemctl reload snmpd; eventually 10 answers .1.3.6.1.2.1.4.24.4.1.5 198.51.100.0 || wrong "not after the reload"
systemctl kill -s KILL kelbased; eventually 10 systemctl is-active --quiet kelbased || wrong "kelbased stays dead"
for i in 1 2 3 4 5 6 7 8; do systemctl kill -s KILL kelbased || true; sleep 0.3; done
eventually 15 systemctl is-active --quiet kelbased || wrong "kelbased gave up after many kills"
eventually 10 kelbasectl status || wrong "kelbased does not publish again"

step "upgrade: the operator's edits stay"
apt-get install -y -qq --reinstall --no-download ./debs/kelbase_*.deb ./debs/libovosnmp_*.deb 2>&1 | tail -n 2
grep -q '^view systemonly' /etc/snmp/snmpd.conf.d/ovosnmp.conf || wrong "the edited file was replaced"
eventually 15 answers .1.3.6.1.2.1.4.24.4.1.5 198.51.100.0 || wrong "not after the upgrade"

step "the subagent in the module's place"
apt-get remove -y -qq libovosnmp >/dev/null 2>&1; is_up snmpd
install ./debs/ovosnmpd_*.deb
systemctl is-active --quiet ovosnmpd && wrong "the subagent started unasked"
printf 'view systemonly included .1.3.6.1.2.1.4\nview systemonly included .1.3.6.1.4.1.99999.3\n' \
  >/etc/snmp/snmpd.conf.d/view.conf
systemctl restart snmpd; systemctl start ovosnmpd
eventually 20 answers .1.3.6.1.4.1.99999.3.1.1.1.4 Counter64 || wrong "the subagent does not answer"
apt-get purge -y -qq ovosnmpd >/dev/null 2>&1; rm /etc/snmp/snmpd.conf.d/view.conf

step "removed, not purged: snmpd starts"
systemctl restart snmpd; is_up snmpd
journalctl -u snmpd -n 3 --no-pager | cat

step "purged: nothing is left behind"
apt-get purge -y -qq libovosnmp kelbase >/dev/null 2>&1
systemctl restart snmpd; is_up snmpd
etc_sum | grep -v -e /etc/passwd -e /etc/group -e /etc/shadow -e /etc/gshadow >after.etc
grep -v -e /etc/passwd -e /etc/group -e /etc/shadow -e /etc/gshadow before.etc | diff - after.etc || wrong "/etc is another"
systemctl cat snmpd | grep '^ExecStart' | diff before.command - || wrong "snmpd's command line is another"
left=$(find / -xdev \( -iname '*ovosnmp*' -o -iname '*kelbase*' \) ! -path '/root/*' ! -path '/var/cache/*' \
  ! -path '/proc/*' ! -path '/sys/*' ! -path '/var/log/*' 2>/dev/null || true)
[[ -z $left ]] || wrong "left behind: $left"

echo; echo "all is well"
