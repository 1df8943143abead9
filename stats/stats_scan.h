#pragma once
// The three statistics files as texts, scanned into SwFwdStatsData as a C++ input stream reads
// them. Fields that a text does not hold keep their values. Any text is accepted: a malformed or
// missing number counts as 0, one of more than 64 bits as 2^64-1, and with it the stream has
// failed: what would have followed on the line (snmp, netstat) counts as 0, and the scan of snmp6
// has ended.
//
// One thread. A scan takes the text over and makes no copy of it.
//
// Called by SwFwdStats, with a copy of its last snapshot: what a file does not tell stays as it
// was.

#include <cstddef>
#include <string>

#include "platform/mav/trace_handle.h"
#include "stats/sw_fwd_stats_data.h"

namespace Ip {

/// The unit's trace handle, "IpSwFwdStats".
Mav::TraceHandle& statsTrace();

/// The length, newline included, of the header "Ip: Forwarding DefaultTTL InReceives ..." with the
/// 17 counters that scanSnmp knows by their place. Another length is another layout: kernels from
/// about 6.8 on have one counter more.
inline constexpr std::size_t snmpHeaderLength = 224;

/// /proc/net/snmp. Returns the length of the first line (at most 1024); where that is not
/// snmpHeaderLength, `data` is unchanged.
std::size_t scanSnmp(std::string text, SwFwdStatsData& data);

/// /proc/net/netstat: the first six counters of the second line of "IpExt:". IPv4 octets stand
/// there too and are left alone.
void scanNetstat(std::string text, SwFwdStatsData& data);

/// /proc/net/snmp6: lines of a name and a value. Names without a counter are passed over.
void scanSnmp6(std::string text, SwFwdStatsData& data);

}  // namespace Ip
