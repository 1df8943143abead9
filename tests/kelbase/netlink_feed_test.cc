#include "kelbase/netlink/netlink_feed.h"

#include <cstring>
#include <map>
#include <optional>

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "kelbase/netlink/decoders.h"
#include "kelbase/netlink/kernel_sources.h"
#include "kelbase/netlink/model_source.h"
#include "kelbase/publish/forwarding_view.h"
#include "kelbase/publish/link_view.h"
#include "tests/kelbase/namespace_fixture.h"
#include "tests/kelbase/netlink_builder.h"
#include "tests/support/scratch_dir.h"

namespace Kelbase {
namespace {

using Records = std::map<std::string, Pondo::LinkTable::Record>;

/// What the kernel says by another road than netlink.
Records kernelLinks() {
  Records result;
  int const fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  auto* const list = if_nameindex();
  for (auto const* entry = list; entry->if_index != 0; ++entry) {
    ifreq request{};
    std::strncpy(request.ifr_name, entry->if_name, IFNAMSIZ - 1);
    EXPECT_EQ(ioctl(fd, SIOCGIFFLAGS, &request), 0) << entry->if_name;
    bool const up = (request.ifr_flags & IFF_UP) != 0;
    result[entry->if_name] = {static_cast<std::int32_t>(entry->if_index), up,
                              up && (request.ifr_flags & IFF_RUNNING) != 0};
  }
  if_freenameindex(list);
  close(fd);
  return result;
}

class NetlinkFeedTest : public NamespaceTest {
 protected:
  void start(NetlinkFeed::Options options = {}) {
    feed_.emplace(activity_, sources_, options, [this](double delay) { publishDelay_ = delay; });
  }

  bool linksAreTheKernels() const {
    auto const kernel = kernelLinks();
    if (links_.size() != kernel.size()) return false;
    for (auto const& [name, record] : kernel) {
      if (view_.find(Dovel::IntfId(name)) != record) return false;
    }
    return true;
  }
  bool followed() {
    return turnUntil([this] { return feed_->settled() && linksAreTheKernels(); });
  }

  bool operUp(char const* name) const { return view_.find(Dovel::IntfId(name))->operUp; }

  Links links_;
  LinkView view_{links_};
  ModelSource<LinkDecoder, Links> source_{links_};
  std::vector<KernelSource*> sources_{&source_};
  std::optional<NetlinkFeed> feed_;
  double publishDelay_ = -1.0;
};

std::string pairs(int from, int to) {
  std::string lines;
  for (int i = from; i < to; ++i) {
    auto const n = std::to_string(i);
    lines += "link add name a" + n + " type veth peer name b" + n + "\n";
  }
  return lines;
}

struct PiecedLinks : ModelSource<LinkDecoder, Links> {
  using ModelSource::ModelSource;
  void dumpBegin() override {
    ++begun;
    ModelSource::dumpBegin();
  }
  void pieceEnd() override { ++pieces; }
  int begun = 0;
  int pieces = 0;
};

TEST_F(NetlinkFeedTest, AnInterruptedDumpIsRepeated) {
  PiecedLinks pieced(links_);
  sources_ = {&pieced};
  ip(pairs(0, 60));
  start();  // the kernel has prepared the first part of its answer
  ip("link del dev a7");
  ip(pairs(60, 61));
  EXPECT_TRUE(followed());
  EXPECT_GE(feed_->dumpCounters().interrupted, 1U);
  EXPECT_EQ(feed_->counters().overruns, 0U);
  EXPECT_GE(pieced.pieces, 2);
  int const begun = pieced.begun;
  pieced.wantLook(0.0);
  ASSERT_TRUE(turnUntil([&] { return pieced.begun > begun; }));
  ip("link del dev a8");
  ip(pairs(61, 62));
  EXPECT_TRUE(turnUntil([&] { return pieced.begun == begun + 2; })) << "a look alike";
  feed_.reset();
}

TEST_F(NetlinkFeedTest, AnAnswerThatIsTooLargeFitsTheNextTime) {
  std::string names;
  for (int i = 0; i < 400; ++i) {
    names +=
        "link property add dev lo altname a" + std::to_string(i) + std::string(100, 'x') + "\n";
  }
  ip(names);
  start();
  EXPECT_TRUE(turnUntil([&] { return feed_->exact() && links_.size() == 1; }));
  EXPECT_EQ(feed_->dumpCounters().failed, 1U);
}

TEST_F(NetlinkFeedTest, WhatRoutesWaitForMayChangeMeanwhile) {
  std::string objects = "link set lo up\n";
  for (int id = 1; id <= 2000; ++id) objects += fmt::format("nexthop add id {} blackhole\n", id);
  ip(objects);
  Kernel kernel;
  auto const all = makeKernelSources(kernel);
  sources_ = {all[6].get()};
  ASSERT_EQ(sources_[0]->name(), "IPv4 routes");
  start();  // the kernel has prepared the first part of its answer
  ip("nexthop del id 1900\nnexthop add id 3000 blackhole\n");
  EXPECT_TRUE(turnUntil([&] { return feed_->exact(); }));
  EXPECT_EQ(feed_->dumpCounters().interrupted, 0U);
  EXPECT_EQ(feed_->dumpCounters().dumps, 1U);
  feed_.reset();
}

/// What comes together in a stream is read together, 8 ms later, and 25 ms where the stream lasts;
/// what comes alone at once.
class NetlinkFeedPace : public NetlinkFeedTest {
 protected:
  /// So many notifications that are heard `seconds` after they came, and not before.
  std::uint64_t heardAfter(double seconds, int count) {
    auto const before = feed_->counters().events;
    for (; count > 0; --count)
      ip(isUp_ ? "link set lo down\n" : "link set lo up\n"), isUp_ = !isUp_;
    activity_.deliver();
    if (seconds > 0) {
      EXPECT_EQ(feed_->counters().events, before);
      pass(seconds);
    }
    return feed_->counters().events - before;
  }

