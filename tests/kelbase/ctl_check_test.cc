// kelbasectl check: what it makes of what it finds. The road to a real snmpd is the system tests'.

#include <algorithm>
#include <fstream>

#include <gmock/gmock.h>
#include <served_objects.h>
#include <sys/stat.h>
#include <unistd.h>

#include "kelbase/ctl/check/agent_answers.h"
#include "kelbase/ctl/check/check.h"
#include "kelbase/ctl/check/snmp_process.h"
#include "tests/support/scratch_dir.h"

namespace Kelbase::Ctl {
namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

/// "WHAT: FOUND" of those that are not good.
std::vector<std::string> faults(Findings const& findings) {
  std::vector<std::string> lines;
  for (auto const& finding : findings) {
    if (finding.verdict != Verdict::good) lines.push_back(finding.what + ": " + finding.found);
  }
  return lines;
}

/// An agent that shows some objects, and perhaps its registrations.
struct Agent {
  std::string shown;  // all below it
  std::string registrations;
  std::string value = "INTEGER: 1";

  std::optional<std::string> operator()(std::vector<std::string> const& command) const {
    auto const& oid = command.back();
    if (command.front() == "snmpbulkwalk") return registrations;
    if (oid == "1.3.6.1.2.1.1.3" || (!shown.empty() && oid.starts_with(shown))) {
      return "." + oid + ".0 = " + value + "\n";
    }
    if (shown.empty()) return "." + oid + " = No more variables left in this MIB View\n";
    return ".1.3.6.1.6.3.1 = INTEGER: 1\n";
  }
};

Status published(std::size_t neighbours) {
  Status status;
  status.generation = 1;
  status.addresses4 = 1;
  for (auto const* name : {"addresses", "routes"}) status.tables.push_back({name, 1, 0});
  status.tables.push_back({"neighbours", neighbours, 0});
  status.resolvedNeighbours = neighbours;
  return status;
}

/// Lines of nsModuleTable, as a walk gives them.
std::string registered(std::string const& oid, int priority) {
  auto const length = std::to_string(std::ranges::count(oid, '.') + 1);
  return ".1.3.6.1.4.1.8072.1.2.1.1.4.0." + length + "." + oid + "." + std::to_string(priority) +
         " = STRING: \"name\"\n";
}

std::string ours() {
  std::string lines = ".1.3.6.1.4.1.8072.1.2.1.1.4.3.97.98.99.1.1.127 = STRING: \"elsewhere\"\n";
  for (auto const& object : servedObjects) lines += registered(std::string(object.oid), 64);
  return lines + "Timeout\n";
}

TEST(CheckAnswersTest, AViewThatHidesIsToldFromAModuleThatIsNotThere) {
  EXPECT_THAT(faults(answerFindings({"a", "c"}, published(1), Agent{"1.3.6.1.2.1.4", ours()})),
              AllOf(Contains("brivetSwFwdIpStatsTable: not answered: a view hides it"),
                    Each(StartsWith("brivet"))));
  EXPECT_THAT(faults(answerFindings({"a", "c"}, published(1), Agent{"1.3.6.1.4.1.99999", ""})),
              Contains("ipNetToMediaTable: not answered: a view hides it, or the module is not "
                       "there"));
  auto const stock = registered("1.3.6.1.2.1.4.22.1.2", 127);
  EXPECT_THAT(faults(answerFindings({"a", "c"}, published(1), Agent{"1.3.6.1.2.1.4", stock})),
              Contains("ipNetToMediaTable: the module has not registered it; another one answers"));
  // A table without rows is right to be silent.
  EXPECT_THAT(faults(answerFindings({"a", "c"}, published(0), Agent{"", ours()})),
              Not(Contains(HasSubstr("ipNetToMediaTable"))));
}

TEST(CheckAnswersTest, WhatTheDaemonsProcessTellsOfTheModuleIsHeeded) {
  EXPECT_THAT(faults(answerFindings({"a", "c", true}, published(1), Agent{"1.3.6.1.4", ""})),
              Contains("ipAddrTable: not answered: a view hides it"));
  EXPECT_THAT(faults(answerFindings({"a", "c", false}, published(1), Agent{"1.3.6.1.2", ""})),
              Contains("ipAddrTable: the module has not registered it; another one answers"));
  // Its run directory has gone, and it serves on what it knew.
  EXPECT_THAT(faults(answerFindings({"a", "c", false}, published(1), Agent{"1.3.6.1", ""})),
              ElementsAre(StartsWith("other modules")));
}

TEST(CheckAnswersTest, AMachineOfIpv6AloneHasNoRowsOfIpv4) {
  auto status = published(0);
  status.addresses4 = 0;
  EXPECT_THAT(faults(answerFindings({"a", "c"}, status, Agent{"1.3.6.1.4.1", ours()})),
              Not(Contains(HasSubstr("ipAddrTable"))));
  // The number of its rows answers, and a table of no rows does not.
  Agent const agent{"1.3.6.1.2.1.4.24.3", ours(), "Gauge32: 0"};
  EXPECT_THAT(faults(answerFindings({"a", "c"}, status, agent)),
              AllOf(Not(Contains(HasSubstr("ipCidrRouteTable"))),
                    Contains(HasSubstr("inetCidrRouteTable"))));
}

TEST(CheckAnswersTest, WhoElseHasRegisteredOurObjectsIsNamed) {
  auto const both = ours() + registered("1.3.6.1.2.1.4.22.1.2", 127);
  EXPECT_THAT(faults(answerFindings({"a", "c"}, published(1), Agent{"1.3.6.1", both})),
              ElementsAre("other modules: answer for these objects too: name at "
                          "1.3.6.1.2.1.4.22.1.2"));
}

TEST(CheckAnswersTest, SilenceAndMissingToolsAreTold) {
  auto const silent = [](auto const&) { return std::string("Timeout: No Response from a\n"); };
  EXPECT_THAT(faults(answerFindings({"a", "c"}, published(1), silent)),
              ElementsAre("answers: a gives community \"c\" none: Timeout: No Response from a"));
  auto const absent = [](auto const&) { return std::optional<std::string>(); };
  EXPECT_THAT(faults(answerFindings({"a", "c"}, published(1), absent)),
              ElementsAre("answers: net-snmp's tools are not there"));
}

TEST(CheckProcessTest, TheDaemonsWayToTheTablesIsWalked) {
  ScratchDir const top;
  auto const runDir = top / "run";
  std::filesystem::create_directories(runDir / "tables");
  for (auto const* file : {"data.mdb", "lock.mdb"}) std::ofstream(runDir / "tables" / file) << "x";
  SnmpProcess const stranger{
      .pid = ::getpid(), .name = "snmpd", .user = 12345, .groups = {12345}, .loaded = true};
  SnmpProcess member = stranger;
  member.groups.push_back(::getegid());
  ASSERT_EQ(::chmod((top / ".").c_str(), 0755), 0);
  // The order in which it comes to them.
  for (auto const& [name, mode] : std::initializer_list<std::pair<char const*, mode_t>>{
           {"", 0750}, {"tables", 0750}, {"tables/data.mdb", 0640}, {"tables/lock.mdb", 0660}}) {
    auto const path = *name == 0 ? runDir : runDir / name;
    ASSERT_EQ(::chmod(path.c_str(), 0600), 0);
    EXPECT_EQ(unreachable(member, runDir), path);
    ASSERT_EQ(::chmod(path.c_str(), mode), 0);
  }
  EXPECT_EQ(unreachable(member, runDir), std::nullopt);
  EXPECT_EQ(unreachable(SnmpProcess{}, runDir), std::nullopt) << "root";
  EXPECT_EQ(unreachable(stranger, runDir), runDir);
  EXPECT_THAT(processFindings({stranger}, runDir).back().remedy,
              HasSubstr("put that user into the group"));
}

TEST(CheckPublisherTest, AModuleThatHasReadNothingIsAFault) {
  Status status;
  status.readers.readers.push_back({.program = "snmpd", .version = "1", .pid = 7, .schema = 0});
  EXPECT_THAT(faults(readerFindings(status, "1")),
              ElementsAre("module: version 1 in snmpd, pid 7: has read nothing yet"));
  status.readers.readers.back().generation = 1;
  EXPECT_THAT(faults(readerFindings(status, "1")), testing::IsEmpty());
}

TEST(CheckPublisherTest, EachFaultHasItsRemedy) {
  Status status;
  status.publisherKnown = true;
  status.generation = 1;
  status.origin = Pondo::Origin::kernel;
  EXPECT_THAT(faults(publisherFindings(status, 0)), ElementsAre(HasSubstr("none has been in")));
  auto& publisher = status.publisher.emplace();
  publisher.alive = true;
  publisher.seenAt = 100;
  publisher.exactAt = 100;
  publisher.counters = {{"bufferBytes", 212'992}, {"overruns", 0}};
  EXPECT_THAT(faults(publisherFindings(status, 101)), testing::IsEmpty());
  publisher.counters.back().second = 1;
  status.origin = Pondo::Origin::files;
  EXPECT_THAT(faults(publisherFindings(status, 101)),
              ElementsAre(HasSubstr("tables: hold what 'kelbasectl load'"),
                          HasSubstr("netlink buffer: 208 KiB")));
  EXPECT_THAT(faults(publisherFindings(status, 160))[0], HasSubstr("stands still"));
  publisher.alive = false;
  EXPECT_THAT(faults(publisherFindings(status, 160))[0], HasSubstr("has gone"));
}

}  // namespace
}  // namespace Kelbase::Ctl
