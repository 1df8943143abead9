#include "kelbase/ctl/command.h"

#include <algorithm>
#include <array>
#include <exception>
#include <filesystem>
#include <functional>
#include <ostream>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <system_error>

#include "kelbase/ctl/check/check.h"
#include "kelbase/ctl/load.h"
#include "kelbase/ctl/show.h"
#include "kelbase/ctl/shown_table.h"
#include "kelbase/ctl/status.h"
#include "kelbase/ctl/words.h"
#include "platform/pondo/environment/run_dir.h"

namespace Kelbase::Ctl {
namespace {

constexpr char const* mainExamples = R"(Examples:
  kelbasectl status                          is the state kept, and how old is it
  kelbasectl check                           what is wrong, and what to do
  kelbasectl show links                      the interfaces that the agent knows
  kelbasectl --json show links | jq '.[].name'
  ip -json link | kelbasectl --rundir /tmp/try load -
'kelbasectl help COMMAND' tells more of a command. Commands and tables can be abbreviated:
'kelbasectl sh rou'.)";

constexpr char const* statusExamples =
    R"(Exits with 0 when a publisher keeps the state exact, with 3 when the state is there but has
not been exact for some seconds, and with 1 when it cannot be read.
Examples:
  kelbasectl status
  kelbasectl status -j | jq .publisher.counters)";

constexpr char const* checkExamples =
    R"(Looks at the publisher, the run directory, the SNMP daemon and its answers, and tells of each
fault what to do. Exits with 0 when nothing is wrong, else with 1. Root sees most; what cannot
be seen is marked with '?' and counts as no fault.
Examples:
  sudo kelbasectl check
  kelbasectl check --agent 192.0.2.1:161 --community secret
  kelbasectl check -j | jq '.[] | select(.verdict == "bad")')";

constexpr char const* showExamples = R"(Examples:
  kelbasectl show links
  kelbasectl show                                 which tables there are
  kelbasectl show forwarding -j
  kelbasectl show routes --to 192.0.2.7           the route that packets there take
  kelbasectl show routes --within 198.51.0.0/16   that route and more specific ones
  kelbasectl show routes --to fe80::1%3           of the link with ifIndex 3)";

constexpr char const* loadExamples =
    R"(Reads the outputs of 'ip -json link', 'ip -json address', 'ip -json netconf' (also with -4
or -6), 'ip -json neighbour', 'ip -json -details route' and 'ip -json nexthop', in any
number of files. Replaces exactly the tables that they speak of, and writes nothing unless
every file is good. Refused while a publisher runs; and where kelbased has published, unless
--force is given: an agent serves what is loaded there as the state of this machine.
Examples:
  ip -json link > links.json; ip -json netconf > netconf.json
  kelbasectl --rundir /tmp/try load links.json netconf.json
  ip -json -details route > routes.json; kelbasectl \
    --rundir /tmp/try load links.json routes.json
  ip netns exec blue ip -json link | kelbasectl --rundir /tmp/try load -)";

// `help` is none of CLI11's: words.h makes an option of it. In alphabetical order, in which a usage
// error tells them.
constexpr std::array<std::string_view, 5> commandNames{"check", "help", "load", "show", "status"};

/// The parsed command line. CLI11 keeps pointers into it, so it stays where it is.
class CommandLine {
 public:
  explicit CommandLine(Context const& context) : context_(context) {
    app_.name("kelbasectl");
    app_.footer(mainExamples);
    app_.set_version_flag("--version", "kelbasectl " + context.version);
    runDirOption_ = app_.add_option("--rundir", runDir_, "Run directory of the publisher")
                        ->type_name("DIR")
                        ->capture_default_str();
    app_.add_flag("-j,--json", json_, "Print JSON");
    app_.require_subcommand(1);
    // What stands before a command may stand behind it too: `show links -j`.
    app_.fallthrough();
    addStatus();
    addCheck();
    addShow();
    addLoad();
  }

  CLI::App& app() { return app_; }
  int execute() { return command_(); }

 private:
  CLI::App& addCommand(char const* name, char const* description, char const* examples,
                       std::function<int()> command) {
    CLI::App& added = *app_.add_subcommand(name, description);
    added.footer(examples);
    // The parser only chooses: what a command throws does not pass through it.
    added.callback([this, command = std::move(command)] { command_ = command; });
    return added;
  }

  void addStatus() {
    addCommand("status", "Tell whether a publisher keeps the state, and how old the state is",
               statusExamples, [this] { return status(context_, runDir_, json_); });
  }

