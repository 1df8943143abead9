#include "stats/stats_scan.h"

#include <array>
#include <cstdint>
#include <limits>
#include <span>
#include <sstream>
#include <string_view>
#include <utility>

#include "stats/counter.h"

namespace Ip {

namespace {

// Bounds, so that a file without line ends or spaces is not looked through for one.
constexpr int headerMax = 1024;
constexpr int leadingWordMax = 100;
constexpr int lineMax = 4096;
constexpr std::size_t sectionNameMax = 9;
constexpr std::size_t statNameMax = 79;

using FieldMutator = void (SwFwdStatsData::*)(std::uint64_t);

// Columns of the value line, behind the tag, Forwarding and DefaultTTL.
// Their order is that of snmp4_ipstats_list (net/ipv4/proc.c).
constexpr FieldMutator snmpColumns[] = {
    &SwFwdStatsData::inReceivesIs,      &SwFwdStatsData::inHdrErrorsIs,
    &SwFwdStatsData::inAddrErrorsIs,    &SwFwdStatsData::forwDatagramsIs,
    &SwFwdStatsData::inUnknownProtosIs, &SwFwdStatsData::inDiscardsIs,
    &SwFwdStatsData::inDeliversIs,      &SwFwdStatsData::outRequestsIs,
    &SwFwdStatsData::outDiscardsIs,     &SwFwdStatsData::outNoRoutesIs,
    &SwFwdStatsData::reasmTimeoutIs,    &SwFwdStatsData::reasmReqdsIs,
    &SwFwdStatsData::reasmOKsIs,        &SwFwdStatsData::reasmFailsIs,
    &SwFwdStatsData::fragOKsIs,         &SwFwdStatsData::fragFailsIs,
    &SwFwdStatsData::fragCreatesIs};

// The first of snmp4_ipextstats_list (net/ipv4/proc.c). Behind them stand octets.
constexpr FieldMutator ipExtColumns[] = {
    &SwFwdStatsData::inNoRoutesIs,  &SwFwdStatsData::inTruncatedPktsIs,
    &SwFwdStatsData::inMcastPktsIs, &SwFwdStatsData::outMcastPktsIs,
    &SwFwdStatsData::inBcastPktsIs, &SwFwdStatsData::outBcastPktsIs};

// A stream that has failed leaves the variable alone.
std::uint64_t number(std::istream& in) {
  std::uint64_t value = 0;
  in >> value;
  return value;
}

/// Up to a space, which stays, and at most `max` characters; valid until the next one is read.
template <std::size_t max>
class Word {
 public:
  std::string_view read(std::istream& in) {
    in.get(text_.data(), static_cast<std::streamsize>(text_.size()), ' ');
    return {text_.data(), static_cast<std::size_t>(in.gcount())};
  }

 private:
  std::array<char, max + 1> text_{};
};

void readColumns(std::istream& in, std::span<FieldMutator const> columns, SwFwdStatsData& data) {
  for (FieldMutator const columnIs : columns) (data.*columnIs)(number(in));
}

/// Stands behind the tag of the value line afterwards; false when the text has no such line.
bool findIpExtValues(std::istream& in) {
  Word<sectionNameMax> section;
  for (bool headerSeen = false; in.good(); in.ignore(lineMax, '\n')) {
    // Nine characters tell the name from any longer one.
    if (section.read(in) != "IpExt:") continue;
    // Two lines begin with it: the names, and then the values.
    if (std::exchange(headerSeen, true)) return true;
  }
  return false;
}

void setStat(std::string_view name, std::uint64_t value, SwFwdStatsData& data) {
  MAV_TRACE_AS(statsTrace(), 1, "doRead", "stat is " << name << ", value is " << value);
  Counter const* const counter = Ip::counter(name.data(), name.size());
  if (!counter) {
    MAV_TRACE_AS(statsTrace(), 8, "doRead", "no counter found for stat string " << name);
    return;
  }
  MAV_TRACE_AS(
      statsTrace(), 8, "doRead",
      "setting " << counter->name() << " (counter for stat string " << name << ") to " << value);
  counter->write(data, value);
}

}  // namespace

Mav::TraceHandle& statsTrace() {
  static Mav::TraceHandle handle("IpSwFwdStats");
  return handle;
}

std::size_t scanSnmp(std::string text, SwFwdStatsData& data) {
  std::istringstream in(std::move(text));
  in.ignore(headerMax, '\n');
  auto const headerLength = static_cast<std::size_t>(in.gcount());
  // Columns are known by their places. A kernel whose header is another has other columns there.
  if (headerLength != snmpHeaderLength) return headerLength;
  // The tag, Forwarding and DefaultTTL: they are no counters.
  for (int leading = 0; leading < 3; ++leading) in.ignore(leadingWordMax, ' ');
  readColumns(in, snmpColumns, data);
  return headerLength;
}

void scanNetstat(std::string text, SwFwdStatsData& data) {
  std::istringstream in(std::move(text));
  if (findIpExtValues(in)) readColumns(in, ipExtColumns, data);
}

void scanSnmp6(std::string text, SwFwdStatsData& data) {
  std::istringstream in(std::move(text));
  Word<statNameMax> name;
  // Behind the last line the stream is good still: the end is met by a round that reads no name.
  while (in.good()) {
    // Names are padded with spaces to a column; the word ends at the first.
    std::string_view const stat = name.read(in);
    std::uint64_t const value = number(in);
    // The newline. The value stood behind spaces, which the number's reading has skipped.
    in.ignore(1);
    setStat(stat, value, data);
  }
}

}  // namespace Ip
