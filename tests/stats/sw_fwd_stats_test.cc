#include "stats/sw_fwd_stats.h"

#include "tests/stats/sw_fwd_stats_fixture.h"

namespace Ip {
namespace {

using testing::ElementsAre;

class SwFwdStatsTest : public SwFwdStatsFixture {};

TEST_F(SwFwdStatsTest, readsWhenASnapshotIsOlderThanHalfASecond) {
  for (auto const& stats : {v4, v6}) {
    EXPECT_EQ(stats->lastUpdate(), 0.0);
    kernelReceived(100);
    EXPECT_EQ(stats->inReceives(), 100U);
    EXPECT_EQ(stats->lastUpdate(), Mav::now());

    kernelReceived(200);
    time.advance(0.25);
    EXPECT_EQ(stats->inReceives(), 100U);
    time.advance(0.25);
    EXPECT_EQ(stats->inReceives(), 100U);  // exactly half a second is not older
    time.advance(0.125);
    EXPECT_EQ(stats->inReceives(), 200U);

    kernelReceived(300);
    time.advance(0.3);
    EXPECT_EQ(stats->inReceives(), 200U);
    EXPECT_LT(stats->lastUpdate(), Mav::now());
  }
}

TEST_F(SwFwdStatsTest, derivesSumsModulo64Bits) {
  SwFwdStatsData data;
  data.forwDatagramsIs(100);
  data.inNoRoutesIs(20);
  data.outRequestsIs(1000);
  data.fragCreatesIs(7);
  data.fragOKsIs(3);
  data.fragFailsIs(2);
  data.outNoRoutesIs(50);
  data.outDiscardsIs(4);
  v4->lastUpdateIs(Mav::now());
  v4->dataIs(data);
  EXPECT_EQ(v4->inForwDatagrams(), 120U);
  EXPECT_EQ(v4->fragReqds(), 5U);
  EXPECT_EQ(v4->outTransmits(), 1048U);

  data.outNoRoutesIs(1100);
  v4->dataIs(data);
  EXPECT_EQ(v4->outTransmits(), 18446744073709551614U);
  data.forwDatagramsIs(18446744073709551615U);
  v4->dataIs(data);
  EXPECT_EQ(v4->inForwDatagrams(), 19U);
}

TEST_F(SwFwdStatsTest, derivedReadersFreshenToo) {
  write("snmp6", "Ip6InNoRoutes 1\nIp6FragOKs 2\nIp6OutRequests 3\n");
  EXPECT_EQ(v6->inForwDatagrams(), 1U);
  write("snmp6", "Ip6InNoRoutes 4\nIp6FragOKs 5\nIp6OutRequests 8\n");
  time.advance(0.6);
  EXPECT_EQ(v6->fragReqds(), 5U);
  write("snmp6", "Ip6FragOKs 6\nIp6OutRequests 9\n");
  time.advance(0.6);
  EXPECT_EQ(v6->outTransmits(), 3U);
}

TEST_F(SwFwdStatsTest, choosesEachPathOnceAProcess) {
  kernelReceived(100);
  EXPECT_EQ(v6->inReceives(), 100U);
  ::setenv("PROC_NET_SNMP6", path("elsewhere").c_str(), 1);
  write("elsewhere", "Ip6InReceives 1\n");
  time.advance(0.6);
  EXPECT_EQ(v6->inReceives(), 100U);
  forgetStatsPaths();
  time.advance(0.6);
  EXPECT_EQ(v6->inReceives(), 1U);
}

/// Asks for a counter from inside a notification while the kernel counts on.
class Reader : public SwFwdStats::NotifieeConst {
 public:
  Reader(Mav::Ptr<SwFwdStats const> stats, std::function<void()> kernel)
      : NotifieeConst(std::move(stats)), kernel_(std::move(kernel)) {}
  void onData() override {
    kernel_();
    events.push_back("data " + std::to_string(notifier()->inReceives()));
  }
  void onLastUpdate() override { events.emplace_back("lastUpdate"); }
  void onIsNondestructing() override { events.emplace_back("isNondestructing"); }

  std::vector<std::string> events;

 private:
  std::function<void()> kernel_;
};

TEST_F(SwFwdStatsTest, announcesASnapshotAndThenItsTime) {
  std::uint64_t received = 100;
  kernelReceived(received);
  Reader reader(v6, [&] { kernelReceived(++received); });
  EXPECT_EQ(v6->inReceives(), 100U);
  EXPECT_THAT(reader.events, ElementsAre("data 100", "lastUpdate"));
  EXPECT_EQ(v6->inReceives(), 100U);
  EXPECT_EQ(reader.events.size(), 2U);

  time.advance(0.6);
  EXPECT_EQ(v6->inReceives(), 101U);
  kernelReceived(101);
  time.advance(0.6);
  EXPECT_EQ(v6->inReceives(), 101U);  // the same snapshot again is news of its time alone
  v6->isNondestructingIs(true);
  EXPECT_THAT(reader.events, ElementsAre("data 100", "lastUpdate", "data 101", "lastUpdate",
                                         "lastUpdate", "isNondestructing"));
}

}  // namespace
}  // namespace Ip
