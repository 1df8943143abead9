#include "platform/snmp/convert.h"

#include <array>
#include <charconv>
#include <cmath>
#include <optional>

#include "platform/mav/time.h"
#include "platform/snmp/net_snmp.h"

namespace Snmp {

namespace {

// The longest OBJECT IDENTIFIER (RFC 2578 section 3.5).
constexpr std::size_t subIdentifiersMax = 128;

// Cut, not rounded: a time that has not been reached yet is never told.
std::uint32_t ticks(double hundredths) {
  // Also of what is not a number.
  if (!(hundredths > 0.0)) return 0;
  // TimeTicks count modulo 2^32 (RFC 2578 section 7.1.8). Infinity leaves no remainder: std::fmod
  // makes no number of it, and no integer can be made of that.
  constexpr double modulus = 4294967296.0;
  if (std::isinf(hundredths)) return 0xffffffff;
  return static_cast<std::uint32_t>(std::fmod(std::floor(hundredths), modulus));
}

std::int32_t writeTicks(std::uint32_t value, unsigned char* buffer, std::int32_t size) {
  return writeBytes(&value, sizeof value, buffer, size);
}

// Decimal digits alone: std::from_chars takes neither sign (of unsigned types) nor white space.
std::optional<std::uint32_t> subIdentifier(char const*& from, char const* to) {
  std::uint32_t value = 0;
  auto const [end, error] = std::from_chars(from, to, value);
  if (error != std::errc()) return std::nullopt;
  from = end;
  return value;
}

}  // namespace

std::int32_t StringToAsnOidF::operator()(Mav::String8 const& value, unsigned char* buffer,
                                         std::int32_t size) const {
  std::array<std::uint32_t, subIdentifiersMax> words;
  std::size_t count = 0;
  char const* from = value.data();
  char const* const to = from + value.size();
  // net-snmp itself writes object identifiers with a dot before them.
  if (from != to && *from == '.') ++from;
  while (true) {
    auto const word = subIdentifier(from, to);
    if (!word || count == words.size()) return conversionFailed;
    words[count++] = *word;
    if (from == to) break;
    // So a dot must have a number behind it: the loop begins with one.
    if (*from++ != '.') return conversionFailed;
  }
  return writeBytes(words.data(), count * sizeof words[0], buffer, size);
}

std::int32_t NowSecondsToUptimeTimeTicksF::operator()(double time, unsigned char* buffer,
                                                      std::int32_t size) const {
  return writeTicks(uptimeTicks(time, Mav::now(), netsnmp_get_agent_runtime()), buffer, size);
}

std::int32_t SecondsToTimeTicksF::operator()(double seconds, unsigned char* buffer,
                                             std::int32_t size) const {
  return writeTicks(ticks(seconds * 100.0), buffer, size);
}

std::int32_t BootTimeToUptimeTimeTicksF::operator()(std::uint64_t time, unsigned char* buffer,
                                                    std::int32_t size) const {
  // Hundredths of both clocks end at different moments, and the machine may have slept: the agent's
  // start is where it was, unless it is clearly elsewhere.
  static double start = 0;
  double const now = Mav::bootTime() * 100.0 - static_cast<double>(netsnmp_get_agent_runtime());
  if (std::abs(now - start) > 10.0) start = now;
  return writeTicks(ticks(static_cast<double>(time) - start), buffer, size);
}

std::uint32_t uptimeTicks(double time, double now, std::uint64_t uptime) {
  // net-snmp keeps its start on a clock of its own, so that only distances compare.
  return ticks(static_cast<double>(uptime) - (now - time) * 100.0);
}

}  // namespace Snmp
