// Statistics files of any content: the scans end, stay within the text, and agree with a stream.

#include <cstdint>
#include <cstdlib>
#include <string>

#include "tests/stats/stats_texts.h"
#include "tests/stats/stream_oracle.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t size) {
  std::string text(bytes, bytes + size);
  // The header's length is a gate that random bytes hardly ever pass.
  std::string const behindHeader = Ip::snmpHeader + text;

  Ip::SwFwdStatsData scanned;
  Ip::SwFwdStatsData streamed;
  bool same = Ip::scanSnmp(text, scanned) == Ip::StreamOracle::scanSnmp(text, streamed);
  same &= Ip::scanSnmp(behindHeader, scanned) == Ip::StreamOracle::scanSnmp(behindHeader, streamed);
  same &= scanned == streamed;
  Ip::scanNetstat(text, scanned);
  Ip::StreamOracle::scanNetstat(text, streamed);
  same &= scanned == streamed;
  Ip::scanSnmp6(text, scanned);
  Ip::StreamOracle::scanSnmp6(text, streamed);
  same &= scanned == streamed;
  if (!same) std::abort();
  return 0;
}
