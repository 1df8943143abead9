#pragma once
// The IP counters of the kernel's own forwarding, as two tables; names are those of the IP-MIB
// (RFC 4293, ipSystemStatsTable). What has one shape a counter is generated from them.

/// The fields, separated by commas, in the order of the value's attributes.
#define IP_SW_FWD_FIELDS                                                                       \
  inReceives, inOctets, inHdrErrors, inAddrErrors, forwDatagrams, inUnknownProtos, inDiscards, \
      inDelivers, outRequests, outDiscards, outNoRoutes, outOctets, reasmTimeout, reasmReqds,  \
      reasmOKs, reasmFails, fragOKs, fragFails, fragCreates, inNoRoutes, inTruncatedPkts,      \
      inMcastPkts, inMcastOctets, outMcastPkts, outMcastOctets, inBcastPkts, outBcastPkts

/// C(prefix of the class, field, name in /proc/net/snmp6): every counter that a file of names and
/// values can set, in the order of net/ipv6/proc.c. IPv6 has no broadcast.
#define IP_SW_FWD_COUNTERS(C)                               \
  C(InReceives, inReceives, "Ip6InReceives")                \
  C(InHdrErrors, inHdrErrors, "Ip6InHdrErrors")             \
  C(InNoRoutes, inNoRoutes, "Ip6InNoRoutes")                \
  C(InAddrErrors, inAddrErrors, "Ip6InAddrErrors")          \
  C(InUnknownProtos, inUnknownProtos, "Ip6InUnknownProtos") \
  C(InTruncatedPkts, inTruncatedPkts, "Ip6InTruncatedPkts") \
  C(InDiscards, inDiscards, "Ip6InDiscards")                \
  C(InDelivers, inDelivers, "Ip6InDelivers")                \
  C(ForwDatagrams, forwDatagrams, "Ip6OutForwDatagrams")    \
  C(OutRequests, outRequests, "Ip6OutRequests")             \
  C(OutDiscards, outDiscards, "Ip6OutDiscards")             \
  C(OutNoRoutes, outNoRoutes, "Ip6OutNoRoutes")             \
  C(ReasmTimeout, reasmTimeout, "Ip6ReasmTimeout")          \
  C(ReasmReqds, reasmReqds, "Ip6ReasmReqds")                \
  C(ReasmOKs, reasmOKs, "Ip6ReasmOKs")                      \
  C(ReasmFails, reasmFails, "Ip6ReasmFails")                \
  C(FragOKs, fragOKs, "Ip6FragOKs")                         \
  C(FragFails, fragFails, "Ip6FragFails")                   \
  C(FragCreates, fragCreates, "Ip6FragCreates")             \
  C(InMcastPkts, inMcastPkts, "Ip6InMcastPkts")             \
  C(OutMcastPkts, outMcastPkts, "Ip6OutMcastPkts")          \
  C(InOctets, inOctets, "Ip6InOctets")                      \
  C(OutOctets, outOctets, "Ip6OutOctets")                   \
  C(InMcastOctets, inMcastOctets, "Ip6InMcastOctets")       \
  C(OutMcastOctets, outMcastOctets, "Ip6OutMcastOctets")
