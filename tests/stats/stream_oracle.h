#pragma once
// The same three scans written with std::istream, whose rules TextScanner states as its own.

#include <cstdint>
#include <sstream>
#include <string>

#include "stats/counter.h"
#include "stats/stats_scan.h"

namespace Ip::StreamOracle {

inline std::uint64_t number(std::istream& in) {
  std::uint64_t value = 0;
  in >> value;
  return value;
}

inline std::string word(std::istream& in, int max) {
  std::string text(static_cast<std::size_t>(max) + 1, '\0');
  in.get(text.data(), max + 1, ' ');
  if (in.fail() && !in.eof()) in.clear();  // an empty word is no fault
  text.resize(static_cast<std::size_t>(in.gcount()));
  return text;
}

inline std::size_t scanSnmp(std::string const& text, SwFwdStatsData& data) {
  std::istringstream in(text);
  in.ignore(1024, '\n');
  auto const length = static_cast<std::size_t>(in.gcount());
  if (length != 224) return length;
  for (int i = 0; i < 3; ++i) in.ignore(100, ' ');
  data.inReceivesIs(number(in));
  data.inHdrErrorsIs(number(in));
  data.inAddrErrorsIs(number(in));
  data.forwDatagramsIs(number(in));
  data.inUnknownProtosIs(number(in));
  data.inDiscardsIs(number(in));
  data.inDeliversIs(number(in));
  data.outRequestsIs(number(in));
  data.outDiscardsIs(number(in));
  data.outNoRoutesIs(number(in));
  data.reasmTimeoutIs(number(in));
  data.reasmReqdsIs(number(in));
  data.reasmOKsIs(number(in));
  data.reasmFailsIs(number(in));
  data.fragOKsIs(number(in));
  data.fragFailsIs(number(in));
  data.fragCreatesIs(number(in));
  return length;
}

inline void scanNetstat(std::string const& text, SwFwdStatsData& data) {
  std::istringstream in(text);
  int seen = 0;
  while (in.good()) {
    if (word(in, 9) == "IpExt:" && ++seen == 2) break;
    in.ignore(4096, '\n');
  }
  if (seen < 2) return;
  data.inNoRoutesIs(number(in));
  data.inTruncatedPktsIs(number(in));
  data.inMcastPktsIs(number(in));
  data.outMcastPktsIs(number(in));
  data.inBcastPktsIs(number(in));
  data.outBcastPktsIs(number(in));
}

inline void scanSnmp6(std::string const& text, SwFwdStatsData& data) {
  std::istringstream in(text);
  while (in.good()) {
    std::string const name = word(in, 79);
    std::uint64_t const value = number(in);
    in.get();
    if (auto const* known = counter(name.data(), name.size())) known->write(data, value);
  }
}

}  // namespace Ip::StreamOracle
