# Runs inside a fresh Debian without any SNMP daemon: a newcomer's road. What he types is marked.
. /root/ovosnmp/tests/package/steps.sh

step "a Debian without snmpd"
! command -v snmpd || wrong "snmpd is here already"
network

step "everything by one line"
typed "apt install ./kelbase_*.deb ./libovosnmp_*.deb"
install ./debs/kelbase_*.deb ./debs/libovosnmp_*.deb
for service in kelbased snmpd; do eventually 5 is_up $service || wrong "$service is not running"; done
id Debian-snmp
kelbasectl check && wrong "kelbasectl check does not see that the view hides the objects"
typed "sed -i 's/^#view/view/' /etc/snmp/snmpd.conf.d/ovosnmp.conf"
sed -i 's/^#view/view/' /etc/snmp/snmpd.conf.d/ovosnmp.conf
typed "systemctl restart snmpd"
systemctl restart snmpd
typed "snmpbulkwalk -v2c -c public localhost 1.3.6.1.2.1.4.24.4.1.4"
eventually 10 walk 1.3.6.1.2.1.4.24.4.1.4; walk 1.3.6.1.2.1.4.24.4.1.4 | tail -n 3
agrees
kelbasectl check || wrong "kelbasectl check is not content"
complete_like_bash "kelbasectl sh" show
complete_like_bash "kelbasectl show ne" neighbours

step "snmpd in the tighter box of the example"
mkdir -p /etc/systemd/system/snmpd.service.d
sed 's/^#\([A-Z]\)/\1/' /usr/share/doc/libovosnmp/examples/snmpd.service.d-hardened.conf \
  >/etc/systemd/system/snmpd.service.d/hardened.conf
systemctl daemon-reload; systemctl restart snmpd
[[ $(systemctl show -p ProtectSystem --value snmpd) == strict ]] || wrong "the example sets nothing"
agrees; change; agrees
systemctl kill --kill-who=main -s KILL kelbased; change; agrees 20
rm -rf /run/kelbase; change; agrees 20
systemctl reload snmpd; agrees 20
kelbasectl check || wrong "kelbasectl check is not content"
systemd-analyze security snmpd --no-pager | grep Overall
journalctl -b --no-pager -o cat -u snmpd | sort | uniq -c | sort -rn | sed -n 1,10p
