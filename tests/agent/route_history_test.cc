// Random histories of routes, fecs and interfaces, with passes that are cut short anywhere: once
// all is quiet, the cache is what a model makes of the tables.

#include <algorithm>
#include <map>
#include <random>

#include "tests/agent/route_fixture.h"

namespace {

using namespace Routing::Fib;

/// The parameter: the seed, and whether somebody listens to the cache.
class RouteHistoryTest : public RouteFixture,
                         public testing::WithParamInterface<std::pair<unsigned, bool>> {
 protected:
  static constexpr char const* names[] = {"a", "b", "c", ""};

  unsigned draw(unsigned end) {
    return std::uniform_int_distribution<unsigned>(0, end - 1)(random_);
  }

  void step() {
    switch (draw(10)) {
      case 0:
        return linkStep();
      case 1:
      case 2:
        return fecStep(1 + draw(4));
      case 3:
        return turn();
      default:
        return routeStep();
    }
  }

  void routeStep() {
    unsigned const length = draw(4) == 0 ? draw(33) : 24 + draw(3);
    auto const some = Dovel::IpAddr(0x0a000000U | draw(6) << 6).masked(length);
    Dovel::Prefix const destination(some, length);
    if (draw(3) == 0) return routes_->routeDel(destination);
    auto const type = draw(5) == 0 ? static_cast<RouteType>(draw(4)) : routeTypeBgp;
    route(destination.stringValue(), draw(6), type, draw(2));
  }

  void fecStep(std::uint64_t fecId) {
    if (draw(4) == 0) return fecs_->fecDel(Pondo::Fib::FecId(fecId));
    Pondo::Fib::Fec fec;
    for (unsigned vias = 1 + draw(4); vias > 0; --vias) {
      auto const nextHop = draw(4) == 0 ? Dovel::IpAddr() : Dovel::IpAddr(0xc0000200U + draw(5));
      fec.vias.push_back({nextHop, id(names[draw(4)]), 0});
    }
    fecs_->fecIs(Pondo::Fib::FecId(fecId), fec);
  }

  /// An interface that leaves, or comes back with another index, changes the fecs through it: they
  /// are told of after it, as whoever publishes them does.
  void linkStep() {
    auto const name = id(names[draw(3)]);
    bool const isThere = dir_->intfStatus(name) != nullptr;
    dir_->intfStatusDel(name);
    if (!isThere || draw(2) == 0)
      dir_->intfStatusIs(name, static_cast<std::int32_t>(draw(50)), true);
    auto const fecs = fecs_->fecs();
    for (auto const& [fecId, fec] : fecs) fecs_->fecIs(fecId, fec);
  }

  Texts expected() const {
    Texts texts;
    routes_->forEachRoute([&](Dovel::Prefix const& prefix, Pondo::Fib::Route const& route) {
      auto const* const fec = fecs_->fec(route.fecId);
      if (!fec || route.routeType < 4) return;
      std::map<Dovel::IpAddr, std::int32_t> hops;
      for (auto const& via : fec->vias) {
        if (via.intfId.empty() && via.nextHop.isUnspecified()) continue;
        auto const status = dir_->intfStatus(via.intfId);
        if (!via.intfId.empty() && !status) continue;
        hops.try_emplace(via.nextHop, status ? status->ifIndex() : 0);
      }
      for (auto const& [nextHop, ifIndex] : hops) {
        texts.push_back(prefix.stringValue() + ' ' + nextHop.stringValue() + ' ' +
                        std::to_string(ifIndex));
      }
    });
    return texts;
  }

  void expectValues() const {
    for (auto row = std::as_const(*mib_).ipCidrRouteTableIterator(); row; ++row) {
      auto const length = static_cast<unsigned>(std::popcount(row.key().mask().value()));
      auto const route = routes_->route(Dovel::Prefix(row.key().dest(), length));
      ASSERT_TRUE(route);
      EXPECT_EQ(row->metric(), route->metric);
      EXPECT_EQ(row->preference(), route->preference);
      EXPECT_EQ(row->protocol(), route->routeType);
    }
  }

  std::mt19937 random_{GetParam().first};
  Mav::Ptr<IpSnmp::IpRouteTableSm> const sm_ = newSm();
};

TEST_P(RouteHistoryTest, theCacheIsWhatTheTablesSay) {
  IpSnmp::IpForwardMib::NotifieeConst const listener(GetParam().second ? mib_ : nullptr);
  std::size_t rowsSeen = 0;
  for (int round = 0; round < 60; ++round) {
    time_.stepPerReading(1.0);
    sm_->backlogQuantumIs(1.5 + draw(4));
    for (int n = 0; n < 40; ++n) step();
    time_.stepPerReading(0.0);
    while (isPassPending()) turn();
    EXPECT_TRUE(sm_->backlog().empty());
    ASSERT_EQ(rows(), expected()) << "round " << round;
    expectValues();
    rowsSeen += mib_->ipCidrRouteTables();
  }
  EXPECT_GT(rowsSeen, 500U);
}

INSTANTIATE_TEST_SUITE_P(Histories, RouteHistoryTest,
                         testing::Values(std::pair{1U, false}, std::pair{2U, false},
                                         std::pair{3U, false}, std::pair{1U, true},
                                         std::pair{2U, true}));

}  // namespace
