#pragma once
// The shared tables as an operator sees them: names, columns, and how to read them in slices. Every
// command goes through this list, so that a table is added here and nowhere else.
//
// A slice is read under one snapshot, at most Pondo::sliceMax records; the caller drops the
// snapshot before it writes what it has read (a pager may hold it up for hours), and goes on from
// the key that the slice returned. A whole table is therefore not the state of one moment when the
// publisher writes meanwhile; each slice is.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/pondo/environment/reader.h"

namespace Kelbase::Ctl {

/// One way to forward; either may be empty.
struct ShownHop {
  std::string nextHop;
  std::string interface;
  std::string type = {};  // of its route, where that is not that of the others
};
using ShownHops = std::vector<ShownHop>;

/// The number of a set of next hops; text tells whose it is.
struct FecNumber {
  std::uint64_t value = 0;
};

/// What a record has, before it is told as text or as JSON: the output decides how (row_output.h).
using Cell = std::variant<bool, std::int64_t, std::string, ShownHops, FecNumber>;
using Row = std::vector<Cell>;

struct Column {
  std::string_view heading;     // of the text form
  std::string_view name;        // of the JSON form; scripts rely on it
  std::string_view on = "yes";  // text of a bool
  std::string_view off = "no";
  std::size_t hopsMax = 128;  // that the text tells; the rest is counted
};

/// One table of an operator's; of the shared ones it may be two. Constants all: it has no state.
struct ShownTable {
  std::string_view name;
  // For `show` without a table, and for usage errors.
  std::string_view help;
  std::span<Column const> columns;
  /// Appends the slice's rows. Returns the key (bytes) to go on from, or nothing at the end.
  std::optional<std::string> (*readSlice)(Pondo::Snapshot const&, std::string_view from,
                                          std::vector<Row>& rows);
  /// As readSlice, counting alone; those that are malformed Reader::malformed() counts.
  std::optional<std::string> (*countSlice)(Pondo::Snapshot const&, std::string_view from,
                                           std::size_t& wellFormed);
};

/// A slice of two tables that are shown as one: `from` has the table's number before the key. A
/// slice never spans both: the end of the first is the beginning of the second.
template <class First, class Second>
std::optional<std::string> sliceOfTwo(std::string_view from, First const& first,
                                      Second const& second) {
  bool const inSecond = from.starts_with('2');
  auto const key = from.empty() ? from : from.substr(1);
  auto next = inSecond ? second(key) : first(key);
  if (next) return (inSecond ? '2' : '1') + *next;
  if (inSecond) return std::nullopt;
  return "2";
}

/// All of them, by name.
std::span<ShownTable const> shownTables();

/// Null when there is none. `name` in full: words.h has done with abbreviations.
ShownTable const* findShownTable(std::string_view name);

}  // namespace Kelbase::Ctl
