// What a snapshot does with files that are not as they should be.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/stats/sw_fwd_stats_fixture.h"

namespace Ip {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr uid_t nobody = 65534;

class SwFwdStatsFilesTest : public SwFwdStatsFixture {
 protected:
  SwFwdStatsFilesTest() {
    kernelReceived(100);
    v4->doRead();
    v6->doRead();
    kernelReceived(200);
    time.advance(1.0);
  }

  /// The next question finds no file, says so, and is answered from the snapshot there was.
  void expectUnopenable(Mav::Ptr<SwFwdStats> const& stats, std::string const& name) {
    SwFwdStatsData const before = stats->data();
    double const readAt = stats->lastUpdate();
    std::string const text = "doRead: Failed to open " + path(name);
    EXPECT_EQ(stats->inReceives(), 100U);
    EXPECT_EQ(stats->outRequests(), before.outRequests());
    EXPECT_THAT(traced(), ElementsAre(text, text));  // tried again by each question
    EXPECT_EQ(stats->data(), before);
    EXPECT_EQ(stats->lastUpdate(), readAt);
  }

  void expectUnopenable(std::string const& name) {
    SCOPED_TRACE(name);
    expectUnopenable(name == "snmp6" ? v6 : v4, name);
  }
};

TEST_F(SwFwdStatsFilesTest, keepsTheSnapshotWithoutAFile) {
  for (char const* name : {"snmp6", "netstat", "snmp"}) {
    remove(name);
    expectUnopenable(name);
  }
  kernelReceived(200);
  EXPECT_EQ(v4->inReceives(), 200U);
  EXPECT_EQ(v6->inReceives(), 200U);
}

TEST_F(SwFwdStatsFilesTest, refusesWhatIsNoRegularFile) {
  for (std::string const name : {"snmp6", "netstat", "snmp"}) {
    remove(name);
    std::filesystem::create_directory(path(name));
    expectUnopenable(name);

    remove(name);
    ASSERT_EQ(::mkfifo(path(name).c_str(), 0600), 0);
    expectUnopenable(name);
    int const writer = ::open(path(name).c_str(), O_RDWR | O_CLOEXEC);  // a FIFO in use
    expectUnopenable(name);
    ::close(writer);

    for (char const* target : {"/dev/zero", "/dev/null", "/dev/ptmx", "nowhere"}) {
      remove(name);
      std::filesystem::create_symlink(target, path(name));
      expectUnopenable(name);
    }
  }
}

TEST_F(SwFwdStatsFilesTest, refusesAFileThatCannotBeRead) {
  remove("snmp6");
  std::filesystem::create_symlink("/proc/self/mem", path("snmp6"));  // read(2): EIO
  expectUnopenable("snmp6");

  write("snmp", "");
  ::chmod(path("snmp").c_str(), 0);
  ::chmod(dir.c_str(), 0755);
  bool const root = ::geteuid() == 0;  // who may read any file
  if (root && ::seteuid(nobody) != 0) GTEST_SKIP() << "root without another user to become";
  expectUnopenable("snmp");
  EXPECT_TRUE(!root || ::seteuid(0) == 0);
}

TEST_F(SwFwdStatsFilesTest, tracesTheLengthOfAWrongHeader) {
  SwFwdStatsData const before = v4->data();
  double const readAt = v4->lastUpdate();
  std::string const oneMore = snmpHeader.substr(0, 223) + " OutTransmits\n";
  std::pair<std::string, std::string> const rows[] = {
      {snmpText("200 2 3", oneMore), "doRead: Header is 237"},
      {snmpText("200 2 3", snmpHeader.substr(0, 211) + "\n"), "doRead: Header is 212"},
      {"", "doRead: Header is 0"},
      {std::string(5000, 'I'), "doRead: Header is 1024"}};
  for (auto const& [text, expected] : rows) {
    write("snmp", text);
    EXPECT_EQ(v4->inReceives(), 100U);
    EXPECT_THAT(traced(), ElementsAre(expected));
  }
  EXPECT_EQ(v4->data(), before);
  EXPECT_EQ(v4->lastUpdate(), readAt);
}

TEST_F(SwFwdStatsFilesTest, keepsTheIpExtCountersWithoutTheirSection) {
  for (std::string const& text : {std::string(), tcpExtLines, tcpExtLines + ipExtHeader}) {
    kernelReceived(v4->data().inReceives() + 1);
    write("netstat", text);
    SwFwdStatsData expected = v4->data();
    expected.inReceivesIs(expected.inReceives() + 1);
    v4->doRead();
    EXPECT_EQ(v4->data(), expected);
    EXPECT_EQ(v4->lastUpdate(), Mav::now());
  }
  EXPECT_THAT(traced(), IsEmpty());
}

TEST_F(SwFwdStatsFilesTest, commitsTheRestAfterAMalformedNumber) {
  write("snmp", snmpText("200 x 3"));
  write("netstat", netstatText("31 x 33"));
  v4->doRead();
  EXPECT_EQ(v4->inReceives(), 200U);
  EXPECT_EQ(v4->inHdrErrors(), 0U);
  EXPECT_EQ(v4->fragCreates(), 0U);
  EXPECT_EQ(v4->inNoRoutes(), 31U);
  EXPECT_EQ(v4->inTruncatedPkts(), 0U);
  EXPECT_EQ(v4->outBcastPkts(), 0U);

  write("snmp6", "Ip6InReceives 200\nIp6InDelivers x\nIp6OutForwDatagrams 8\n");
  v6->doRead();
  EXPECT_EQ(v6->inReceives(), 200U);
  EXPECT_EQ(v6->inDelivers(), 0U);
  EXPECT_EQ(v6->forwDatagrams(), 7U);
  EXPECT_EQ(v6->lastUpdate(), Mav::now());
}

TEST_F(SwFwdStatsFilesTest, commitsAnEmptySnmp6File) {
  write("snmp6", "");
  EXPECT_EQ(v6->inReceives(), 100U);
  EXPECT_EQ(v6->lastUpdate(), Mav::now());
}

TEST_F(SwFwdStatsFilesTest, readsNoMoreThanTheBeginningOfAHugeFile) {
  // The counter that stands behind the limit is not seen.
  std::string icmp;
  while (icmp.size() < statsFileSizeMax) icmp += snmp6Line("Icmp6InMsgs", "1");
  write("snmp6", snmp6Line("Ip6InReceives", "200") + icmp + snmp6Line("Ip6InReceives", "300"));
  std::filesystem::resize_file(path("snmp6"), std::uintmax_t{8} << 30U);  // sparse
  std::filesystem::resize_file(path("netstat"), std::uintmax_t{8} << 30U);
  EXPECT_EQ(v6->inReceives(), 200U);
  EXPECT_EQ(v4->inReceives(), 200U);

  std::string text;
  ASSERT_TRUE(readStatsFile(path("snmp6"), text));
  EXPECT_EQ(text.size(), statsFileSizeMax);
}

}  // namespace
}  // namespace Ip
