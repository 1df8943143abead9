// Statistics files of any content: the scans end, stay within the text, and set no field that is
// not of their file.

#include <cstdint>
#include <cstdlib>
#include <string>

#include "stats/stats_scan.h"
#include "tests/stats/stats_texts.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t size) {
  std::string const text(bytes, bytes + size);
  Ip::SwFwdStatsData data;
  bool right = Ip::scanSnmp(text, data) == Ip::snmpHeaderLength || data == Ip::SwFwdStatsData();
  // The header's length is a gate that random bytes hardly ever pass.
  right &= Ip::scanSnmp(Ip::snmpHeader + text, data) == Ip::snmpHeaderLength;
  right &= data.inNoRoutes() == 0;
  Ip::scanNetstat(text, data);
  right &= data.inOctets() == 0;
  auto const broadcasts = data.outBcastPkts();
  Ip::scanSnmp6(text, data);
  right &= data.outBcastPkts() == broadcasts;
  if (!right) std::abort();
  return 0;
}