  void pass(double seconds) {
    time_.advance(seconds);
    activity_.deliver();
  }

  Mav::SimulatedTime time_;
  bool isUp_ = false;
};

TEST_F(NetlinkFeedPace, AStreamIsReadTogetherAndSingleOnesAtOnce) {
  start();
  while (!feed_->exact()) activity_.deliver();
  if (feed_->counters().buffer < std::size_t{8} << 20U) GTEST_SKIP() << "small buffer";
  for (int single = 0; single < 20; ++single) {
    ASSERT_EQ(heardAfter(0, 1), 1U) << single;
    time_.advance(single % 5 == 0 ? 0.001 : 0.006);
  }
  EXPECT_EQ(heardAfter(0, 10), 10U);  // it may be no stream yet
  for (int burst = 0; burst < 5; ++burst) {
    pass(0.002);
    EXPECT_EQ(heardAfter(0.008, 10), 10U) << burst;
    pass(0.008);
  }
  EXPECT_EQ(heardAfter(0.008, 10), 10U);
  EXPECT_EQ(heardAfter(0.008, 10), 0U);  // it has lasted
  EXPECT_EQ(heardAfter(0.017, 10), 20U);
  EXPECT_EQ(heardAfter(0.025, 1), 1U);  // its last
  pass(0.025);                          // that it has ended is seen then
  pass(0.05);
  EXPECT_EQ(heardAfter(0, 1), 1U);
}

TEST(StreamGauge, BurstsTenMillisecondsApartAreAStreamThatLasts) {
  StreamGauge gauge;
  double now = 1.0;
  for (int read = 1; read <= 40; ++read, now += 0.008) gauge.add(read % 5 == 0 ? 0 : 10, now);
  EXPECT_EQ(gauge.delay(now), StreamGauge::longDelay);
}

TEST_F(NetlinkFeedPace, ASmallBufferIsReadSoonAndAStreamPublishedTogether) {
  start({.eventBuffer = 125'000});
  while (!feed_->exact()) activity_.deliver();
  EXPECT_EQ(heardAfter(0, 10), 10U);
  EXPECT_EQ(publishDelay_, 0.0);
  for (int burst = 0; burst < 30; ++burst) {
    EXPECT_EQ(heardAfter(0.0006, 10), 10U) << burst;
    pass(0.004);
  }
  EXPECT_EQ(publishDelay_, StreamGauge::longDelay - 0.0005);
}

struct SlowLinks : ModelSource<LinkDecoder, Links> {
  using ModelSource::ModelSource;
  void receive(NetlinkMessage const& message) override {
    ModelSource::receive(message);
    onReceived();
  }
  std::function<void()> onReceived = [] {};
};

TEST_F(NetlinkFeedPace, WhatWasFetchedWhenTheTimeWasUpIsReadNext) {
  SlowLinks slow(links_);
  sources_ = {&slow};
  start();
  while (!feed_->exact()) activity_.deliver();
  // A batch comes while the first one is read: all of it is fetched, and the last not read.
  auto const before = feed_->counters().events;
  slow.onReceived = [&] {
    time_.advance(NetlinkFeed::sliceTime / 16);
    if (feed_->counters().events != before + 1) return;
    for (std::size_t i = 0; i < NetlinkFeed::batch; ++i) {
      ip(i % 2 == 0 ? "link set lo down\n" : "link set lo up\n");
    }
  };
  ip("link set lo up\n");
  activity_.deliver();
  EXPECT_EQ(feed_->counters().events - before, NetlinkFeed::batch + 1);
  feed_.reset();
}

/// Changes while a dump of more than one turn is under way.
class NetlinkFeedDuringDump : public NetlinkFeedTest {
 protected:
  void change(NetlinkFeed::Options options) {
    ip(pairs(0, 300));
    start(options);
    ip("link set dev a1 up\nlink set dev b1 up\nlink del dev a5\nlink set dev a7 name c7\n");
    activity_.deliver();
    ASSERT_FALSE(feed_->settled());
  }
};

TEST_F(NetlinkFeedDuringDump, NotificationsAreHeldBackAndReplayed) {
  change({});
  EXPECT_EQ(feed_->counters().events, 0U);
  EXPECT_TRUE(followed());
  EXPECT_GT(feed_->counters().events, 0U);
  EXPECT_EQ(feed_->counters().overruns, 0U);
}

TEST_F(NetlinkFeedDuringDump, MoreOfThemThanMemoryIsMeantForAreReadAgain) {
  change({.backlogMax = 4000});
  EXPECT_TRUE(followed());
  EXPECT_GE(feed_->counters().overruns, 1U);
}

/// What a kernel booted with ipv6.disable=1 answers: nobody has registered for the family.
struct ForwardingWithoutIpv6 : ModelSource<ForwardingDecoder, Forwarding> {
  using ModelSource::ModelSource;
  static NetlinkRequest question(std::uint8_t family) {
    NetlinkRequest request(RTM_GETNETCONF, 0, netconfmsg{family});
    request.put(NETCONFA_IFINDEX, std::int32_t{NETCONFA_IFINDEX_ALL});
    return request.unsupportedIsEmpty();
  }
  std::array<NetlinkRequest, 2> asked{question(AF_INET), question(AF_X25)};
  std::span<NetlinkRequest const> requests() const override { return asked; }
};

TEST_F(NetlinkFeedTest, AKernelWithoutIpv6DoesNotForwardIt) {
  Forwarding forwarding;
  ForwardingView view(forwarding);
  ForwardingWithoutIpv6 source(forwarding);
  sources_ = {&source};
  sysctl("ipv4/ip_forward", 1);
  start();
  ASSERT_TRUE(turnUntil([&] { return feed_->exact(); }));
  EXPECT_EQ(view.summary(), "IPv4 forwarding on, IPv6 forwarding absent");
  ScratchDir scratch;
  Pondo::Writer writer(scratch / "run", {});
  EXPECT_EQ(view.writeAll(writer).added, 2U);
  EXPECT_EQ(view.find(Pondo::Family::ipv4), Pondo::ForwardingTable::Record{true});
  EXPECT_EQ(view.find(Pondo::Family::ipv6), Pondo::ForwardingTable::Record{false});
  feed_.reset();
}

TEST_F(NetlinkFeedTest, MessagesFromOtherProcessesAreIgnored) {
  start();
  ASSERT_TRUE(followed());
  int const fd = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
  auto forged = linkMessage(RTM_NEWLINK, 77, IFF_UP);
  forged.text(IFLA_IFNAME, "forged");
  sockaddr_nl to{};
  to.nl_family = AF_NETLINK;
  to.nl_pid = feed_->portId();
  auto const bytes = forged.datagram();
  ASSERT_EQ(sendto(fd, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&to), sizeof to),
            static_cast<ssize_t>(bytes.size()));
  close(fd);
  EXPECT_TRUE(turnUntil([this] { return feed_->counters().foreign == 1; }));
  EXPECT_TRUE(linksAreTheKernels());
}

}  // namespace
}  // namespace Kelbase
