#include "kelbase/ctl/check/check.h"

#include <algorithm>
#include <array>
#include <ostream>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "kelbase/ctl/check/agent_answers.h"
#include "kelbase/ctl/check/snmp_process.h"
#include "kelbase/ctl/check/tool.h"

namespace Kelbase::Ctl {
namespace {

// Words and no colours: it is read in logs and mails as well.
std::string_view word(Verdict verdict) {
  if (verdict == Verdict::good) return "ok";
  return verdict == Verdict::bad ? "WRONG" : "?";
}

bool isToldAlike(Finding const& one, Finding const& other) {
  return one.verdict == other.verdict && one.found == other.found && one.remedy == other.remedy;
}

/// One line for all that is told alike: a view that hides one object hides twenty.
void printText(std::ostream& out, Findings const& findings) {
  // Told once, below the last of the lines in a row that it mends.
  std::string remedy;
  auto const tellRemedy = [&] {
    if (!remedy.empty()) out << fmt::format("       -> {}\n", remedy);
  };
  for (auto one = findings.begin(); one != findings.end(); ++one) {
    auto const isLikeIt = [&](Finding const& other) { return isToldAlike(*one, other); };
    if (std::any_of(findings.begin(), one, isLikeIt)) continue;
    std::string names = one->what;
    std::for_each(one + 1, findings.end(), [&](Finding const& other) {
      if (isLikeIt(other)) names += ", " + other.what;
    });
    std::string const wanted = one->verdict == Verdict::good ? std::string() : one->remedy;
    if (wanted != remedy) tellRemedy();
    remedy = wanted;
    out << fmt::format("{:<6} {}: {}\n", word(one->verdict), names, one->found);
  }
  tellRemedy();
}

void printJson(std::ostream& out, Findings const& findings) {
  auto array = nlohmann::ordered_json::array();
  for (auto const& [verdict, what, found, remedy] : findings) {
    array.push_back({{"check", what},
                     {"verdict", verdict == Verdict::good  ? "good"
                                 : verdict == Verdict::bad ? "bad"
                                                           : "unknown"},
                     {"found", found},
                     {"remedy", remedy}});
  }
  out << array.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
}

/// Whether the module of this process has registered its objects: not before it knows some state.
std::optional<bool> isServing(SnmpProcess const& process, Status const& status) {
  if (!process.loaded.value_or(false)) return process.loaded;
  auto const& readers = status.readers.readers;
  auto const reader = std::ranges::find(readers, process.pid, &Pondo::ReaderInfo::pid);
  if (reader != readers.end()) return reader->generation > 0;
  // It may read another run directory than this one.
  return canRead(process, status.runDir) ? std::nullopt : std::optional(false);
}

/// The same of the daemon that is asked, where it is of this machine and its daemons are alike.
std::optional<bool> isServing(CheckOptions const& options,
                              std::vector<SnmpProcess> const& processes, Status const& status) {
  constexpr std::array here{"127.0.0.1", "localhost", "[::1]"};
  bool const isHere = std::ranges::any_of(
      here, [&](char const* name) { return options.agent.find(name) != std::string::npos; });
  if (!isHere || processes.empty()) return std::nullopt;
  auto const first = isServing(processes.front(), status);
  bool const alike = std::ranges::all_of(
      processes, [&](SnmpProcess const& one) { return isServing(one, status) == first; });
  return alike ? first : std::nullopt;
}

void append(Findings& all, Findings more) { std::ranges::move(more, std::back_inserter(all)); }

}  // namespace

int check(Context const& context, std::filesystem::path const& runDir,
          CheckOptions const& options) {
  // Read once: the findings are of one moment, as near as looks one after the other can be.
  Status const status = readStatus(runDir);
  // In the order of the road from the kernel to a manager: the first that is wrong is mostly why
  // those behind it are.
  Findings findings = publisherFindings(status, context.epoch());
  append(findings, placeFindings(status, context.epoch()));
  append(findings, readerFindings(status, context.version));
  auto const processes = snmpProcesses();
  append(findings, processFindings(processes, runDir));
  auto const registered = isServing(options, processes, status);
  append(findings,
         answerFindings({options.agent, options.community, registered}, status, outputOf));
  (options.json ? printJson : printText)(context.out, findings);
  bool const wrong = std::ranges::any_of(
      findings, [](Finding const& finding) { return finding.verdict == Verdict::bad; });
  return wrong ? exitError : exitOk;
}

}  // namespace Kelbase::Ctl
