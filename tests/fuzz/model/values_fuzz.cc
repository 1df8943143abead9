// Texts of any content for the parsers of values: refused, or read as a value that prints and
// parses back to itself.

#include <string_view>

#include "model/arp_table_index.h"
#include "model/intf_data_key.h"
#include "model/ip_address_prefix_key.h"
#include "model/ip_cidr_route_table_index.h"
#include "platform/dovel/ip6_addr.h"
#include "platform/dovel/prefix.h"
#include "tests/support/fuzz_input.h"

namespace {

template <class Value>
void check(std::string_view text) {
  Fuzz::takenOrRefused([&] {
    auto const value = Mav::strepToValue<Value>(text);
    Fuzz::require(Mav::strepToValue<Value>(valueToStrep(value)) == value);
  });
}

/// The head of a value takes the fuzzer long to find.
template <class Value>
void checkWithHead(std::string_view text) {
  check<Value>(text);
  check<Value>("Value('" + std::string(Mav::typeName<Value>()) + "', ** {" + std::string(text));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t size) {
  std::string const text(bytes, bytes + size);
  check<Dovel::IpAddr>(text);
  check<Dovel::Ip6Addr>(text);
  check<Dovel::IntfId>(text);
  check<Dovel::Prefix>(text);
  checkWithHead<IpSnmp::IpCidrRouteTableIndex>(text);
  checkWithHead<IpSnmp::IpAddressPrefixKey>(text);
  checkWithHead<IpSnmp::ArpTableIndex>(text);
  checkWithHead<IpSnmp::IntfDataKey>(text);
  return 0;
}
