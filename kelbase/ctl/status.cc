#include "kelbase/ctl/status.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <ostream>
#include <utility>

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

using Json = nlohmann::ordered_json;
using Pondo::Keeping;

constexpr std::array<Column, 2> counterColumns{{
    {"COUNTED", "name"},
    {"SINCE THE START", "count"},
}};

constexpr std::array<Column, 3> tableColumns{{
    {"TABLE", "name"},
    {"RECORDS", "records"},
    {"MALFORMED", "malformed"},
}};

Status::Table countTable(Pondo::Reader const& reader, ShownTable const& table) {
  std::size_t wellFormed = 0;
  auto const malformedBefore = reader.malformed();
  std::optional<std::string> from = "";
  // A snapshot for each slice: a million records take a while, and the publisher needs the pages.
  while (from) from = table.countSlice(reader.snapshot(), *from, wellFormed);
  auto const malformed = static_cast<std::size_t>(reader.malformed() - malformedBefore);
  return {table.name, wellFormed + malformed, malformed};
}

void readTables(Status& status) {
  Pondo::Reader const reader(status.runDir);
  // Of before the counting: what is counted is of this generation or of later ones.
  std::uint64_t const generation = reader.snapshot().generation();
  for (ShownTable const& table : shownTables()) status.tables.push_back(countTable(reader, table));
  // Shown as no tables of their own (ShownTable), and counted for `check` alone.
  status.addresses4 = reader.snapshot().count(Pondo::TableId::address4);
  status.resolvedNeighbours = reader.snapshot().count(Pondo::TableId::neighbour4);
  // Set when all has been read: without it nothing of the tables is shown.
  status.generation = generation;
  status.origin = reader.snapshot().origin();
}

std::string timeText(double epoch) {
  auto const seconds = static_cast<std::time_t>(epoch);
  std::tm local{};
  if (::localtime_r(&seconds, &local) == nullptr) return "at an unknown time";
  return fmt::format("{:%Y-%m-%d %H:%M:%S %z}", local);
}

// A clock that was set back meanwhile makes nothing younger than new.
double age(double now, double then) { return std::max(0.0, now - then); }

std::string livenessText(Keeping keeping) {
  if (keeping == Keeping::gone) return "gone";
  return keeping == Keeping::still ? "stands still" : "alive";
}

std::string stateText(Pondo::PublisherInfo const& publisher, double now) {
  std::string const old = spanText(publisher.age(now)) + " old";
  switch (publisher.keeping(now)) {
    case Keeping::exact:
      return "exact";
    case Keeping::gone:
      return old + ", kept by nobody";
    case Keeping::still:
      return old + ", the publisher stands still";
    case Keeping::starting:
      return "not exact yet: " + publisher.trouble;
    case Keeping::behind:
      break;
  }
  return fmt::format("{}, not exact: {}", old, publisher.trouble);
}

std::string coloured(Context const& context, bool good, std::string const& text) {
  // Whoever sets it, to anything, wants none (no-color.org).
  if (!context.outTerminal || std::getenv("NO_COLOR") != nullptr) return text;
  return fmt::format("\033[{}m{}\033[0m", good ? 32 : 31, text);
}

void printTime(std::ostream& out, std::string_view label, double then, double now) {
  out << fmt::format("{:<15}{}, {} ago\n", label, timeText(then), spanText(age(now, then)));
}

void printPublisher(Context const& context, Status const& status) {
  // Where that is known there is no lock file; else it could not be read.
  if (!status.publisher) {
    context.out << "publisher      "
                << (status.publisherKnown ? "none has been here\n" : "not known\n");
    return;
  }
  Pondo::PublisherInfo const& publisher = *status.publisher;
  double const now = context.epoch();
  auto const keeping = publisher.keeping(now);
  bool const good = keeping == Keeping::exact;
  context.out << fmt::format("publisher      {}{}{}, pid {}, {}\nstate          {}\n",
                             publisher.name, publisher.version.empty() ? "" : " ",
                             publisher.version, publisher.pid,
                             coloured(context, good, livenessText(keeping)),
                             coloured(context, good, stateText(publisher, now)));
  // A publisher that has never been exact tells 0.
  if (publisher.exactAt.value_or(0) > 0)
    printTime(context.out, "last exact", *publisher.exactAt, now);
  printTime(context.out, "last seen", publisher.seenAt, now);
  printTime(context.out, "started", publisher.startedAt, now);
}

// "snmpd, pid 812, version 0.1.0, schema 5, generation 7, 0 resyncs, 0 bad records"
void printReaders(std::ostream& out, Pondo::ReaderReports const& reports) {
  for (auto const& [program, version, pid, schema, generation, resyncs, bad] : reports.readers) {
    out << fmt::format(
        "{:<15}{}, pid {}, version {}, schema {}, generation {}, {} resync{}, {} bad record{}\n",
        "reader", program, pid, version, schema, generation, resyncs, resyncs == 1 ? "" : "s", bad,
        bad == 1 ? "" : "s");
  }
  if (reports.malformed > 0)
    out << fmt::format("{:<15}{} more, which tell what cannot be\n", "reader", reports.malformed);
}

