#include "stats/counter.h"

#include <fstream>
#include <set>
#include <string>

#include <gmock/gmock.h>

namespace Ip {
namespace {

Counter const* counterOf(std::string const& name) { return counter(name.data(), name.size()); }

TEST(Counter, writesAndReadsTheOneFieldThatItNames) {
  std::set<Counter const*> distinct;
  int fields = 0;
#define CHECK_COUNTER(Prefix, field, statName)                                    \
  {                                                                               \
    SwFwdStatsData data;                                                          \
    field##Counter.write(data, 7);                                                \
    SwFwdStatsData expected;                                                      \
    expected.field##Is(7);                                                        \
    EXPECT_EQ(data, expected);                                                    \
    EXPECT_EQ(field##Counter.read(data), 7U);                                     \
    EXPECT_EQ(field##Counter.name(), #field);                                     \
    EXPECT_EQ(counterOf(statName), static_cast<Counter const*>(&field##Counter)); \
    distinct.insert(&field##Counter);                                             \
    ++fields;                                                                     \
  }
  IP_SW_FWD_COUNTERS(CHECK_COUNTER)
#undef CHECK_COUNTER
  EXPECT_EQ(fields, 25);
  EXPECT_EQ(distinct.size(), 25U);
}

TEST(Counter, isFoundByTheExactNameOnly) {
  for (std::string const name :
       {"", "Ip6", "Ip6InReceive", "Ip6InReceivesX", "ip6InReceives", "Ip6Inreceives", "InReceives",
        "Ip6ForwDatagrams", "Ip6InTooBigErrors", "Ip6OutTransmits", "Ip6InBcastPkts", "Icmp6InMsgs",
        "Udp6InDatagrams"}) {
    EXPECT_EQ(counterOf(name), nullptr) << name;
  }
  EXPECT_EQ(counterOf(std::string("Ip6InReceives\0", 14)), nullptr);
  EXPECT_EQ(counter("Ip6InReceives   0", 13), &inReceivesCounter);
}

TEST(Counter, namesAreThoseOfTheRunningKernel) {
  std::ifstream snmp6("/proc/net/snmp6");
  if (!snmp6) GTEST_SKIP() << "this kernel has no /proc/net/snmp6";
  std::set<Counter const*> found;
  std::string name;
  std::uint64_t value = 0;
  while (snmp6 >> name >> value) {
    if (auto const* known = counterOf(name)) found.insert(known);
  }
  EXPECT_EQ(found.size(), 25U);
}

}  // namespace
}  // namespace Ip
