#include <array>
#include <csignal>
#include <sstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "kelbase/ctl/command.h"
#include "kelbase/ctl/fd_output.h"
#include "kelbase/ctl/progress.h"
#include "kelbase/ctl/row_output.h"
#include "kelbase/ctl/status.h"
#include "platform/mav/time.h"

namespace Kelbase::Ctl {
namespace {

constexpr std::array<Column, 3> columns{{
    {"NAME", "name"},
    {"SIZE", "size"},
    {"STATE", "up", "up", "down"},
}};

using Slices = std::vector<std::vector<Row>>;

std::string printed(bool asJson, Slices const& slices) {
  std::ostringstream out;
  auto const rows = rowOutput(out, columns, asJson);
  for (auto const& slice : slices) rows->write(slice);
  rows->end();
  return out.str();
}

TEST(RowOutputTest, TextIsAlignedOverAllRowsOfASliceAndGrowsWithLaterOnes) {
  EXPECT_EQ(printed(false, {}), "NAME  SIZE  STATE\n");
  EXPECT_EQ(printed(false, {{{"a", 7, true}, {"long-name", 12345, false}}, {{"b", 1234567, true}}}),
            "NAME        SIZE  STATE\n"
            "a              7  up\n"
            "long-name  12345  down\n"
            "b          1234567  up\n");
}

TEST(RowOutputTest, JsonIsOneArrayOverAllSlices) {
  EXPECT_EQ(printed(true, {}), "[]\n");
  EXPECT_EQ(printed(true, {{{"a\"\xff", 7, true}}, {}, {{"b", 8, false}}}),
            "[\n"
            "{\"name\":\"a\\\"\xef\xbf\xbd\",\"size\":7,\"up\":true},\n"
            "{\"name\":\"b\",\"size\":8,\"up\":false}\n"
            "]\n");
}

TEST(ProgressTest, IsDrawnOnATerminalTenTimesASecondAndWipedAtItsEnd) {
  Mav::SimulatedTime time;
  std::ostringstream err;
  {
    Progress progress(err, false, "f", 100);  // no terminal
    time.advance(60);
    progress.at(50);
  }
  {
    Progress progress(err, true, "f", 100);
    time.advance(0.4);
    progress.at(40);  // it may be quick work
    time.advance(0.2);
    progress.at(50);
    time.advance(0.05);
    progress.at(60);
    time.advance(0.06);
    progress.at(200);  // the file has grown
  }
  EXPECT_EQ(err.str(),
            "\r\033[Kf [###############---------------]  50 %"
            "\r\033[Kf [##############################] 100 %"
            "\r\033[K");
}

/// Runs `kelbasectl --help` with its output going to `fd`.
int helpInto(int fd, std::ostream& err) {
  std::istringstream in;
  FdOutput out(fd);
  return run({.in = in, .out = out, .err = err, .epoch = [] { return 0.0; }, .version = "1"},
             {"--help"});
}

TEST(FdOutputTest, ABrokenPipeEndsQuietly) {
  ASSERT_NE(::signal(SIGPIPE, SIG_IGN), SIG_ERR);
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  ::close(ends[0]);
  std::ostringstream err;
  EXPECT_EQ(helpInto(ends[1], err), exitOk);
  EXPECT_EQ(err.str(), "");
  ::close(ends[1]);
}

TEST(FdOutputTest, AFullDeviceIsAnError) {
  int const full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
  ASSERT_GE(full, 0);
  std::ostringstream err;
  EXPECT_EQ(helpInto(full, err), exitError);
  EXPECT_EQ(err.str(), "kelbasectl: cannot write the output: No space left on device\n");
  ::close(full);
}

}  // namespace
}  // namespace Kelbase::Ctl
