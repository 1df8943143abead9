// kelbasectl's commands against real tables, each in a run directory of its own.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "kelbase/ctl/command.h"
#include "platform/pondo/environment/run_dir.h"
#include "platform/pondo/environment/writer.h"
#include "tests/kelbase/ctl_fixture.h"
#include "tests/kelbase/ctl_samples.h"

namespace Kelbase::Ctl {
namespace {

using nlohmann::json;
using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::StartsWith;

/// A publisher in a process of its own (LMDB allows one environment a process), which publishes
/// what `publish` writes and then holds the run directory until it is dropped.
class OtherPublisher {
 public:
  OtherPublisher(std::filesystem::path const& runDir, void (*publish)(Pondo::Writer&)) {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) std::abort();
    pid_ = ::fork();
    ::close(ends[pid_ == 0 ? 0 : 1]);
    if (pid_ == 0) _exit(publishUntilDropped(runDir, publish, ends[1]));
    end_ = ends[0];
    char byte = 0;
    EXPECT_EQ(::read(end_, &byte, 1), 1) << "nothing published";
  }
  ~OtherPublisher() {
    ::close(end_);
    ::waitpid(pid_, nullptr, 0);
  }
  OtherPublisher(OtherPublisher const&) = delete;
  OtherPublisher& operator=(OtherPublisher const&) = delete;

  std::string pid() const { return std::to_string(pid_); }

 private:
  static int publishUntilDropped(std::filesystem::path const& runDir,
                                 void (*publish)(Pondo::Writer&), int end) {
    try {
      Pondo::Writer writer(runDir, Pondo::Writer::Options{});
      publish(writer);
      writer.commit();
      char byte = 1;
      return ::write(end, &byte, 1) == 1 && ::read(end, &byte, 1) == 0 ? 0 : 1;
    } catch (std::exception const& e) {
      std::fputs(e.what(), stderr);
      return 1;
    }
  }

  pid_t pid_ = -1;
  int end_ = -1;
};

class CtlCommandTest : public CtlFixture {
 protected:
  /// v0 and the forwarding of both versions.
  static void publishSome(Pondo::Writer& writer) {
    writer.put<Pondo::LinkTable>(Dovel::IntfId("v0"), {.ifIndex = 3, .adminUp = true});
    writer.put<Pondo::ForwardingTable>(Pondo::Family::ipv4, {.routing = false});
    writer.put<Pondo::ForwardingTable>(Pondo::Family::ipv6, {.routing = true});
  }
  void publishOnce(Pondo::Origin origin = Pondo::Origin::files) const {
    Pondo::Writer writer(runDir(), {.origin = origin});
    publishSome(writer);
    writer.commit();
  }
  std::string shown() {
    ctl({"show", "links"});
    std::string const links = out();
    ctl({"show", "forwarding"});
    return links + out();
  }
};

constexpr char const* someShown =
    "INTERFACE  IFINDEX  ADMIN  OPER\n"
    "v0               3  up     down\n"
    "FAMILY  ROUTING\n"
    "ipv4    off\n"
    "ipv6    on\n";

TEST_F(CtlCommandTest, LoadsIntoANewDirectoryAndShows) {
  EXPECT_EQ(ctl({"load", "-"}, "[{}"), exitError);
  EXPECT_FALSE(std::filesystem::exists(runDir())) << "made by a bad load";
  auto const links = file("links.json", Samples::links);
  ASSERT_EQ(ctl({"load", links, links, "-"}, Samples::netconf4), exitOk) << err();
  EXPECT_EQ(out(),
            "links: 3 added, 0 changed, 0 removed, 0 unchanged\n"
            "forwarding: 2 added, 0 changed, 0 removed, 0 unchanged\n");
  EXPECT_EQ(shown(),
            "INTERFACE  IFINDEX  ADMIN  OPER\n"
            "lo               1  up     up\n"
            "v0               3  up     down\n"
            "v1               2  down   down\n"
            "FAMILY  ROUTING\n"
            "ipv4    on\n"
            "ipv6    off\n");
  EXPECT_EQ(ctl({"--json", "status"}), exitUnkept);
  EXPECT_EQ(outJson()["origin"], "files");
  EXPECT_THAT(outJson()["publisher"]["name"], EndsWith("links.json -"));
}

TEST_F(CtlCommandTest, LoadReplacesWhatTheFilesSpeakOfAndLeavesTheRest) {
  publishOnce();
  ASSERT_EQ(ctl({"load", file("netconf.json", Samples::netconf4)}), exitOk) << err();
  EXPECT_EQ(out(), "forwarding: 0 added, 1 changed, 0 removed, 1 unchanged\n");
  ASSERT_EQ(ctl({"--json", "show", "forwarding"}), exitOk);
  EXPECT_EQ(outJson(), json::parse(R"([{"family":"ipv4","routing":true},
                                       {"family":"ipv6","routing":true}])"));

  ASSERT_EQ(ctl({"--json", "load", file("links.json", Samples::links),
                 file("netconf.json", Samples::netconf4)}),
            exitOk);
  EXPECT_EQ(outJson(), json::parse(R"({"tables":[
      {"name":"links","added":2,"changed":0,"removed":0,"unchanged":1},
      {"name":"forwarding","added":0,"changed":0,"removed":0,"unchanged":2}]})"));