  void addCheck() {
    CLI::App& added = addCommand("check", "Tell what is wrong between the kernel and a manager",
                                 checkExamples, [this] {
                                   check_.json = json_;
                                   return check(context_, runDir_, check_);
                                 });
    added.add_option("--agent", check_.agent, "The SNMP daemon to ask")
        ->type_name("HOST[:PORT]")
        ->capture_default_str();
    added.add_option("--community", check_.community, "As whom to ask it")
        ->type_name("NAME")
        ->capture_default_str();
  }

  void addShow() {
    CLI::App& added = addCommand("show", "Show what a table holds", showExamples, [this] {
      return table_.empty() ? showTables(context_, json_)
                            : show(context_, runDir_, *findShownTable(table_), question_, json_);
    });
    added.add_option("TABLE", table_, "Table to show; without it, which tables there are")
        ->type_name("");
    auto* const within = addQuestion(added, "--within", &RouteQuestion::withinIs,
                                     "Of routes: that of this prefix and more specific ones")
                             ->type_name("PREFIX");
    addQuestion(added, "--to", &RouteQuestion::toIs,
                "Of routes: the one that packets to this address take")
        ->type_name("ADDRESS")
        ->excludes(within);
    added.parse_complete_callback([this, within] {
      // CLI11 cannot be told that an option goes with one value of another alone.
      if (!question_.isAsked() || table_ == "routes") return;
      throw CLI::ValidationError(within->empty() ? "--to" : "--within", "is for routes alone");
    });
  }

  CLI::Option* addQuestion(CLI::App& show, char const* name,
                           void (RouteQuestion::*take)(std::string_view), char const* description) {
    auto const taken = [this, name, take](std::string const& text) {
      try {
        (question_.*take)(text);
      } catch (Mav::RangeException const& e) {
        throw CLI::ValidationError(name, e.what());
      }
    };
    return show.add_option_function<std::string>(name, taken, description);
  }

  void addLoad() {
    CLI::App& added =
        addCommand("load", "Load tables from the output of 'ip -json'", loadExamples, [this] {
          if (runDirOption_->count() == 0) {
            // The default is where kelbased publishes: nothing is loaded there unless it is named.
            throw CLI::ValidationError("load needs --rundir DIR");
          }
          load_.json = json_;
          return load(context_, runDir_, load_);
        });
    added.add_option("FILE", load_.files, "Files to load; - is the standard input")
        ->required()
        ->type_name("");
    added.add_flag("--force", load_.force, "Also where kelbased has published");
  }

  Context const& context_;
  CLI::App app_{
      "Shows the state that kelbased publishes, tells how it is kept, and loads tables to try."};
  std::string runDir_ = Pondo::defaultRunDir().string();
  std::string table_;
  RouteQuestion question_;
  LoadOptions load_;
  CheckOptions check_;
  CLI::Option* runDirOption_ = nullptr;
  bool json_ = false;
  std::function<int()> command_;
};

std::vector<std::string> parsed(std::vector<std::string> arguments) {
  std::vector<std::string_view> tables;
  for (ShownTable const& table : shownTables()) tables.push_back(table.name);
  // Before CLI11 sees them: it takes the names of commands whole alone.
  arguments = inFull(std::move(arguments), commandNames, tables);
  std::ranges::reverse(arguments);  // CLI11 takes them from the back
  return arguments;
}

int parseAndExecute(Context const& context, std::vector<std::string> arguments) {
  CommandLine line(context);
  try {
    line.app().parse(parsed(std::move(arguments)));
    return line.execute();
  } catch (CLI::Success const& e) {
    // To CLI11 a kind of ParseError, which is caught behind it.
    line.app().exit(e, context.out, context.err);  // --help and --version
    return exitOk;
  } catch (CLI::ParseError const& e) {
    // The text names the option or word, CLI11's own too, and is told as it is.
    context.err << "kelbasectl: " << e.what() << "\nTry 'kelbasectl help'.\n";
    return exitUsage;
  }
}

int report(Context const& context, std::string_view what) {
  context.err << "kelbasectl: " << what << '\n';
  return exitError;
}

}  // namespace

int run(Context const& context, std::vector<std::string> arguments) {
  try {
    int const code = parseAndExecute(context, std::move(arguments));
    // Here, where a full disk can still be told: a destructor could not.
    context.out.flush();
    return code;
  } catch (std::filesystem::filesystem_error const& e) {
    return report(context, e.what());
  } catch (std::system_error const& e) {
    // Of the output alone (fd_output.h). Whoever reads the output may have read enough:
    // `kelbasectl show routes | head`.
    if (e.code() == std::errc::broken_pipe) return exitOk;
    return report(context, fmt::format("cannot write the output: {}", e.code().message()));
  } catch (std::exception const& e) {
    return report(context, e.what());
  }
}

}  // namespace Kelbase::Ctl
