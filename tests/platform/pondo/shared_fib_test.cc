// Routes and fecs over real tables, which another process publishes.

#include "platform/pondo/fib/shared_fib.h"

#include <random>
#include <set>

#include <gmock/gmock.h>

#include "platform/mav/time.h"
#include "platform/pondo/fib/fec_route_list_sm.h"
#include "tests/platform/pondo/peer_process.h"
#include "tests/support/failing_allocations.h"

namespace Pondo::Test {
namespace {

using Fib::SharedFib;
namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

using Story = std::vector<std::string>;

/// Tells of which routes it hears, and what is there then: "10.0.0.0/8 1", "10.0.0.0/8 -".
struct RouteWitness : Fib::RouteStatus::NotifieeConst {
  RouteWitness(Mav::Ptr<Fib::RouteStatus const> routes, Story& told)
      : NotifieeConst(std::move(routes)), story(told) {}
  void onRoute(Dovel::Prefix const& prefix) override {
    auto const route = notifier()->route(prefix);
    story.push_back(prefix.stringValue() + " " +
                    (route ? std::to_string(route->fecId.value()) : "-"));
  }
  Story& story;
};

/// The same of fecs: "fec 1 via 10.0.0.1", "fec 1 -".
struct FecWitness : Fib::ForwardingStatus::NotifieeConst {
  FecWitness(Mav::Ptr<Fib::ForwardingStatus const> fecs, Story& told)
      : NotifieeConst(std::move(fecs)), story(told) {}
  void onFec(Fib::FecId fecId) override {
    auto const* const fec = notifier()->fec(fecId);
    story.push_back("fec " + std::to_string(fecId.value()) + " " +
                    (fec ? "via " + fec->vias.at(0).nextHop.stringValue() : "-"));
  }
  Story& story;
};

struct SharedFibTest : RunDirTest {
  ~SharedFibTest() override { unfollow(); }

  void follow() {
    follower.emplace(activity, runDir, std::vector<Listener*>{&*fib});
    fib->followerIs(&*follower);
  }
  void unfollow() {
    if (fib) fib->followerIs(nullptr);
    follower.reset();
  }
  void turns(int count) {
    while (count-- > 0) activity.deliver();
  }
  void tell(std::initializer_list<char const*> commands) {
    for (auto const* const command : commands) ASSERT_NE(publisher.tell(command), "0") << command;
  }
  /// Tells, commits, and what is then heard of it.
  Story heardOf(std::initializer_list<char const*> commands) {
    tell(commands);
    publisher.tell("commit");
    turns(2);
    return std::exchange(story, {});
  }
  /// Both ends under way, with 10.0.0.0/8 and 10.0.0.0/24 by fec 1. What was heard.
  Story followPublisher(std::string const& options = {}) {
    publish("complete " + options);
    tell({"fec 1 10.0.0.1", "route 10.0.0.0/8 1", "route 10.0.0.0/24 1", "commit"});
    follow();
    turns(2);
    return std::exchange(story, {});
  }
  Story filed() const {
    Story found;
    for (auto from = list->filedRoute({Dovel::IpAddr(), 0}); from;) {
      found.push_back(from->stringValue() + " " + std::to_string(list->fecId(*from)->value()));
      from = list->filedRoute({from->address(), from->length() + 1});  // none is a /32
    }
    return found;
  }
  Story swept() const {
    Story found;
    routes->forEachRoute([&](Dovel::Prefix const& prefix, Fib::Route const& route) {
      found.push_back(prefix.stringValue() + " " + std::to_string(route.fecId.value()));
    });
    return found;
  }
  void expectNothingCanBeRead() const {
    EXPECT_THROW(routes->route(Dovel::Prefix("10.0.0.0/8")), ConsistencyException);
    EXPECT_THROW(routes->routes(), ConsistencyException);
    EXPECT_THROW(fecs->fec(Fib::FecId(1)), ConsistencyException);
  }

