#include "stats/fwd_stats_bogon.h"

#include <gmock/gmock.h>

namespace Ip {
namespace {

class Listener : public FwdStatsBogon::NotifieeConst {
 public:
  using NotifieeConst::NotifieeConst;
  using NotifieeConst::onBogon;
  void onBogon(IpVersion const& version) override { heard.push_back(version); }
  std::vector<IpVersion> heard;
};

TEST(FwdStatsBogon, announcesWhoComesAndGoes) {
  auto const bogons = Mav::makeObject<FwdStatsBogon>();
  Listener listener(bogons);
  auto const v6 = bogons->bogonIs(ipVersion6);
  EXPECT_EQ(bogons->bogonIs(ipVersion6), v6);
  EXPECT_EQ(v6->ipVersion(), ipVersion6);
  bogons->memberIs("bogon", ipVersion4);
  EXPECT_EQ(bogons->bogon(ipVersion4)->ipVersion(), ipVersion4);
  bogons->bogonDel(ipVersion6);
  bogons->bogonDel(ipVersion6);
  EXPECT_EQ(bogons->bogon(ipVersion6), nullptr);
  bogons->bogonDelAll();
  EXPECT_FALSE(bogons->bogonIterator());
  EXPECT_THAT(listener.heard, testing::ElementsAre(ipVersion6, ipVersion4, ipVersion6, ipVersion4));
}

}  // namespace
}  // namespace Ip
