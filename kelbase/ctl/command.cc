#include "kelbase/ctl/command.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <functional>
#include <ostream>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <system_error>

#include "kelbase/ctl/generate.h"
#include "kelbase/ctl/generated_table.h"
#include "kelbase/ctl/load.h"
#include "kelbase/ctl/show.h"
#include "kelbase/ctl/status.h"
#include "kelbase/ctl/table_view.h"
#include "platform/pondo/environment/run_dir.h"

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
    "  kelbasectl show forwarding --json\n"
    "  kelbasectl show routes --to 192.0.2.7           the route that packets there take\n"
    "  kelbasectl show routes --within 198.51.0.0/16   that route and more specific ones";

constexpr char const* generateExamples =
    "Writes links gen0 to gen3, their addresses, next hops behind them and that many routes: the\n"
    "same for the same seed. Replaces what the run directory holds of these. Refused while a\n"
    "publisher runs. With --batch it prints input of 'ip -batch' instead, which gives a kernel\n"
    "the same routes.\n"
    "Examples:\n"
    "  kelbasectl --rundir /tmp/try generate --routes 1000000\n"
    "  ip netns add lab; kelbasectl generate --routes 10000 --batch | ip -n lab -batch -\n"
    "  kelbasectl generate --routes 10000 --batch --routes-only | sed 's/add/del/' |\n"
    "    ip -n lab -batch -";

constexpr char const* loadExamples =
    "Reads the outputs of 'ip -json link', 'ip -json address', 'ip -json netconf' (also with -4 "
    "or\n"
    "-6), 'ip -json -details route' and 'ip -json nexthop', in any number of files. Replaces\n"
    "exactly the tables that they speak of, and writes nothing unless every file is good. Refused\n"
    "while a publisher runs.\n"
    "Examples:\n"
    "  ip -json link > links.json; ip -json netconf > netconf.json\n"
    "  kelbasectl --rundir /tmp/try load links.json netconf.json\n"
    "  ip -json -details route > routes.json; kelbasectl load links.json routes.json\n"
    "  ip netns exec blue ip -json link | kelbasectl --rundir /tmp/try load -";

std::string tableHelp() {
  std::string help = "Table to show:";
  for (TableView const& view : tableViews()) {
    help += fmt::format("\n{} ({})", view.name, view.help);
  }
  return help;
}

/// Says why a text is none.
template <class Value>
CLI::Validator parsesAs() {
  return {[](std::string const& text) -> std::string {
            try {
              Value const value{std::string_view(text)};
              return {};
            } catch (Mav::RangeException const& e) {
              return e.what();
            }
          },
          ""};
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
    addGenerate();
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
    CLI::App& added = addCommand("show", "Show what a table holds", showExamples, [this] {
      return show(context_, runDir_, *findTableView(table_), routeQuestion(), json_);
    });
    added.add_option("TABLE", table_, tableHelp())
        ->required()
        ->type_name("")
        ->check(CLI::IsMember(names));
    auto* const within = added
                             .add_option("--within", within_,
                                         "Of routes: that of this prefix and more specific ones")
                             ->type_name("PREFIX")
                             ->check(parsesAs<Dovel::Prefix>());
    added.add_option("--to", to_, "Of routes: the one that packets to this address take")
        ->type_name("ADDRESS")
        ->check(parsesAs<Dovel::IpAddr>())
        ->excludes(within);
    added.parse_complete_callback([this] {
      if ((within_.empty() && to_.empty()) || table_ == "routes") return;
      throw CLI::ValidationError(within_.empty() ? "--to" : "--within", "is for routes alone");
    });
  }

  RouteQuestion routeQuestion() const {
    RouteQuestion question;
    if (!within_.empty()) question.within.emplace(std::string_view(within_));
    if (!to_.empty()) question.to.emplace(std::string_view(to_));
    return question;
  }

  void addLoad() {
    addCommand("load", "Load tables from the output of 'ip -json'", loadExamples,
               [this] { return load(context_, runDir_, files_, json_); })
        .add_option("FILE", files_, "Files to load; - is the standard input")
        ->required()
        ->type_name("");
  }

  void addGenerate() {
    CLI::App& added = addCommand("generate", "Make up an internet-like table of routes",
                                 generateExamples, [this] {
                                   generated_.json = json_;
                                   return generate(context_, runDir_, generated_);
                                 });
    added.add_option("--routes", generated_.routes, "How many, besides those of the links")
        ->type_name("N")
        ->capture_default_str()
        ->check(CLI::Range(std::uint64_t{0}, std::uint64_t{GeneratedTable::routesMax}));
    added.add_option("--seed", generated_.seed, "Which of all such tables")
        ->type_name("S")
        ->capture_default_str();
    auto* const batch =
        added.add_flag("--batch", generated_.batch, "Print input of 'ip -batch', write nothing");
    added.add_flag("--routes-only", generated_.routesOnly, "Print no links and addresses")
        ->needs(batch);
  }

  Context const& context_;
  CLI::App app_{"Show, load and make up the shared tables that kelbased publishes."};
  std::string runDir_ = Pondo::defaultRunDir().string();
  std::string table_;
  std::string within_;
  std::string to_;
  GenerateOptions generated_;
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