  Mav::SimulatedTime time;
  Mav::Activity activity;
  LogLines lines;
  Story story;
  std::optional<SharedFib> fib{std::in_place};
  Mav::Ptr<Fib::RouteStatus const> const routes = fib->routeStatus();
  Mav::Ptr<Fib::ForwardingStatus const> const fecs = fib->forwardingStatus();
  RouteWitness const routeWitness{routes, story};
  FecWitness const fecWitness{fecs, story};
  Mav::Ptr<Fib::FecRouteList> const list = Mav::makeObject<Fib::FecRouteList>();
  Mav::Ptr<Fib::FecRouteListSm> const listSm =
      Mav::makeObject<Fib::FecRouteListSm>(routes, fecs, list);
  std::optional<Follower> follower;
};

TEST_F(SharedFibTest, aReadThatFindsNoMemoryIsNotTakenForAFecThatIsMissing) {
  followPublisher();
  unsigned nth = 0;
  for (bool failed = true; failed;) {
    publisher.tell("link a " + std::to_string(++nth));
    publisher.tell("commit");  // of another generation nothing is remembered
    turns(2);
    {
      FailingAllocation const failing(nth);
      try {
        static_cast<void>(fecs->fec(Fib::FecId(1)));
        failed = false;
      } catch (std::exception const&) {  // whoever asks tries again
      }
    }
    EXPECT_TRUE(fecs->fec(Fib::FecId(1))) << "allocation " << nth;
  }
}

TEST_F(SharedFibTest, routesAndFecsComeChangeAndGo) {
  EXPECT_THAT(followPublisher(), ElementsAre("10.0.0.0/8 1", "10.0.0.0/24 1"));
  EXPECT_EQ(list->routes(Fib::FecId(1))->size(), 2U);
  EXPECT_THAT(heardOf({"fec 2 10.0.0.2", "route 10.0.0.0/8 2", "route 10.1.0.0/16 2"}),
              ElementsAre("fec 2 via 10.0.0.2", "10.0.0.0/8 2", "10.1.0.0/16 2"));
  EXPECT_THAT(heardOf({"fec 2 10.0.0.22"}), ElementsAre("fec 2 via 10.0.0.22"));
  auto const route = routes->route(Dovel::Prefix("10.0.0.0/8"));
  ASSERT_TRUE(route);
  EXPECT_EQ(route->metric.value(), 20U);
  EXPECT_EQ(route->preference.value(), 200U);
  EXPECT_EQ(route->routeType, Routing::Fib::routeTypeBgp);
  EXPECT_EQ(routes->routes(), 3U);
  EXPECT_EQ(swept(), filed());
  EXPECT_THAT(heardOf({"unroute 10.0.0.0/24", "unfec 1"}), ElementsAre("10.0.0.0/24 -", "fec 1 -"));
  EXPECT_THAT(filed(), ElementsAre("10.0.0.0/8 2", "10.1.0.0/16 2"));
  EXPECT_EQ(list->routes(Fib::FecId(1)), nullptr);
}

// The place of the last look is used for the next.
TEST_F(SharedFibTest, looksInWhateverOrderFindWhatIsThere) {
  followPublisher();
  tell({"routes 20.0.0.0 3000 1", "commit"});
  turns(2);
  std::mt19937 random(1);
  for (int i = 0; i < 20'000; ++i) {
    auto const number = random() % 3010;
    Dovel::IpAddr const address(0x14000000U + static_cast<std::uint32_t>(number << 8U));
    bool const longer = random() % 4 == 0;
    auto const route = routes->route({address, longer ? 25U : 24U});
    ASSERT_EQ(route.has_value(), number < 3000 && !longer) << address;
    auto const* const beyond = random() % 2 == 0 ? "1.0.0.0/8" : "250.0.0.0/8";
    ASSERT_FALSE(random() % 50 == 0 && routes->route(Dovel::Prefix(beyond)));
    if (random() % 1000 == 0) turns(1);
  }
  std::size_t visited = 0;
  routes->forEachRoute([&](Dovel::Prefix const& prefix, Fib::Route const& route) {
    ASSERT_EQ(routes->route(prefix), route);
    ASSERT_FALSE(routes->route(Dovel::Prefix("250.0.0.0/8")));
    ++visited;
  });
  EXPECT_EQ(visited, 3002U);
}

TEST_F(SharedFibTest, whatIsReadInOneTurnIsOfOneMoment) {
  followPublisher();
  Dovel::Prefix const prefix("10.0.0.0/8");
  Mav::Timer reader(activity.clock(), [&] {
    auto const* const before = fecs->fec(Fib::FecId(1));
    tell({"fec 1 10.9.9.9", "fec 3 10.0.0.3", "unroute 10.0.0.0/8", "commit"});
    EXPECT_TRUE(routes->route(prefix));
    EXPECT_EQ(routes->routes(), 2U);
    EXPECT_EQ(fecs->fec(Fib::FecId(1)), before);
    EXPECT_EQ(before->vias.at(0).nextHop, Dovel::IpAddr("10.0.0.1"));
    EXPECT_EQ(fecs->fec(Fib::FecId(3)), nullptr);
  });
  reader.timeMinIs(Mav::asap);
  turns(1);
  EXPECT_FALSE(routes->route(prefix));
  EXPECT_EQ(fecs->fec(Fib::FecId(1))->vias.at(0).nextHop, Dovel::IpAddr("10.9.9.9"));
  EXPECT_TRUE(fecs->fec(Fib::FecId(3)));
}

TEST_F(SharedFibTest, knownRoutesOutliveTheTablesUntilTheNextAreWhole) {
  followPublisher();
  auto const known = filed();
  fs::remove_all(runDir);
  turns(2);
  expectNothingCanBeRead();
  EXPECT_THROW(swept(), ConsistencyException);
  EXPECT_EQ(publisher.tell("service"), "1");
  tell({"fec 5 10.0.0.5", "route 10.0.0.0/24 5", "commit"});
  turns(2);
  expectNothingCanBeRead();
  EXPECT_EQ(filed(), known);
  story.clear();
  tell({"complete"});
  turns(3);
  EXPECT_THAT(story, ElementsAre("10.0.0.0/8 -", "10.0.0.0/24 5"));
  EXPECT_EQ(filed(), swept());
}

TEST_F(SharedFibTest, fallingBehindTheLogAnnouncesWhatHasGone) {
  followPublisher("logMax 10");
  tell({"routes 20.0.0.0 3000 1", "commit"});
  turns(5);
  story.clear();
  tell({"unroute 10.0.0.0/8", "routes 20.0.0.0 500 2", "unroute 20.11.183.0/24", "commit"});
  turns(5);
  EXPECT_EQ(story.size(), 3002U);
  EXPECT_EQ(std::set<std::string>(story.begin(), story.end()).size(), 3002U);
  EXPECT_EQ(story.front(), "10.0.0.0/8 -");
  EXPECT_EQ(story.back(), "20.11.183.0/24 -");
  EXPECT_EQ(filed(), swept());
  EXPECT_EQ(list->routes(Fib::FecId(2))->size(), 500U);
}

TEST_F(SharedFibTest, recordThatIsNotWellFormedIsNoRoute) {
  followPublisher();
  EXPECT_THAT(heardOf({"badroute 10.0.0.0/8"}), ElementsAre("10.0.0.0/8 -"));
  unfollow();
  follow();
  turns(2);
  EXPECT_THAT(story, ElementsAre("10.0.0.0/8 -", "10.0.0.0/24 1"));
  EXPECT_THAT(filed(), ElementsAre("10.0.0.0/24 1"));
  EXPECT_EQ(swept(), filed());
}

TEST_F(SharedFibTest, entitiesMayOutliveIt) {
  followPublisher();
  unfollow();
  fib.reset();
  expectNothingCanBeRead();
}

}  // namespace
}  // namespace Pondo::Test