  ASSERT_EQ(ctl({"load", file("up.json", Samples::addressesUp)}), exitOk);
  EXPECT_EQ(out(),
            "links: 0 added, 0 changed, 1 removed, 2 unchanged\n"
            "forwarding: 0 added, 0 changed, 0 removed, 2 unchanged\n"
            "addresses: 1 added, 0 changed, 0 removed, 0 unchanged\n");
}

TEST_F(CtlCommandTest, LoadLeavesAloneWhatKelbasedHasPublished) {
  publishOnce(Pondo::Origin::kernel);
  auto const links = file("links.json", Samples::links);
  EXPECT_EQ(ctl({"load", links}), exitError);
  EXPECT_EQ(err(), "kelbasectl: " + runDir().string() +
                       ": holds what kelbased published of this machine; load into another "
                       "directory, or overwrite it with --force\n");
  EXPECT_EQ(shown(), someShown);
  // Nor what it cannot look into; and a program's name in publisher.lock decides nothing.
  std::filesystem::resize_file(runDir() / "tables" / "data.mdb", 8192);
  EXPECT_EQ(ctl({"load", links}), exitError);
  EXPECT_THAT(err(), HasSubstr("; it may be kelbased's: load into another directory, or "));
  EXPECT_EQ(ctl({"load", "--force", links}), exitOk) << err();
  EXPECT_EQ(ctl({"load", links}), exitOk) << err();
  // A kelbased that finds nothing to change has published nevertheless.
  Pondo::Writer(runDir(), {}).commitComplete();
  EXPECT_EQ(ctl({"load", links}), exitError);
}

TEST_F(CtlCommandTest, AddressesOfBothVersionsAreShownAsOneTable) {
  ASSERT_EQ(ctl({"load", file("a.json", Samples::addresses)}), exitOk) << err();
  EXPECT_EQ(out(),
            "links: 1 added, 0 changed, 0 removed, 0 unchanged\n"
            "forwarding: 2 added, 0 changed, 0 removed, 0 unchanged\n"
            "addresses: 4 added, 0 changed, 0 removed, 0 unchanged\n");
  ASSERT_EQ(ctl({"--json", "show", "addresses"}), exitOk) << err();
  EXPECT_EQ(outJson(), json::parse(R"([
      {"interface":"v0","family":"ipv4","address":"10.0.0.1","prefixLength":24,"peer":"",
       "label":"v0","flags":""},
      {"interface":"v0","family":"ipv4","address":"10.0.0.2","prefixLength":32,
       "peer":"10.9.0.1","label":"v0:1","flags":"secondary"},
      {"interface":"v0","family":"ipv6","address":"2001:db8::1","prefixLength":64,"peer":"",
       "label":"","flags":"tentative,dadfailed"},
      {"interface":"v0","family":"ipv6","address":"2001:db8::2","prefixLength":128,
       "peer":"2001:db8::3","label":"","flags":"deprecated"}])"));
}

