#include "kelbase/publish/net_snmp_file.h"

#include <fstream>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "platform/mav/trace_handle.h"
#include "tests/support/scratch_dir.h"

namespace Kelbase {
namespace {

constexpr auto numbers = "Ip: 1 64 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19\n";

/// As kernels from 6.8 on have it, and with the columns in any order.
std::string const oneMore = ipHeader().substr(0, 223) + " OutTransmits\n" +
                            std::string(numbers).substr(0, 52) + " 20\nIcmp: A\nIcmp: 1\n";

TEST(IpLines, HaveTheColumnsThatTheReaderCountsOff) {
  EXPECT_EQ(ipHeader().size(), 224U);
  EXPECT_EQ(ipLines(oneMore), ipHeader() + numbers);
  EXPECT_EQ(ipLines("Ip: New FragCreates InReceives\nIp: 7 8 18446744073709551615\n"),
            ipHeader() + "Ip: 0 0 18446744073709551615 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 8\n");
}

TEST(IpLines, AreNotMadeOfAnythingElse) {
  for (std::string const& text :
       {std::string(), std::string("\n\n"), std::string("Ip: A B\nIp: 1\n"),
        std::string("Ip: A\nIp: x\n"), std::string("Ip: A\nIp: 1"), std::string("Ip: A\nIcmp: 1\n"),
        "Icmp: A\nIcmp: 1\n" + oneMore}) {
    EXPECT_EQ(ipLines(text), std::nullopt) << text;
  }
}

class NetSnmpFileTest : public testing::Test {
 protected:
  NetSnmpFileTest() {
    Mav::traceSinkIs([this](Mav::Severity, std::string_view line) { log_.emplace_back(line); });
    std::filesystem::create_directory(runDir_);
    kernelSays(oneMore);
  }
  ~NetSnmpFileTest() override { Mav::traceSinkIs({}); }

  void kernelSays(std::string const& text) const { std::ofstream(dir_ / "kernel") << text; }
  std::unique_ptr<NetSnmpFile> start() {
    return std::make_unique<NetSnmpFile>(activity_, runDir_, "", dir_ / "kernel");
  }
  void wait(double seconds) {
    time_.advance(seconds);
    activity_.deliver();
  }
  /// The file's last number; empty without a file.
  std::string last() const {
    std::ifstream file(runDir_ / "net-snmp");
    std::string const text(std::istreambuf_iterator<char>(file), {});
    return text.empty() ? text : text.substr(text.rfind(' ') + 1);
  }

  ScratchDir dir_;
  std::filesystem::path const runDir_ = dir_ / "run";
  std::vector<std::string> log_;
  Mav::SimulatedTime time_;
  Mav::Activity activity_;
};

TEST_F(NetSnmpFileTest, FollowsTheKernelFourTimesASecondAndReplacesTheWhole) {
  auto const file = start();
  EXPECT_EQ(last(), "19\n");
  std::ifstream old(runDir_ / "net-snmp");
  kernelSays("Ip: FragCreates\nIp: 5\n");
  wait(0.2);
  EXPECT_EQ(last(), "19\n");
  wait(0.05);
  EXPECT_EQ(last(), "5\n");
  std::string const kept(std::istreambuf_iterator<char>(old), {});
  EXPECT_EQ(kept, ipHeader() + numbers);
  struct stat status {};
  ASSERT_EQ(::stat((runDir_ / "net-snmp").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode, mode_t{S_IFREG | 0640});
}

TEST_F(NetSnmpFileTest, IsLeftOutWhereTheKernelsOwnLayoutIsTheKnownOne) {
  start();
  EXPECT_EQ(last(), "19\n");  // what a publisher leaves behind
  kernelSays(ipHeader() + numbers);
  start();
  EXPECT_TRUE(std::filesystem::is_empty(runDir_));
  std::filesystem::remove(dir_ / "kernel");
  start();
  EXPECT_TRUE(std::filesystem::is_empty(runDir_));
}

TEST_F(NetSnmpFileTest, ComesBackLateWhereSomebodyDeletes) {
  auto const file = start();
  std::filesystem::remove(runDir_ / "net-snmp");
  wait(0.25);
  EXPECT_TRUE(std::filesystem::is_empty(runDir_));
  std::filesystem::remove(runDir_);
  wait(1.0);
  std::filesystem::create_directory(runDir_);
  wait(1.0);
  EXPECT_EQ(last(), "19\n");
  EXPECT_TRUE(log_.empty());
}

TEST_F(NetSnmpFileTest, TellsOnceThatItFails) {
  auto const file = start();
  kernelSays("Icmp: A\n");
  for (int i = 0; i < 5; ++i) wait(1.0);
  ASSERT_EQ(log_.size(), 1U);
  EXPECT_NE(log_[0].find("net-snmp: cannot be kept: "), std::string::npos);
  EXPECT_EQ(last(), "19\n");
  kernelSays(oneMore);
  wait(1.0);
  EXPECT_EQ(log_.size(), 2U);
}

}  // namespace
}  // namespace Kelbase
