#include "kelbase/ctl/words.h"

#include <algorithm>

#include <CLI/Error.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

namespace Kelbase::Ctl {
namespace {

using Arguments = std::vector<std::string>;

/// The next argument from `from` on that is a word: no option, nor an option's value.
Arguments::iterator nextWord(Arguments& arguments, Arguments::iterator from) {
  // Those that command.cc gives a value: what follows one of them is no word.
  constexpr std::string_view withValue[] = {"--rundir", "--to", "--within", "--agent",
                                            "--community"};
  for (auto at = from; at != arguments.end(); ++at) {
    // "-" alone is the standard input, a word of `load`.
    if (!at->starts_with('-') || *at == "-") return at;
    if (std::ranges::find(withValue, *at) != std::end(withValue) && ++at == arguments.end()) break;
  }
  return arguments.end();
}

}  // namespace

std::string_view wordMeant(std::string_view what, std::string_view given,
                           std::span<std::string_view const> known) {
  std::vector<std::string_view> meant;
  for (auto const word : known) {
    // One that is whole is meant, though another begins with it.
    if (word == given) return word;
    if (word.starts_with(given)) meant.push_back(word);
  }
  if (meant.size() == 1) return meant.front();
  // An empty word begins every other: it abbreviates none.
  if (meant.empty() || given.empty()) {
    throw CLI::ValidationError(
        fmt::format("no such {}: '{}'; there are {}", what, given, fmt::join(known, ", ")));
  }
  throw CLI::ValidationError(fmt::format("'{}' may be {}", given, fmt::join(meant, " or ")));
}

Arguments inFull(Arguments arguments, std::span<std::string_view const> commands,
                 std::span<std::string_view const> tables) {
  auto const command = nextWord(arguments, arguments.begin());
  if (command == arguments.end()) return arguments;
  *command = wordMeant("command", *command, commands);
  auto const word = nextWord(arguments, command + 1);
  if (*command == "show" && word != arguments.end()) *word = wordMeant("table", *word, tables);
  if (*command != "help") return arguments;
  // What else stands in the line is given up: help tells the same whatever it says.
  if (word == arguments.end()) return {"--help"};
  return {std::string(wordMeant("command", *word, commands)), "--help"};
}

}  // namespace Kelbase::Ctl
