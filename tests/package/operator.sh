# Runs inside a Debian whose operator has an snmpd of his own already: install, faults, upgrade,
# removal, purge. It goes on where it was after the machine has been restarted.
. /root/ovosnmp/tests/package/steps.sh

etc_sum() {
  find /etc -type f ! -path '/etc/systemd/system/*' ! -name ld.so.cache ! -name '*-' ! -name .pwd.lock \
    -exec md5sum {} + | sort -k2
}
the_view() { grep -q '^view systemonly' /etc/snmp/snmpd.conf.d/ovosnmp.conf; }
both_up() { eventually 15 is_up kelbased || wrong "kelbased stays down"; eventually 5 is_up snmpd || wrong "snmpd stays down"; }
# What holds after every fault: both run, nothing differs, now and after changes.
all_is_well() { both_up; agrees 15; change; agrees; }

after_the_reboot() {
  step "the machine restarted"
  for service in kelbased snmpd; do eventually 10 is_up $service || wrong "$service was not started"; done
  network; all_is_well
  kelbasectl check >/dev/null || wrong "kelbasectl check is not content"

  step "upgrade: the operator's edits stay, the daemons run the new files"
  before=$(systemctl show -p MainPID kelbased snmpd | tr '\n' ' ')
  install ./debs/kelbase_*.deb ./debs/libovosnmp_*.deb
  the_view || wrong "the edited file was replaced"
  all_is_well
  [[ $before != "$(systemctl show -p MainPID kelbased snmpd | tr '\n' ' ')" ]] || wrong "nothing was restarted"
  kelbasectl check >/dev/null || wrong "kelbasectl check is not content"
  versions

  step "the subagent in the module's place"
  apt-get remove -y -qq libovosnmp >/dev/null 2>&1; is_up snmpd || wrong "snmpd"
  install ./debs/ovosnmpd_*.deb
  is_up ovosnmpd && wrong "the subagent started unasked"
  subagent
  apt-get purge -y -qq ovosnmpd >/dev/null 2>&1
  rm /etc/snmp/snmpd.conf.d/ovosnmpd.conf /etc/systemd/system/snmpd.service.d/master.conf
  rmdir /etc/systemd/system/snmpd.service.d; systemctl daemon-reload

  step "the module without the publisher, and back again"
  install ./debs/libovosnmp_*.deb; the_view || wrong "a removed and installed package has lost the edits"
  apt-get remove -y -qq kelbase >/dev/null 2>&1
  systemctl restart snmpd; is_up snmpd || wrong "snmpd"
  [[ $(walk 1.3.6.1.2.1.4.20.1.1) ]] || wrong "the daemon's own tables do not answer"
  [[ ! -e /run/kelbase ]] || wrong "/run/kelbase is left"
  install ./debs/kelbase_*.deb; all_is_well

  step "removed, not purged: snmpd starts"
  apt-get remove -y -qq libovosnmp kelbase >/dev/null 2>&1
  is_up snmpd || wrong "snmpd"; systemctl restart snmpd; is_up snmpd || wrong "snmpd"
  the_view || wrong "a conffile has gone by removal"

  step "purged: nothing is left behind"
  apt-get purge -y -qq libovosnmp kelbase >/dev/null 2>&1
  is_up snmpd || wrong "snmpd"
  [[ ! $(walk 1.3.6.1.2.1.4) ]] || wrong "snmpd still shows what the purged file included"
  etc_sum | diff before.etc - || wrong "/etc is another"
  systemctl cat snmpd | diff before.unit - || wrong "snmpd's unit is another"
  id kelbased && wrong "the user kelbased is left"
  left=$(find / -xdev \( -iname '*ovosnmp*' -o -iname '*kelbase*' \) ! -path '/root/*' ! -path '/proc/*' \
    ! -path '/sys/*' ! -path '/var/cache/apt/*' ! -path '/var/log/*' 2>/dev/null || true)
  [[ -z $left ]] || wrong "left behind: $left"
  echo "all is well"
}

versions() {
  local version
  version=$(dpkg-query -W -f '${Version}' libovosnmp)
  for said in "$(kelbased --version)" "$(kelbasectl --version)" "$(kelbasectl status -j | grep '"version"')" \
    "$(kelbasectl check | grep 'module: version')"; do
    [[ $said == *"$version"* ]] || wrong "of $version: $said"
  done
}

