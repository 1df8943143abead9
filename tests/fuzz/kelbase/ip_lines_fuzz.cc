// /proc/net/snmp of any content: refused, or made into the two lines that the agent's reader takes.

#include <algorithm>

#include "kelbase/publish/net_snmp_file.h"
#include "tests/support/fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t size) {
  std::string const text(bytes, bytes + size);
  for (auto const& whole : {text, "Ip: InReceives OutRequests\n" + text}) {
    auto const lines = Kelbase::ipLines(whole);
    if (!lines) continue;
    Fuzz::require(lines->starts_with(Kelbase::ipHeader()) && lines->ends_with('\n'));
    Fuzz::require(std::count(lines->begin(), lines->end(), '\n') == 2);
  }
  return 0;
}
