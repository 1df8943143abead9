#include "stats/counter.h"

#include <cctype>
#include <fstream>
#include <set>
#include <string>

#include <gmock/gmock.h>

namespace Ip {
namespace {

Counter const* counterOf(std::string const& name) { return counter(name.data(), name.size()); }

TEST(Counter, isFoundByTheExactNameOnly) {
  for (std::string const name :
       {"", "Ip6InReceive", "Ip6InReceivesX", "ip6InReceives", "InReceives", "Ip6ForwDatagrams",
        "Ip6InTooBigErrors", "Ip6InBcastPkts", "Udp6InDatagrams"}) {
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
    auto const* const known = counterOf(name);
    if (!known) continue;
    found.insert(known);
    std::string field = name == "Ip6OutForwDatagrams" ? "ForwDatagrams" : name.substr(3);
    field[0] = static_cast<char>(std::tolower(field[0]));
    EXPECT_EQ(known->name(), field);
  }
  EXPECT_EQ(found.size(), 25U);
}

}  // namespace
}  // namespace Ip
