// What a snapshot does with files that are not as they should be.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/mav/line_thinner.h"
#include "tests/stats/sw_fwd_stats_fixture.h"

namespace Ip {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

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
  void expectUnopenable(std::string const& name) {
    SCOPED_TRACE(name);
    time.advance(Mav::LineThinner::window);  // the lines of the last time are forgotten
    auto const& stats = name == "snmp6" ? v6 : v4;
    SwFwdStatsData const before = stats->data();
    double const readAt = stats->lastUpdate();
    std::string const text = "doRead: Failed to open " + path(name);
    EXPECT_EQ(stats->inReceives(), 100U);
    EXPECT_EQ(stats->outRequests(), before.outRequests());
    EXPECT_THAT(traced(), ElementsAre(text, text));  // tried again by each question
    EXPECT_EQ(stats->data(), before);
    EXPECT_EQ(stats->lastUpdate(), readAt);
  }
};

TEST_F(SwFwdStatsFilesTest, refusesWhatIsNoRegularFileOrCannotBeRead) {
  remove("snmp");
  std::filesystem::create_directory(path("snmp"));
  expectUnopenable("snmp");

  remove("snmp");
  ASSERT_EQ(::mkfifo(path("snmp").c_str(), 0600), 0);
  expectUnopenable("snmp");
  int const writer = ::open(path("snmp").c_str(), O_RDWR | O_CLOEXEC);  // a FIFO in use
  expectUnopenable("snmp");
  ::close(writer);

  // The last one is regular, and read(2) of it fails.
  for (char const* target : {"/dev/zero", "/dev/ptmx", "nowhere", "/proc/self/mem"}) {
    remove("snmp");
    std::filesystem::create_symlink(target, path("snmp"));
    expectUnopenable("snmp");
  }
}

TEST_F(SwFwdStatsFilesTest, commitsWhatAMalformedOrMissingPartLeaves) {
  SwFwdStatsData const before = v4->data();
  write("snmp", snmpText("200 x 3"));
  write("netstat", tcpExtLines + ipExtHeader);
  EXPECT_EQ(v4->inReceives(), 200U);
  EXPECT_EQ(v4->fragCreates(), 0U);
  EXPECT_EQ(v4->inNoRoutes(), before.inNoRoutes());  // without its section: as it was
  EXPECT_EQ(v4->lastUpdate(), Mav::now());

  write("snmp6", "Ip6InReceives 200\nIp6InDelivers x\nIp6OutForwDatagrams 8\n");
  EXPECT_EQ(v6->inReceives(), 200U);
  EXPECT_EQ(v6->forwDatagrams(), 7U);
  time.advance(1.0);
  write("snmp6", "");
  EXPECT_EQ(v6->inReceives(), 200U);
  EXPECT_EQ(v6->lastUpdate(), Mav::now());
  EXPECT_THAT(traced(), IsEmpty());
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