TEST_F(CtlCommandTest, NeighboursOfBothVersionsAreLoaded) {
  ASSERT_EQ(ctl({"load", "-"}, std::string(Samples::routeLinks) + Samples::neighbours), exitOk)
      << err();
  EXPECT_THAT(out(), HasSubstr("neighbours: 5 added, 0 changed, 0 removed, 0 unchanged\n"));
  ASSERT_EQ(ctl({"show", "neighbours"}), exitOk);
  EXPECT_EQ(out(),
            "INTERFACE  ADDRESS   LINK ADDRESS       PERMANENT  STATE\n"
            "eth0       10.0.0.2  02:00:00:00:00:02  no         stale\n"
            "eth0       10.0.0.3  02:00:00:00:00:03  yes        reachable\n"
            "eth0       10.0.0.4                     no         failed\n"
            "eth0       fe80::1   02:00:00:00:00:01  no         reachable\n"
            "eth1       10.0.0.6  0a:09:09:09        yes        reachable\n");
}

TEST_F(CtlCommandTest, LoadWritesNothingUnlessEveryFileIsGood) {
  publishOnce();
  auto const good = file("good.json", Samples::links);
  auto const bad = file("bad.json", "[{\"ifname\":\"a\",\"flags\":[],\n\"ifindex\":-1}]");
  EXPECT_EQ(ctl({"load", good, bad}), exitError);
  EXPECT_EQ(ctl({"load", good, top_ / "none.json"}), exitError);
  EXPECT_EQ(err(), "kelbasectl: " + (top_ / "none.json").string() +
                       ": cannot be read: No such file or directory\n");
  EXPECT_EQ(ctl({"load", good, "-"}, "[]"), exitError);
  EXPECT_THAT(err(), StartsWith("kelbasectl: standard input: holds nothing to load; known are "));
  auto const partial =
      file("partial.json", R"([{"family":"inet","interface":"lo","forwarding":true}])");
  EXPECT_EQ(ctl({"load", good, partial}), exitError);
  EXPECT_EQ(shown(), someShown);
}

TEST_F(CtlCommandTest, BesideALivePublisherStatusIsToldAndLoadIsRefused) {
  OtherPublisher const publisher(runDir(), &publishSome);
  EXPECT_EQ(ctl({"status"}), exitUnkept);  // it has not said yet that they are exact
  EXPECT_THAT(out(),
              AllOf(StartsWith("run directory  " + runDir().string() + "\n"),
                    HasSubstr("publisher      kelbased, pid " + publisher.pid() + ", alive\n"),
                    EndsWith("TABLE       RECORDS  MALFORMED\n"
                             "addresses         0          0\n"
                             "fecs              0          0\n"
                             "forwarding        2          0\n"
                             "links             1          0\n"
                             "neighbours        0          0\n"
                             "routes            0          0\n")));
  EXPECT_EQ(ctl({"load", file("links.json", Samples::links)}), exitError);
  EXPECT_EQ(err(), "kelbasectl: " + runDir().string() + ": kelbased (pid " + publisher.pid() +
                       ") publishes here and would overwrite what is loaded; stop it, or load into "
                       "another directory with --rundir\n");
  EXPECT_EQ(shown(), someShown);
}

TEST_F(CtlCommandTest, StatusTellsWhenTheTablesWereLastExact) {
  OtherPublisher const publisher(runDir(), [](Pondo::Writer& writer) {
    publishSome(writer);
    writer.tell({.exactAge = 0, .trouble = {}, .counters = {{"overruns", 3}, {"dumps", 8}}});
  });
  EXPECT_EQ(ctl({"status"}), exitOk) << err();
  EXPECT_THAT(out(), AllOf(HasSubstr(", alive\nstate          exact\nlast exact     "),
                           EndsWith("COUNTED   SINCE THE START\n"
                                    "overruns                3\n"
                                    "dumps                   8\n")));
  epoch_ += 60;  // without a sign of life
  EXPECT_EQ(ctl({"status"}), exitUnkept);
  EXPECT_THAT(out(), MatchesRegex(".*, stands still\nstate          (59 s|1 min [01] s) old, the "
                                  "publisher stands still\n.*"));
  EXPECT_EQ(ctl({"status", "-j"}), exitUnkept);
  EXPECT_NEAR(outJson()["publisher"]["ageSeconds"].get<double>(), 60, 2);
}

