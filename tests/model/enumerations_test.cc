#include "model/enumerations.h"

#include <span>
#include <utility>

#include <gtest/gtest.h>

#include "stats/ip_version.h"
#include "tests/support/strep_checks.h"

namespace IpSnmp {
namespace {

using Rows = std::vector<std::pair<std::uint32_t, std::string>>;

// Every number up to 300 either has the row's name, by every road, or none.
template <class E>
void expectEnumerators(std::string const& typeName, Rows const& rows, E (*byNumber)(std::uint32_t),
                       E (*byName)(std::string_view)) {
  auto row = rows.begin();
  for (std::uint32_t number = 0; number < 300; ++number) {
    E const e = static_cast<E>(number);
    if (row == rows.end() || row->first != number) {
      EXPECT_EQ(stringValue(e), typeName + "(" + std::to_string(number) + ")");
      EXPECT_EQ(rangeError([&] { return byNumber(number); }), typeName);
      EXPECT_EQ(rangeError([&] { return byName(stringValue(e)); }), typeName);
      continue;
    }
    EXPECT_EQ(stringValue(e), row->second);
    EXPECT_EQ(byNumber(number), e);
    EXPECT_EQ(byName(row->second), e);
    EXPECT_EQ(valueToStrep(e), "'" + row->second + "'");
    EXPECT_EQ(shown(e), row->second);
    expectStrepRoundTrip(e);
    ++row;
  }
  EXPECT_EQ(row, rows.end());
  EXPECT_EQ(rangeError([&] { return byNumber(0xffffffffU); }), typeName);
}

TEST(Enumerations, haveTheNumbersOfTheMib) {
  expectEnumerators<AddressSource>("AddressSource",
                                   {{0, "addressSourceStatus"}, {1, "addressSourceConfig"}},
                                   AddressSourceInstance, AddressSourceInstance);
  expectEnumerators<AddressStatus>(
      "AddressStatus", {{1, "addressStatusPreferred"}, {4, "addressStatusInaccessible"}},
      AddressStatusInstance, AddressStatusInstance);
  expectEnumerators<AddressType>(
      "AddressType",
      {{1, "addressTypeUnicast"}, {2, "addressTypeAnycast"}, {3, "addressTypeBroadcast"}},
      AddressTypeInstance, AddressTypeInstance);
  expectEnumerators<Ip::IpVersion>("IpVersion",
                                   {{0, "ipVersionUnknown"}, {1, "ipVersion4"}, {2, "ipVersion6"}},
                                   Ip::IpVersionInstance, Ip::IpVersionInstance);
}

TEST(Enumerations, routeProtocolsAreIanasInOrderFromOne) {
  Rows rows;
  for (char const* name :
       {"Other", "Local", "Netmgmt", "Icmp", "Egp", "Ggp", "Hello", "Rip", "IsIs", "EsIs",
        "CiscoIgrp", "BbnSpfIgp", "Ospf", "Bgp", "Idpr", "CiscoEigrp", "Dvmrp"}) {
    rows.emplace_back(rows.size() + 1, std::string("ipRouteProtocol") + name);
  }
  expectEnumerators<IpRouteProtocol>("IpRouteProtocol", rows, IpRouteProtocolInstance,
                                     IpRouteProtocolInstance);
}

TEST(Enumerations, namesAreCaseSensitive) {
  EXPECT_EQ(rangeError([] { return AddressTypeInstance("addresstypeunicast"); }), "AddressType");
}

}  // namespace
}  // namespace IpSnmp
