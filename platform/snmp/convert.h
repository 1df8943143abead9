#pragma once
// Values to the bytes that Snmp::setVarTypedValue takes. Every conversion has one shape:
//
//   (value, buffer, size of the buffer in bytes) -> bytes written, or a negative number on failure
//
// A conversion fails when the buffer is too small, and then leaves it untouched. The layouts are
// fixed, the same on every machine: integers, sub-identifiers and the halves of a counter are
// native 32-bit words.
//
// On the agent's thread. None allocates or throws.

#include <cstdint>
#include <cstring>

#include "platform/dovel/eth_addr.h"
#include "platform/dovel/ip_addr.h"
#include "platform/dovel/link_addr.h"
#include "platform/mav/strep.h"

namespace Snmp {

inline constexpr std::int32_t conversionFailed = -1;

/// One conversion, by its empty function object F. T is what F takes, by value or by reference.
template <class T, class F>
std::int32_t SnmpConvert(T value, unsigned char* buffer, std::int32_t size) {
  return F()(value, buffer, size);
}

/// Copies `length` bytes of `source`, the common tail of the conversions.
inline std::int32_t writeBytes(void const* source, std::size_t length, unsigned char* buffer,
                               std::int32_t size) {
  if (size < 0 || length > static_cast<std::size_t>(size)) return conversionFailed;
  if (length != 0) std::memcpy(buffer, source, length);
  return static_cast<std::int32_t>(length);
}

/// INTEGER: a signed 32-bit word. Integer32 and all enumerations (RFC 2578 section 7.1.1).
struct S32ToAsnIntegerF {
  std::int32_t operator()(int value, unsigned char* buffer, std::int32_t size) const {
    return writeBytes(&value, sizeof value, buffer, size);
  }
};
static_assert(sizeof(int) == 4);

/// Unsigned32, Gauge32: an unsigned 32-bit word.
struct U32ToAsnUnsignedF {
  std::int32_t operator()(unsigned int value, unsigned char* buffer, std::int32_t size) const {
    return writeBytes(&value, sizeof value, buffer, size);
  }
};

/// Counter32: the count modulo 2^32, as counters wrap (RFC 2578 section 7.1.6).
struct U64ToCounter32F {
  std::int32_t operator()(std::uint64_t value, unsigned char* buffer, std::int32_t size) const {
    return U32ToAsnUnsignedF()(static_cast<std::uint32_t>(value), buffer, size);
  }
};

/// Counter64: the high word, then the low word.
struct U64ToCounter64F {
  std::int32_t operator()(std::uint64_t value, unsigned char* buffer, std::int32_t size) const {
    std::uint32_t const words[] = {static_cast<std::uint32_t>(value >> 32),
                                   static_cast<std::uint32_t>(value)};
    return writeBytes(words, sizeof words, buffer, size);
  }
};

/// OCTET STRING: the string's bytes.
struct StringToAsnOctetStringF {
  std::int32_t operator()(Mav::String8 const& value, unsigned char* buffer,
                          std::int32_t size) const {
    return writeBytes(value.data(), value.size(), buffer, size);
  }
};

/// OBJECT IDENTIFIER: its sub-identifiers as words, from the dotted numbers "1.3.6" or ".1.3.6".
/// Fails for any other text, for a number above 2^32-1 and for more than 128 of them.
struct StringToAsnOidF {
  std::int32_t operator()(Mav::String8 const& value, unsigned char* buffer,
                          std::int32_t size) const;
};

/// TimeTicks: sysUpTime, in hundredths of a second, as it was at a time of the platform's clock;
/// 0 at all times before the agent's start. For times that the agent itself has seen. It is
/// computed from the distance to now, anew at each call: two calls may differ by a hundredth.
struct NowSecondsToUptimeTimeTicksF {
  std::int32_t operator()(double time, unsigned char* buffer, std::int32_t size) const;
};

/// TimeTicks: a duration, from seconds to hundredths of a second; 0 for negative ones. Modulo 2^32,
/// as TimeTicks are (RFC 2578 section 7.1.8).
struct SecondsToTimeTicksF {
  std::int32_t operator()(double seconds, unsigned char* buffer, std::int32_t size) const;
};

/// IpAddress, or the InetAddress of an IPv4 address: 4 octets, first octet first.
struct DovelIpAddrToAsnOctetStringF {
  std::int32_t operator()(Dovel::IpAddr const& value, unsigned char* buffer,
                          std::int32_t size) const {
    auto const octets = value.octets();
    return writeBytes(octets.data(), octets.size(), buffer, size);
  }
};

/// PhysAddress of an Ethernet interface: 6 octets, in transmission order.
struct DovelEthAddrToAsnOctetStringF {
  std::int32_t operator()(Dovel::EthAddr const& value, unsigned char* buffer,
                          std::int32_t size) const {
    return writeBytes(value.octets().data(), value.octets().size(), buffer, size);
  }
};

/// PhysAddress of any kind of link: as many octets as it has. None is an octet string of no octets.
struct DovelLinkAddrToAsnOctetStringF {
  std::int32_t operator()(Dovel::LinkAddr const& value, unsigned char* buffer,
                          std::int32_t size) const {
    return writeBytes(value.octets().data(), value.octets().size(), buffer, size);
  }
};

/// TimeTicks: sysUpTime as it was at a time that is told in hundredths of a second since the
/// machine's start; 0 at all times before the agent's start. The same at each call.
struct BootTimeToUptimeTimeTicksF {
  std::int32_t operator()(std::uint64_t time, unsigned char* buffer, std::int32_t size) const;
};

/// The hundredths of a second of sysUpTime at `time`, of an agent that is up for `uptime`
/// hundredths at the time `now`; 0 before its start. A function of its own so that a test can say
/// what the time is.
std::uint32_t uptimeTicks(double time, double now, std::uint64_t uptime);

}  // namespace Snmp
