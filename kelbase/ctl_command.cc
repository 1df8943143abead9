#include "kelbase/ctl_command.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <functional>
#include <ostream>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <system_error>

#include "kelbase/ctl_load.h"
#include "kelbase/ctl_show.h"
#include "kelbase/ctl_status.h"
#include "kelbase/ctl_table_view.h"
#include "platform/pondo/run_dir.h"

namespace Kelbase::Ctl {
namespace {

constexpr char const* mainExamples =
    "Examples:\n"
    "  kelbasectl status                          is the state kept, and how old is it\n"
    "  kelbasectl show links                      the interfaces that the agent knows\n"
    "  kelbasectl --json show links | jq '.[].name'\n"
    "  ip -json link | kelbasectl --rundir /tmp/try load -\n"
    "'kelbasectl COMMAND --help' tells more of a command.";

constexpr char const* statusExamples =
    "Exits with 0 when a publisher is alive, with 3 when the state is there but nobody keeps it,\n"
    "and with 1 when it cannot be read.\n"
    "Examples:\n"
    "  kelbasectl status\n"
    "  kelbasectl --json status | jq .publisher.ageSeconds";

constexpr char const* showExamples =
    "Examples:\n"
    "  kelbasectl show links\n"
    "  kelbasectl show forwarding --json";

constexpr char const* loadExamples =
    "Reads the outputs of 'ip -json link', 'ip -json address' and 'ip -json netconf'\n"
    "(also with -4 or -6), in any number of files. Replaces exactly the tables that they speak "
    "of,\n"
    "and writes nothing unless every file is good. Refused while a publisher runs.\n"
    "Examples:\n"
    "  ip -json link > links.json; ip -json netconf > netconf.json\n"
    "  kelbasectl --rundir /tmp/try load links.json netconf.json\n"
    "  ip netns exec blue ip -json link | kelbasectl --rundir /tmp/try load -";

std::string tableHelp() {
  std::string help = "Table to show:";
  for (TableView const& view : tableViews()) {
    help += fmt::format("\n{} ({})", view.name, view.help);
  }
  return help;
}

/// The parsed command line. CLI11 keeps pointers into it, so it stays where it is.
class CommandLine {
 public:
  explicit CommandLine(Context const& context) : context_(context) {
    app_.name("kelbasectl");
    app_.footer(mainExamples);
    app_.set_version_flag("--version", "kelbasectl " + context.version);
    app_.add_option("--rundir", runDir_, "Run directory of the publisher")
        ->type_name("DIR")
        ->capture_default_str();
    app_.add_flag("--json", json_, "Print JSON");
    app_.require_subcommand(1);
    app_.fallthrough();
    addStatus();
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
    added.callback([this, command = std::move(command)] { command_ = command; });
    return added;
  }

  void addStatus() {
    addCommand("status", "Tell whether a publisher keeps the state, and how old the state is",
               statusExamples, [this] { return status(context_, runDir_, json_); });
  }

  void addShow() {
    std::vector<std::string> names;
    for (TableView const& view : tableViews()) names.emplace_back(view.name);
    addCommand("show", "Show what a table holds", showExamples,
               [this] { return show(context_, runDir_, *findTableView(table_), json_); })
        .add_option("TABLE", table_, tableHelp())
        ->required()
        ->type_name("")
        ->check(CLI::IsMember(names));
  }

  void addLoad() {
    addCommand("load", "Load tables from the output of 'ip -json'", loadExamples,
               [this] { return load(context_, runDir_, files_, json_); })
        .add_option("FILE", files_, "Files to load; - is the standard input")
        ->required()
        ->type_name("");
  }

  Context const& context_;
  CLI::App app_{"Show and load the shared tables that kelbased publishes."};
  std::string runDir_ = Pondo::defaultRunDir().string();
  std::string table_;
  std::vector<std::string> files_;
  bool json_ = false;
  std::function<int()> command_;
};

int parseAndExecute(Context const& context, std::vector<std::string> arguments) {
  CommandLine line(context);
  try {
    std::ranges::reverse(arguments);  // CLI11 takes them from the back
    line.app().parse(std::move(arguments));
  } catch (CLI::ParseError const& e) {
    if (e.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
      line.app().exit(e, context.out, context.err);  // --help and --version
      return exitOk;
    }
    context.err << "kelbasectl: " << e.what() << "\nTry 'kelbasectl --help'.\n";
    return exitUsage;
  }
  return line.execute();
}

int report(Context const& context, std::string_view what) {
  context.err << "kelbasectl: " << what << '\n';
  return exitError;
}

}  // namespace

int run(Context const& context, std::vector<std::string> arguments) {
  try {
    int const code = parseAndExecute(context, std::move(arguments));
    context.out.flush();
    return code;
  } catch (std::system_error const& e) {
    if (e.code() == std::errc::broken_pipe) return exitOk;
    return report(context, fmt::format("cannot write the output: {}", e.code().message()));
  } catch (std::exception const& e) {
    return report(context, e.what());
  }
}

}  // namespace Kelbase::Ctl
