#pragma once
// Statistics files as the kernel writes them (net/ipv4/proc.c, net/ipv6/proc.c), with values of the
// test's choice.

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <string>
#include <utility>

namespace Ip {

inline std::string const snmpHeader =
    "Ip: Forwarding DefaultTTL InReceives InHdrErrors InAddrErrors ForwDatagrams InUnknownProtos "
    "InDiscards InDelivers OutRequests OutDiscards OutNoRoutes ReasmTimeout ReasmReqds ReasmOKs "
    "ReasmFails FragOKs FragFails FragCreates\n";

inline std::string const snmpRest =
    "Icmp: InMsgs InErrors InCsumErrors\nIcmp: 900 901 902\nUdp: InDatagrams\nUdp: 903\n";

/// The values behind Forwarding and DefaultTTL: whatever stands in the line.
inline std::string snmpText(std::string const& values, std::string const& header = snmpHeader) {
  return header + "Ip: 1 64 " + values + "\n" + snmpRest;
}

inline std::string const tcpExtLines = "TcpExt: SyncookiesSent SyncookiesRecv\nTcpExt: 800 801\n";
inline std::string const ipExtHeader =
    "IpExt: InNoRoutes InTruncatedPkts InMcastPkts OutMcastPkts InBcastPkts OutBcastPkts InOctets "
    "OutOctets\n";

inline std::string netstatText(std::string const& values) {
  return tcpExtLines + ipExtHeader + "IpExt: " + values + "\nMPTcpExt: A B\nMPTcpExt: 1 2\n";
}

inline std::string snmp6Line(std::string name, std::string const& value) {
  name.resize(std::max<std::size_t>(name.size(), 32), ' ');
  return name + "\t" + value + "\n";
}

inline std::string snmp6Text(
    std::initializer_list<std::pair<std::string, std::string>> const& stats) {
  std::string text;
  for (auto const& [name, value] : stats) text += snmp6Line(name, value);
  return text;
}

}  // namespace Ip
