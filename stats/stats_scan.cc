#include "stats/stats_scan.h"

#include <cstdint>
#include <span>

#include "stats/counter.h"
#include "stats/text_scanner.h"

namespace Ip {

namespace {

constexpr std::size_t headerMax = 1024;
constexpr std::size_t leadingWordMax = 100;
constexpr std::size_t sectionNameMax = 9;
constexpr std::size_t lineMax = 4096;
constexpr std::size_t statNameMax = 79;

using FieldMutator = void (SwFwdStatsData::*)(std::uint64_t);

// Columns of the value line, behind the tag, Forwarding and DefaultTTL.
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

constexpr FieldMutator ipExtColumns[] = {
    &SwFwdStatsData::inNoRoutesIs,  &SwFwdStatsData::inTruncatedPktsIs,
    &SwFwdStatsData::inMcastPktsIs, &SwFwdStatsData::outMcastPktsIs,
    &SwFwdStatsData::inBcastPktsIs, &SwFwdStatsData::outBcastPktsIs};

void readColumns(TextScanner& in, std::span<FieldMutator const> columns, SwFwdStatsData& data) {
  for (FieldMutator const columnIs : columns) (data.*columnIs)(in.number());
}

// Stands behind the tag of the value line afterwards; false when the text has no such line.
bool findIpExtValues(TextScanner& in) {
  bool headerSeen = false;
  while (in.good()) {
    if (in.word(sectionNameMax) == "IpExt:") {
      if (headerSeen) return true;
      headerSeen = true;
    }
    in.skip(lineMax, '\n');
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

std::size_t scanSnmp(std::string_view text, SwFwdStatsData& data) {
  TextScanner in(text);
  std::size_t const headerLength = in.skip(headerMax, '\n');
  if (headerLength != snmpHeaderLength) return headerLength;
  for (int leading = 0; leading < 3; ++leading) in.skip(leadingWordMax, ' ');
  readColumns(in, snmpColumns, data);
  return headerLength;
}

void scanNetstat(std::string_view text, SwFwdStatsData& data) {
  TextScanner in(text);
  if (findIpExtValues(in)) readColumns(in, ipExtColumns, data);
}

void scanSnmp6(std::string_view text, SwFwdStatsData& data) {
  TextScanner in(text);
  while (in.good() && !in.exhausted()) {
    std::string_view const name = in.word(statNameMax);
    std::uint64_t const value = in.number();
    in.skip(1, '\n');
    setStat(name, value, data);
  }
}

}  // namespace Ip
