#include "kelbase/ctl/status.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <ostream>

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <system_error>

#include "kelbase/ctl/row_output.h"
#include "platform/pondo/environment/errors.h"
#include "platform/pondo/environment/reader.h"
#include "platform/pondo/tables/format.h"

namespace Kelbase::Ctl {
namespace {

// A publisher shows a sign of life once a second; one that is alive and silent for longer than
// this is stopped, or starved.
constexpr double silentAfter = 10.0;

constexpr std::array<Column, 3> tableColumns{{
    {"TABLE", "name"},
    {"RECORDS", "records"},
    {"MALFORMED", "malformed"},
}};

Counts countTable(Pondo::Reader const& reader, TableView const& view) {
  Counts counts;
  std::optional<std::string> from = "";
  while (from) from = view.countSlice(reader.snapshot(), *from, counts);
  return counts;
}

void readTables(Status& status) {
  Pondo::Reader const reader(status.runDir);
  std::uint64_t const generation = reader.snapshot().generation();
  for (TableView const& view : tableViews()) {
    status.tables.push_back({view.name, countTable(reader, view)});
  }
  status.generation = generation;
}

std::string timeText(double epoch) {
  auto const seconds = static_cast<std::time_t>(epoch);
  std::tm local{};
  if (::localtime_r(&seconds, &local) == nullptr) return "at an unknown time";
  return fmt::format("{:%Y-%m-%d %H:%M:%S %z}", local);
}

/// Clocks of the file system and of the process may differ by a tick.
double age(double now, double then) { return std::max(0.0, now - then); }

std::string livenessText(Pondo::PublisherInfo const& publisher, double now) {
  if (!publisher.alive) return "not running";
  double const silent = age(now, publisher.seenAt);
  if (silent <= silentAfter) return "alive";
  return fmt::format("alive, but silent for {}", spanText(silent));
}

std::string coloured(Context const& context, bool good, std::string const& text) {
  if (!context.outTerminal || std::getenv("NO_COLOR") != nullptr) return text;
  return fmt::format("\033[{}m{}\033[0m", good ? 32 : 31, text);
}

void printPublisher(Context const& context, Status const& status) {
  if (!status.publisher) {
    context.out << "publisher      none has been here\n";
    return;
  }
  Pondo::PublisherInfo const& publisher = *status.publisher;
  double const now = context.epoch();
  std::string const liveness = livenessText(publisher, now);
  auto const line = [&](std::string_view label, double then) {
    context.out << fmt::format("{:<15}{}, {} ago\n", label, timeText(then),
                               spanText(age(now, then)));
  };
  context.out << fmt::format("publisher      {}, pid {}, {}\n", publisher.name, publisher.pid,
                             coloured(context, liveness == "alive", liveness));
  line("started", publisher.startedAt);
  line("last seen", publisher.seenAt);
}

void printText(Context const& context, Status const& status) {
  context.out << "run directory  " << status.runDir.string()
              << (status.runDirPresent ? "\n" : " (absent)\n");
  if (status.runDirPresent) printPublisher(context, status);
  if (!status.generation) return;
  context.out << "schema         " << Pondo::Format::schemaVersion << '\n'
              << "generation     " << *status.generation << "\n\n";
  std::vector<Row> rows;
  for (auto const& table : status.tables) {
    rows.push_back({std::string(table.name), static_cast<std::int64_t>(table.counts.records),
                    static_cast<std::int64_t>(table.counts.malformed)});
  }
  auto const output = textOutput(context.out, tableColumns);
  output->write(rows);
  output->end();
}

nlohmann::ordered_json publisherJson(Pondo::PublisherInfo const& publisher, double now) {
  return {{"name", publisher.name},     {"pid", publisher.pid},
          {"alive", publisher.alive},   {"startedAt", publisher.startedAt},
          {"seenAt", publisher.seenAt}, {"ageSeconds", age(now, publisher.seenAt)}};
}

void printJson(Context const& context, Status const& status) {
  nlohmann::ordered_json json;
  json["runDir"] = status.runDir.string();
  json["runDirPresent"] = status.runDirPresent;
  json["publisher"] = nullptr;
  if (status.publisher) json["publisher"] = publisherJson(*status.publisher, context.epoch());
  json["schema"] = nullptr;
  json["generation"] = nullptr;
  if (status.generation) {
    json["schema"] = Pondo::Format::schemaVersion;
    json["generation"] = *status.generation;
  }
  json["tables"] = nlohmann::ordered_json::array();
  for (auto const& table : status.tables) {
    json["tables"].push_back({{"name", table.name},
                              {"records", table.counts.records},
                              {"malformed", table.counts.malformed}});
  }
  json["error"] = nullptr;
  if (!status.error.empty()) json["error"] = status.error;
  context.out << json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
}

}  // namespace

Status readStatus(std::filesystem::path const& runDir) {
  Status status;
  status.runDir = runDir;
  std::error_code ignored;
  status.runDirPresent = std::filesystem::is_directory(runDir, ignored);
  try {
    status.publisher = Pondo::publisherInfo(runDir);
    readTables(status);
  } catch (Mav::Exception const& e) {
    status.error = e.what();
    status.tables.clear();
  }
  return status;
}

int status(Context const& context, std::filesystem::path const& runDir, bool json) {
  Status const status = readStatus(runDir);
  if (json) {
    printJson(context, status);
  } else {
    printText(context, status);
  }
  if (!status.error.empty()) {
    context.err << "kelbasectl: " << status.error << '\n';
    return exitError;
  }
  return status.kept() ? exitOk : exitUnkept;
}

std::string spanText(double seconds) {
  if (seconds < 10.0) return fmt::format("{:.1f} s", seconds);
  struct Unit {
    std::int64_t seconds;
    std::string_view name, lesser;
    std::int64_t lesserSeconds;
  };
  static constexpr std::array<Unit, 3> units{{
      {86'400, "d", "h", 3'600},
      {3'600, "h", "min", 60},
      {60, "min", "s", 1},
  }};
  auto const whole = static_cast<std::int64_t>(seconds);
  for (Unit const& unit : units) {
    if (whole < unit.seconds) continue;
    return fmt::format("{} {} {} {}", whole / unit.seconds, unit.name,
                       whole % unit.seconds / unit.lesserSeconds, unit.lesser);
  }
  return fmt::format("{} s", whole);
}

}  // namespace Kelbase::Ctl
