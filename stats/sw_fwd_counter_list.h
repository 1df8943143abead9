#pragma once
// The IP counters of the kernel's own forwarding, as two tables; names are those of the IP-MIB
// (RFC 4293, ipSystemStatsTable). What has one shape a counter is generated from them.
//
// Included where one of the two is expanded: a field that is added here has its accessors, its
// attribute and its reader and, with a name in the second, its counter.

/// The fields, separated by commas, in the order of the value's attributes.
#define IP_SW_FWD_FIELDS                                                                       \
  inReceives, inOctets, inHdrErrors, inAddrErrors, forwDatagrams, inUnknownProtos, inDiscards, \
      inDelivers, outRequests, outDiscards, outNoRoutes, outOctets, reasmTimeout, reasmReqds,  \
      reasmOKs, reasmFails, fragOKs, fragFails, fragCreates, inNoRoutes, inTruncatedPkts,      \
      inMcastPkts, inMcastOctets, outMcastPkts, outMcastOctets, inBcastPkts, outBcastPkts

/// C(class, its instance, field, name in /proc/net/snmp6): every counter that a file of names and
/// values can set, in the order of net/ipv6/proc.c. IPv6 has no broadcast.
#define IP_SW_FWD_COUNTERS(C)                                                              \
  C(InReceivesCounter, inReceivesCounter, inReceives, "Ip6InReceives")                     \
  C(InHdrErrorsCounter, inHdrErrorsCounter, inHdrErrors, "Ip6InHdrErrors")                 \
  C(InNoRoutesCounter, inNoRoutesCounter, inNoRoutes, "Ip6InNoRoutes")                     \
  C(InAddrErrorsCounter, inAddrErrorsCounter, inAddrErrors, "Ip6InAddrErrors")             \
  C(InUnknownProtosCounter, inUnknownProtosCounter, inUnknownProtos, "Ip6InUnknownProtos") \
  C(InTruncatedPktsCounter, inTruncatedPktsCounter, inTruncatedPkts, "Ip6InTruncatedPkts") \
  C(InDiscardsCounter, inDiscardsCounter, inDiscards, "Ip6InDiscards")                     \
  C(InDeliversCounter, inDeliversCounter, inDelivers, "Ip6InDelivers")                     \
  C(ForwDatagramsCounter, forwDatagramsCounter, forwDatagrams, "Ip6OutForwDatagrams")      \
  C(OutRequestsCounter, outRequestsCounter, outRequests, "Ip6OutRequests")                 \
  C(OutDiscardsCounter, outDiscardsCounter, outDiscards, "Ip6OutDiscards")                 \
  C(OutNoRoutesCounter, outNoRoutesCounter, outNoRoutes, "Ip6OutNoRoutes")                 \
  C(ReasmTimeoutCounter, reasmTimeoutCounter, reasmTimeout, "Ip6ReasmTimeout")             \
  C(ReasmReqdsCounter, reasmReqdsCounter, reasmReqds, "Ip6ReasmReqds")                     \
  C(ReasmOKsCounter, reasmOKsCounter, reasmOKs, "Ip6ReasmOKs")                             \
  C(ReasmFailsCounter, reasmFailsCounter, reasmFails, "Ip6ReasmFails")                     \
  C(FragOKsCounter, fragOKsCounter, fragOKs, "Ip6FragOKs")                                 \
  C(FragFailsCounter, fragFailsCounter, fragFails, "Ip6FragFails")                         \
  C(FragCreatesCounter, fragCreatesCounter, fragCreates, "Ip6FragCreates")                 \
  C(InMcastPktsCounter, inMcastPktsCounter, inMcastPkts, "Ip6InMcastPkts")                 \
  C(OutMcastPktsCounter, outMcastPktsCounter, outMcastPkts, "Ip6OutMcastPkts")             \
  C(InOctetsCounter, inOctetsCounter, inOctets, "Ip6InOctets")                             \
  C(OutOctetsCounter, outOctetsCounter, outOctets, "Ip6OutOctets")                         \
  C(InMcastOctetsCounter, inMcastOctetsCounter, inMcastOctets, "Ip6InMcastOctets")         \
  C(OutMcastOctetsCounter, outMcastOctetsCounter, outMcastOctets, "Ip6OutMcastOctets")