# As ovosnmpd(8) has it.
subagent() {
  cp /usr/share/doc/ovosnmpd/examples/snmpd.conf.d-master.conf /etc/snmp/snmpd.conf.d/ovosnmpd.conf
  mkdir /etc/systemd/system/snmpd.service.d
  cp /usr/share/doc/ovosnmpd/examples/snmpd.service.d-master.conf /etc/systemd/system/snmpd.service.d/master.conf
  systemctl daemon-reload; systemctl restart snmpd; systemctl start ovosnmpd
  agrees 20; change; agrees
  apt-get install -y -qq --reinstall ./debs/ovosnmpd_*.deb >/dev/null 2>&1; agrees 20
  systemctl restart snmpd; agrees 30
  systemctl kill --kill-who=main -s KILL ovosnmpd; sleep 1; agrees 30
  rm -rf /run/kelbase; sleep 2; all_is_well
  systemctl kill --kill-who=main -s KILL kelbased; all_is_well
  kelbasectl check >/dev/null || wrong "kelbasectl check is not content"
  is_up ovosnmpd || wrong "ovosnmpd is down"
}

if [[ -e before.etc ]]; then after_the_reboot; exit; fi

step "a Debian as it is"
. /etc/os-release; echo "$PRETTY_NAME, snmpd $(dpkg-query -W -f '${Version}' snmpd)"
network
etc_sum >before.etc; systemctl cat snmpd >before.unit

step "the publisher alone, then the module, of an earlier build"
install ./earlier/kelbase_*.deb; eventually 5 kelbasectl status || wrong "kelbased does not publish"
is_up snmpd || wrong "snmpd"
install ./earlier/libovosnmp_*.deb; is_up snmpd || wrong "snmpd"
systemctl cat snmpd | grep '^ExecStart' | diff <(grep '^ExecStart' before.unit) - || wrong "snmpd's command line is another"
[[ ! $(walk 1.3.6.1.2.1.4.24.4) ]] || wrong "shown although Debian's view does not include it"
kelbasectl check >/dev/null && wrong "kelbasectl check does not see that the view hides the objects"
sed -i 's/^#view/view/' /etc/snmp/snmpd.conf.d/ovosnmp.conf; systemctl restart snmpd
all_is_well
kelbasectl check | grep -v "^ok" || true; kelbasectl check >/dev/null || wrong "kelbasectl check is not content"
systemd-analyze security kelbased --no-pager | grep Overall
started=$(systemctl show -p ExecMainStartTimestampMonotonic --value kelbased)
echo "ready after $((($(systemctl show -p ActiveEnterTimestampMonotonic --value kelbased) - started) / 1000)) ms"

step "kelbased killed, once and many times; stopped, and started again"
systemctl kill --kill-who=main -s KILL kelbased; change; sleep 2; all_is_well
for i in $(seq 12); do systemctl kill --kill-who=main -s KILL kelbased 2>/dev/null || true; sleep 0.3; done; all_is_well
systemctl stop kelbased; change; systemctl start kelbased; all_is_well

step "snmpd restarted, reloaded, killed"
systemctl restart snmpd; all_is_well
systemctl reload snmpd; all_is_well
systemctl kill --kill-who=main -s KILL snmpd; sleep 1; all_is_well

step "snmpd started before kelbased"
systemctl stop kelbased snmpd; systemctl start --no-block snmpd; sleep 2; systemctl start kelbased; all_is_well

step "the run directory emptied, then lost; then lost while nobody runs"
rm -rf /run/kelbase/*; change; all_is_well
rm -rf /run/kelbase; change; sleep 2; all_is_well
systemctl stop kelbased; rm -rf /run/kelbase; change; systemctl start kelbased; all_is_well

step "the run directory closed, which a restart opens"
chmod 0 /run/kelbase; change; sleep 3; told=$(kelbasectl status || true)
[[ $told == *"kept by nobody"* ]] || wrong "kelbasectl status: $told"
[[ $(kelbasectl check || true) != *"not registered"* ]] || wrong "the module serves on"
systemctl restart kelbased; all_is_well

echo; journalctl -b --no-pager -o cat -t snmpd -t kelbased | sort | uniq -c | sort -rn | sed -n 1,15p
touch again
