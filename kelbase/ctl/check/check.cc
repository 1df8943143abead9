#include "kelbase/ctl/check/check.h"

#include <algorithm>
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

void printText(std::ostream& out, Findings const& findings) {
  for (auto one = findings.begin(); one != findings.end(); ++one) {
    out << fmt::format("{:<6} {}: {}\n", word(one->verdict), one->what, one->found);
    if (one->verdict == Verdict::good || one->remedy.empty()) continue;
    // Objects that one line mends are told one after the other, and the line once.
    bool const isRepeated = one + 1 != findings.end() && (one + 1)->remedy == one->remedy;
    if (!isRepeated) out << fmt::format("       -> {}\n", one->remedy);
  }
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

void append(Findings& all, Findings more) { std::ranges::move(more, std::back_inserter(all)); }

}  // namespace

int check(Context const& context, std::filesystem::path const& runDir,
          CheckOptions const& options) {
  // Read once: the findings are of one moment, as near as looks one after the other can be.
  Status const status = readStatus(runDir);
  Findings findings = publisherFindings(status, context.epoch());
  // In the order of the road from the kernel to a manager: the first that is wrong is mostly why
  // those behind it are.
  append(findings, readerFindings(status, context.version));
  append(findings, processFindings(snmpProcesses(), runDir));
  append(findings, answerFindings({options.agent, options.community}, status, outputOf));
  (options.json ? printJson : printText)(context.out, findings);
  bool const wrong = std::ranges::any_of(
      findings, [](Finding const& finding) { return finding.verdict == Verdict::bad; });
  return wrong ? exitError : exitOk;
}

}  // namespace Kelbase::Ctl
