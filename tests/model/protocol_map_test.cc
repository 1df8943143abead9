#include "model/protocol_map.h"

#include <gtest/gtest.h>

#include "tests/support/strep_checks.h"

namespace IpSnmp {
namespace {

using namespace Routing::Fib;

TEST(ProtocolMap, isAValueOfPairs) {
  ProtocolMap map;
  map.protocolIs(routeTypeOspf, ipRouteProtocolOther);
  map.protocolIs(routeTypeOspf, ipRouteProtocolOspf);
  map.protocolIs(routeTypeBgp, ipRouteProtocolBgp);
  EXPECT_EQ(map.protocol(routeTypeOspf), ipRouteProtocolOspf);
  EXPECT_EQ(map.protocol(routeTypeRip), std::nullopt);
  EXPECT_EQ(map.protocol().size(), 2u);

  ProtocolMap copy;
  copy.protocolIs(routeTypeBgp, ipRouteProtocolBgp);
  EXPECT_NE(copy, map);
  copy.protocolIs(routeTypeOspf, ipRouteProtocolOspf);
  EXPECT_EQ(copy, map);
  map.protocolDel(routeTypeBgp);
  map.protocolDel(routeTypeBgp);
  EXPECT_NE(copy, map);
  map.protocolDelAll();
  EXPECT_EQ(map, ProtocolMap());
}

TEST(ProtocolMap, printsAsNoneWhateverItHolds) {
  ProtocolMap map;
  EXPECT_EQ(shown(map), "None");
  map.protocolIs(routeTypeBgp, ipRouteProtocolBgp);
  EXPECT_EQ(shown(map), "None");
  EXPECT_EQ(Mav::strepToValue<ProtocolMap>(" None"), ProtocolMap());
  EXPECT_EQ(strepError<ProtocolMap>("'None'"), "expected \"None\" at column 0");
}

TEST(ProtocolMap, theProcessHasOneAndItStartsEmpty) {
  EXPECT_EQ(protocolMap(), ProtocolMap());
  protocolMap().protocolIs(routeTypeRip, ipRouteProtocolRip);
  EXPECT_EQ(protocolMap().protocol(routeTypeRip), ipRouteProtocolRip);
  protocolMap().protocolDelAll();
}

}  // namespace
}  // namespace IpSnmp