void printRows(std::ostream& out, std::span<Column const> columns, std::vector<Row> const& rows) {
  auto const output = rowOutput(out, columns, false);
  output->write(rows);
  output->end();
}

void printCounters(std::ostream& out, Pondo::Counters const& counters) {
  if (counters.empty()) return;
  std::vector<Row> rows;
  for (auto const& [name, count] : counters)
    rows.push_back({name, static_cast<std::int64_t>(count)});
  out << '\n';
  printRows(out, counterColumns, rows);
}

void printTables(std::ostream& out, Status const& status) {
  if (!status.generation) return;
  std::vector<Row> rows;
  for (auto const& [name, records, malformed] : status.tables) {
    rows.push_back({std::string(name), static_cast<std::int64_t>(records),
                    static_cast<std::int64_t>(malformed)});
  }
  out << '\n';
  printRows(out, tableColumns, rows);
}

void printText(Context const& context, Status const& status) {
  context.out << "run directory  " << status.runDir.string() << status.runDirNote << '\n';
  if (status.runDirPresent) printPublisher(context, status);
  if (status.generation) {
    context.out << "schema         " << Pondo::Format::schemaVersion << '\n'
                << "generation     " << *status.generation << '\n';
  }
  printReaders(context.out, status.readers);
  printTables(context.out, status);
  if (status.publisher) printCounters(context.out, status.publisher->counters);
}

Json publisherJson(Pondo::PublisherInfo const& publisher, double now) {
  Json json{{"name", publisher.name},
            {"version", publisher.version},
            {"pid", publisher.pid},
            {"alive", publisher.alive},
            {"exact", publisher.keeping(now) == Keeping::exact},
            {"startedAt", publisher.startedAt},
            {"seenAt", publisher.seenAt},
            {"exactAt", publisher.exactAt ? Json(*publisher.exactAt) : Json()},
            {"ageSeconds", publisher.age(now)},
            {"trouble", publisher.trouble.empty() ? Json() : Json(publisher.trouble)},
            {"counters", Json::object()}};
  for (auto const& [name, count] : publisher.counters) json["counters"][name] = count;
  return json;
}

Json readersJson(Pondo::ReaderReports const& reports) {
  auto array = Json::array();
  for (auto const& reader : reports.readers) {
    array.push_back({{"program", reader.program},
                     {"pid", reader.pid},
                     {"version", reader.version},
                     {"schema", reader.schema},
                     {"generation", reader.generation},
                     {"resyncs", reader.resyncs},
                     {"badRecords", reader.badRecords}});
  }
  return array;
}

char const* originText(Pondo::Origin origin) {
  if (origin == Pondo::Origin::kernel) return "kernel";
  return origin == Pondo::Origin::files ? "files" : "nobody";
}

void printJson(Context const& context, Status const& status) {
  auto tables = Json::array();
  for (auto const& [name, records, malformed] : status.tables) {
    tables.push_back({{"name", name}, {"records", records}, {"malformed", malformed}});
  }
  bool const areRead = status.generation.has_value();
  // Every member is there in every case: a script can tell null from a misspelt name.
  Json const json{
      {"runDir", status.runDir.string()},
      {"runDirPresent", status.runDirPresent},
      {"publisher", status.publisher ? publisherJson(*status.publisher, context.epoch()) : Json()},
      {"schema", areRead ? Json(Pondo::Format::schemaVersion) : Json()},
      {"generation", areRead ? Json(*status.generation) : Json()},
      {"origin", areRead ? Json(originText(status.origin)) : Json()},
      {"readers", readersJson(status.readers)},
      {"tables", std::move(tables)},
      {"error", status.error.empty() ? Json() : Json(status.error)}};
  context.out << json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
}

}  // namespace

Status readStatus(std::filesystem::path const& runDir) {
  Status status;
  status.runDir = runDir;
  std::error_code error;
  status.runDirPresent = std::filesystem::is_directory(runDir, error);
  if (error == std::errc::permission_denied) {
    status.runDirNote = " (no permission to look)";
  } else if (!status.runDirPresent) {
    status.runDirNote = " (absent)";
  }
  // Before what may throw: readers live on where the tables cannot be read.
  status.readers = Pondo::readerReports(runDir);
  try {
    status.publisher = Pondo::publisherInfo(runDir);
    status.publisherKnown = true;
    readTables(status);
  } catch (Mav::Exception const& e) {
    status.error = e.what();
    // A part of the tables would be taken for all of them.
    status.tables.clear();
  }
  return status;
}

int status(Context const& context, std::filesystem::path const& runDir, bool json) {
  Status const status = readStatus(runDir);
  // Printed whatever was read: what is known of the publisher helps most where the tables fail.
  (json ? printJson : printText)(context, status);
  if (!status.error.empty()) {
    context.err << "kelbasectl: " << status.error << '\n';
    return exitError;
  }
  return status.kept(context.epoch()) ? exitOk : exitUnkept;
}

std::string spanText(double seconds) {
  if (seconds < 10.0) return fmt::format("{:.1f} s", seconds);
  // A unit and the one below it: two tell as much as anybody wants to know.
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
