#include "kelbase/ctl/check/agent_answers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <sstream>

#include <fmt/format.h>
#include <served_objects.h>

namespace Kelbase::Ctl {
namespace {

// As handlers/unit_registration.h has it. net-snmp's own modules register with its default, 127;
// the lower number answers.
constexpr int ourPriority = 64;
constexpr std::string_view vendorObjects = "1.3.6.1.4.1.99999.3";
constexpr std::string_view sysUpTime = "1.3.6.1.2.1.1.3";
// Who has registered what, by context, OID and priority (NET-SNMP-AGENT-MIB, nsModuleName).
constexpr std::string_view moduleNames = "1.3.6.1.4.1.8072.1.2.1.1.4";

// A dot behind the root, or ".1.20" would be below ".1.2".
bool isBelow(std::string_view oid, std::string_view root) {
  return oid.starts_with(root) && (oid.size() == root.size() || oid[root.size()] == '.');
}

/// An entry of nsModuleTable.
struct Registration {
  std::string name;
  std::string oid;  // "1.3.6.1.2.1.4.20"
  int priority = 0;
};

/// Of a line ".1.3.6.1.4.1.8072.1.2.1.1.4.CONTEXT.OID.PRIORITY = STRING: NAME" (-On); nothing of
/// others, and of a context with a name.
std::optional<Registration> registrationOf(std::string_view line) {
  // The index of nsModuleTable: a context and an OID with their lengths before them, and a priority
  // (RFC 2578, section 7.7). A context without a name is its length alone.
  static std::string const start = fmt::format(".{}.0.", moduleNames);
  constexpr std::string_view equals = " = STRING: ";
  auto const middle = line.find(equals);
  if (!line.starts_with(start) || middle == line.npos) return std::nullopt;
  auto const index = line.substr(start.size(), middle - start.size());
  auto const oid = index.find('.') + 1;
  auto const priority = index.rfind('.') + 1;
  if (oid == priority) return std::nullopt;
  Registration registration{.name = std::string(line.substr(middle + equals.size())),
                            .oid = std::string(index.substr(oid, priority - 1 - oid))};
  std::from_chars(index.data() + priority, index.data() + index.size(), registration.priority);
  std::erase(registration.name, '"');
  return registration;
}

std::vector<Registration> registrationsOf(std::string const& walked) {
  std::vector<Registration> found;
  std::istringstream lines(walked);
  for (std::string line; std::getline(lines, line);) {
    if (auto registration = registrationOf(line)) found.push_back(std::move(*registration));
  }
  return found;
}

class Asker {
 public:
  Asker(AgentAddress const& address, RunTool const& run) : address_(address), run_(run) {}

  AgentAddress const& address() const { return address_; }

  std::optional<std::string> ask(std::string const& tool, std::string_view oid) const {
    // -On: OIDs as numbers, whichever MIBs are installed: what is said is taken apart by them.
    return run_({tool, "-v2c", "-c", address_.community, "-t", "2", "-r", "1", "-On",
                 address_.agent, std::string(oid)});
  }
  /// Whether the next object after `oid` is below it; nothing when it does not answer.
  std::optional<bool> answers(std::string_view oid, std::string& said) const {
    // Of a table no instance is known beforehand: the first one will do.
    said = ask("snmpgetnext", oid).value_or("");
    if (said.ends_with('\n')) said.pop_back();
    std::ranges::replace(said, '\n', ' ');
    // With -On an answer begins with its OID; all else is an error of the tool's, in its own words.
    if (!said.starts_with('.')) return std::nullopt;
    // "No more variables left in this MIB View", told of the object that was asked for.
    if (said.find(" = No ") != std::string::npos) return false;
    return isBelow(std::string_view(said).substr(1, said.find(' ') - 1), oid);
  }