TEST_F(CtlCommandTest, StatusTellsWhyTheTablesAreNotExact) {
  OtherPublisher const publisher(runDir(), [](Pondo::Writer& writer) {
    publishSome(writer);
    writer.tell({.exactAge = 60, .trouble = "no\nspace", .counters = {}});
  });
  EXPECT_EQ(ctl({"status"}), exitUnkept);
  EXPECT_THAT(out(), HasSubstr("\nstate          not exact yet: no?space\n"));
  auto const lock = runDir() / "publisher.lock";
  std::fstream file(lock);
  std::string const text{std::istreambuf_iterator<char>(file), {}};
  file.seekp(static_cast<std::streamoff>(text.find("started=") + 8));
  file << "0." << std::flush;  // when the machine was
  EXPECT_EQ(ctl({"status"}), exitUnkept);
  EXPECT_THAT(out(), MatchesRegex(".*, alive\nstate          .* old, not exact: no\\?space\n.*"));
}

TEST_F(CtlCommandTest, RecordsThatAreNotWellFormedAreCountedAndLeftOut) {
  {
    Pondo::Writer writer(runDir(), {});
    publishSome(writer);
    writer.putBytes(Pondo::TableId::link, "v1", "x");
    writer.commit();
  }
  EXPECT_EQ(ctl({"status"}), exitUnkept);
  EXPECT_THAT(out(), HasSubstr("links             2          1\n"));
  EXPECT_EQ(shown(), someShown);
  EXPECT_EQ(ctl({"show", "links"}), exitOk);
  EXPECT_EQ(err(), "kelbasectl: links: 1 record not well-formed, left out\n");
}

TEST_F(CtlCommandTest, StatusAndShowWithoutARunDirectoryOrTables) {
  EXPECT_EQ(ctl({"status"}), exitError);
  EXPECT_EQ(out(), "run directory  " + runDir().string() + " (absent)\n");
  EXPECT_THAT(err(), MatchesRegex("kelbasectl: .*run.*\n"));

  std::filesystem::create_directory(runDir());
  EXPECT_EQ(ctl({"status"}), exitError);
  EXPECT_EQ(out(), "run directory  " + runDir().string() +
                       "\n"
                       "publisher      none has been here\n");
  EXPECT_THAT(err(), StartsWith("kelbasectl: "));
}

TEST_F(CtlCommandTest, UsageErrorsExitWithTwoAndNameTheWrongWord) {
  for (auto const& [arguments, error] : std::map<std::vector<std::string>, std::string>{
           {{"statsu"}, "no such command: 'statsu'; there are check, help, load, show, status"},
           {{"s"}, "'s' may be show or status"},
           {{"show", "routs"},
            "no such table: 'routs'; there are addresses, fecs, forwarding, links, neighbours, "
            "routes"},
           {{"show", "f"}, "'f' may be fecs or forwarding"},
           {{"show", "links", "--to", "192.0.2.1"}, "--to: is for routes alone"},
           {{"show", "routes", "--to", "192.0.2"}, "--to: invalid IPv4 address '192.0.2'"},
           {{"show", "routes", "--within", "10.0.0.1/8"},
            "--within: prefix 10.0.0.1/8 has host bits set"},
       }) {
    EXPECT_EQ(ctl(arguments), exitUsage);
    EXPECT_EQ(err(), "kelbasectl: " + error + "\nTry 'kelbasectl help'.\n");
    EXPECT_EQ(out(), "");
  }
  EXPECT_EQ(
      run({.in = std::cin, .out = out_, .err = err_, .epoch = {}, .version = {}}, {"load", "-"}),
      exitUsage);
  EXPECT_THAT(err(), HasSubstr("kelbasectl: load needs --rundir DIR\n"));
}

TEST_F(CtlCommandTest, HelpIsThereAndWordsMayBeShort) {
  EXPECT_EQ(ctl({"help", "sh"}), exitOk);
  EXPECT_THAT(out(), HasSubstr("Examples:\n  kelbasectl show links"));
  EXPECT_EQ(ctl({"--version"}), exitOk);
  EXPECT_EQ(out(), "kelbasectl 1.2.3\n");
  publishOnce();
  EXPECT_EQ(ctl({"sh", "-j", "li"}), exitOk);
  EXPECT_EQ(outJson()[0]["name"], "v0");
}

}  // namespace
}  // namespace Kelbase::Ctl
