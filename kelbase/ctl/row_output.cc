#include "kelbase/ctl/row_output.h"

#include <algorithm>
#include <cstdint>
#include <ostream>
#include <string>
#include <variant>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "kelbase/publish/fec_view.h"

namespace Kelbase::Ctl {
namespace {

/// Never empty: a fec with a via of neither neighbour nor link is malformed (fib_codec.cc). In
/// iproute2's words, which an operator knows.
std::string hopText(ShownHop const& hop) {
  std::string text;
  if (!hop.nextHop.empty()) text += " via " + hop.nextHop;
  if (!hop.interface.empty()) text += " dev " + hop.interface;
  if (!hop.type.empty()) text += " " + hop.type;
  return text.substr(1);
}

std::string hopsText(ShownHops const& hops, std::size_t most) {
  std::string text;
  for (std::size_t i = 0; i < std::min(hops.size(), most); ++i) {
    text += (i > 0 ? ", " : "") + hopText(hops[i]);
  }
  if (hops.size() > most) text += fmt::format(" and {} more", hops.size() - most);
  return text;
}

/// "nh 12" of the kernel's nexthop object or group 12, "own" of a set that routes bring themselves.
std::string fecText(FecNumber fec) {
  if (fec.value == 0) return "";
  return fec.value < FecView::inlineFecMin ? fmt::format("nh {}", fec.value) : "own";
}

nlohmann::ordered_json hopsJson(ShownHops const& hops) {
  auto array = nlohmann::ordered_json::array();
  for (ShownHop const& hop : hops) {
    array.push_back({{"nextHop", hop.nextHop}, {"interface", hop.interface}});
    // Only there, as most sets have none: a script that asks for it gets null.
    if (!hop.type.empty()) array.back()["type"] = hop.type;
  }
  return array;
}

std::string cellText(Column const& column, Cell const& cell) {
  if (auto const* flag = std::get_if<bool>(&cell)) {
    return std::string(*flag ? column.on : column.off);
  }
  if (auto const* hops = std::get_if<ShownHops>(&cell)) return hopsText(*hops, column.hopsMax);
  if (auto const* number = std::get_if<std::int64_t>(&cell)) return fmt::to_string(*number);
  if (auto const* fec = std::get_if<FecNumber>(&cell)) return fecText(*fec);
  return std::get<std::string>(cell);
}

nlohmann::ordered_json cellJson(Cell const& cell) {
  if (auto const* hops = std::get_if<ShownHops>(&cell)) return hopsJson(*hops);
  if (auto const* number = std::get_if<std::int64_t>(&cell)) return *number;
  if (auto const* flag = std::get_if<bool>(&cell)) return *flag;
  if (auto const* fec = std::get_if<FecNumber>(&cell)) return fec->value;
  return std::get<std::string>(cell);
}

class TextOutput : public RowOutput {
 public:
  TextOutput(std::ostream& out, std::span<Column const> columns)
      : out_(out), columns_(columns), widths_(columns.size()), right_(columns.size()) {
    for (std::size_t i = 0; i < columns.size(); ++i) widths_[i] = columns[i].heading.size();
  }

  void write(std::span<Row const> rows) override {
    std::vector<std::vector<std::string>> lines;
    lines.reserve(rows.size());
    // Before the heading is written: the first rows make its columns as wide as they need.
    for (Row const& row : rows) lines.push_back(texts(row));
    writeHeading();
    for (auto const& line : lines) writeLine(line);
  }

  // A table without rows shows its columns.
  void end() override { writeHeading(); }

 private:
  std::vector<std::string> texts(Row const& row) {
    std::vector<std::string> line(row.size());
    for (std::size_t i = 0; i < row.size(); ++i) {
      line[i] = cellText(columns_[i], row[i]);
      widths_[i] = std::max(widths_[i], line[i].size());
      // Told by the cells: before the first row a column's kind is not known.
      right_[i] = std::holds_alternative<std::int64_t>(row[i]);
    }
    return line;
  }

  void writeHeading() {
    if (headed_) return;
    headed_ = true;
    std::vector<std::string> line;
    for (Column const& column : columns_) line.emplace_back(column.heading);
    writeLine(line);
  }

  void writeLine(std::vector<std::string> const& texts) {
    std::string line;
    for (std::size_t i = 0; i < texts.size(); ++i) {
      if (i > 0) line += "  ";
      line += right_[i] ? fmt::format("{:>{}}", texts[i], widths_[i])
                        : fmt::format("{:<{}}", texts[i], widths_[i]);
    }
    // The last column is not padded, however wide it was made.
    line.erase(line.find_last_not_of(' ') + 1);
    out_ << line << '\n';
  }

  std::ostream& out_;
  std::span<Column const> columns_;
  std::vector<std::size_t> widths_;
  std::vector<bool> right_;
  bool headed_ = false;
};

class JsonOutput : public RowOutput {
 public:
  JsonOutput(std::ostream& out, std::span<Column const> columns) : out_(out), columns_(columns) {}

  void write(std::span<Row const> rows) override {
    for (Row const& row : rows) {
      nlohmann::ordered_json object;
      for (std::size_t i = 0; i < row.size(); ++i) {
        object[std::string(columns_[i].name)] = cellJson(row[i]);
      }
      // The kernel takes any bytes for an interface name; JSON takes UTF-8 alone.
      out_ << (empty_ ? "[\n" : ",\n")
           << object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
      empty_ = false;
    }
  }

  void end() override { out_ << (empty_ ? "[]\n" : "\n]\n"); }

 private:
  std::ostream& out_;
  std::span<Column const> columns_;
  bool empty_ = true;
};

}  // namespace

std::unique_ptr<RowOutput> rowOutput(std::ostream& out, std::span<Column const> columns,
                                     bool json) {
  if (json) return std::make_unique<JsonOutput>(out, columns);
  return std::make_unique<TextOutput>(out, columns);
}

}  // namespace Kelbase::Ctl