 private:
  AgentAddress const& address_;
  RunTool const& run_;
};

Finding silentFinding(AgentAddress const& address, std::string const& said) {
  return {Verdict::bad, "answers",
          fmt::format("{} gives community \"{}\" none: {}", address.agent, address.community, said),
          "is snmpd running, on that address (--agent HOST:PORT), and does its configuration name "
          "that community (--community NAME)?"};
}

/// What says whether one of our tables has rows; the others have some always.
struct RowsTold {
  std::string_view name;
  std::string_view table;   // published; all its records are rows
  std::string_view number;  // the object that counts the rows: of what is published not all are
};
constexpr std::array rowsTold{
    RowsTold{"ipNetToPhysicalTable", "neighbours", {}},
    RowsTold{"ipAddressPrefixTable", "addresses", {}},
    RowsTold{"ipAddressTable", "addresses", {}},
    RowsTold{"ipCidrRouteTable", {}, "1.3.6.1.2.1.4.24.3"},
    RowsTold{"inetCidrRouteTable", {}, "1.3.6.1.2.1.4.24.6"},
};

/// Whether it must have rows; where nothing tells, it must.
bool hasRows(Asker const& asker, ServedObject const& object, Status const& status) {
  if (!status.generation) return true;
  if (object.name == "ipAddrTable") return status.addresses4 > 0;
  if (object.name == "ipNetToMediaTable") return status.resolvedNeighbours > 0;
  auto const* const told = std::ranges::find(rowsTold, object.name, &RowsTold::name);
  if (told == rowsTold.end()) return true;
  std::string said;
  if (!told->number.empty()) {
    return asker.answers(told->number, said) != true || !said.ends_with(": 0");
  }
  auto const table = std::ranges::find(status.tables, told->table, &Status::Table::name);
  return table == status.tables.end() || table->records > 0;
}

constexpr char const* loadRemedy =
    "journalctl -u snmpd -g OvoSnmp tells what the module waits for; where it is not loaded, "
    "install libovosnmp, and see that snmpd.conf includes /etc/snmp/snmpd.conf.d";

std::string showRemedy(ServedObject const& object) {
  bool const isStandard = isBelow(object.oid, "1.3.6.1.2.1.4");
  return fmt::format(
      "view NAME included .{} in snmpd.conf, for the view of this community (Debian: take the # "
      "off the view lines of /etc/snmp/snmpd.conf.d/ovosnmp.conf), and restart snmpd",
      isStandard ? "1.3.6.1.2.1.4" : vendorObjects);
}

std::optional<bool> isRegistered(AgentAddress const& address, ServedObject const& object,
                                 std::vector<Registration> const& registrations) {
  // The view does not show who has registered what.
  if (registrations.empty()) return address.registered;
  return std::ranges::any_of(registrations, [&](Registration const& one) {
    return one.oid == object.oid && one.priority == ourPriority;
  });
}

Finding objectFinding(Asker const& asker, ServedObject const& object, Status const& status,
                      std::vector<Registration> const& registrations) {
  std::string const name(object.name);
  std::string said;
  auto const answered = asker.answers(object.oid, said);
  if (!answered) return {Verdict::bad, name, said, "snmpd's log tells why"};
  // Before the answer counts: without the module the daemon's own answers for many of these
  // objects.
  auto const registered = isRegistered(asker.address(), object, registrations);
  if (registered == false) {
    return {
        Verdict::bad, name,
        fmt::format("the module has not registered it{}", *answered ? "; another one answers" : ""),
        loadRemedy};
  }
  if (*answered) return {Verdict::good, name, "answered", {}};
  // Asked last: a table that answers is good, whatever was counted a moment ago.
  if (!hasRows(asker, object, status)) return {Verdict::good, name, "no rows, as published", {}};
  if (registered) return {Verdict::bad, name, "not answered: a view hides it", showRemedy(object)};
  return {Verdict::bad, name, "not answered: a view hides it, or the module is not there",
          fmt::format("{}; or {}", showRemedy(object), loadRemedy)};
}

Finding foreignFinding(std::vector<Registration> const& registrations) {
  if (registrations.empty()) {
    return {Verdict::unknown, "other modules", "the view does not show who has registered what",
            "to see it: view NAME included .1.3.6.1.4.1.8072.1.2 in snmpd.conf"};
  }
  std::string names;
  for (auto const& one : registrations) {
    // One at a longer OID answers in our place whatever its priority; one at an equal OID shows its
    // own rows behind our last.
    bool const overlaps = std::ranges::any_of(
        servedObjects, [&](ServedObject const& object) { return isBelow(one.oid, object.oid); });
    if (!overlaps || one.priority == ourPriority) continue;
    names += fmt::format("{}{} at {}", names.empty() ? "" : ", ", one.name, one.oid);
  }
  if (names.empty()) return {Verdict::good, "other modules", "none answers for these objects", {}};
  return {Verdict::bad, "other modules", "answer for these objects too: " + names,
          "leave them out (snmpd -I -NAME), or stop the subagent that registers them"};
}

}  // namespace

Findings answerFindings(AgentAddress const& given, Status const& status, RunTool const& run) {
  AgentAddress address = given;
  Asker const asker(address, run);
  // Every agent has sysUpTime, and Debian's own view shows it: silence there is no matter of our
  // objects.
  if (!asker.ask("snmpgetnext", sysUpTime)) {
    return {{Verdict::unknown, "answers", "net-snmp's tools are not there", "apt install snmp"}};
  }
  std::string said;
  if (!asker.answers(sysUpTime, said)) return {silentFinding(address, said)};
  auto const registrations = registrationsOf(asker.ask("snmpbulkwalk", moduleNames).value_or(""));
  // Nobody else has these: the module serves on what it knew, whatever has become of its tables.
  if (address.registered == false && asker.answers(vendorObjects, said) == true)
    address.registered = true;
  Findings findings;
  for (auto const& object : servedObjects) {
    findings.push_back(objectFinding(asker, object, status, registrations));
  }
  findings.push_back(foreignFinding(registrations));
  return findings;
}

}  // namespace Kelbase::Ctl
