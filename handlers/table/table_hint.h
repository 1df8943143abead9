#pragma once
// The hint of a get-first: the table's part of the request, with the indexes of the row that the
// iteration shall begin at. It comes from net-snmp's iterator, or from the row server while this is
// traced. table_frame.h tells what a `Table` is. On snmpd's thread; keeps nothing.
//
// For a GETNEXT of ipAdEntIfIndex.10.0.0.1 it is one variable, the IpAddress 10.0.0.1; the key made
// of it is that of the row, and the iteration begins there.
//
// A hint is outside data: each component is checked for its type and its range before a key is made
// of it. One that names no key is told and dropped; the iteration then begins at the first row, and
// the answer is the same. Only the cost differs.

#include <optional>
#include <string>
#include <tuple>
#include <utility>

#include "handlers/table/table_index.h"
#include "handlers/table/table_requests.h"
#include "handlers/trace.h"
#include "platform/mav/type_name.h"
#include "platform/snmp/set_value.h"

namespace IpSnmp {

template <class Table>
class TableHint {
 public:
  // The key has a constructor of all index components in their order (model/).
  using Key = typename Table::Rows::Key;
  using Request = netsnmp_table_request_info;

  /// The key that the hint names, which may be null. Nothing, and a trace, when it names none.
  static std::optional<Key> key(Request const* hint);

 private:
  static constexpr std::size_t indexCount = std::tuple_size_v<decltype(Table::indexes)>;
  static constexpr auto indexSequence = std::make_index_sequence<indexCount>();
  // Of the traces: a hint is read in get-first, and told as a part of it.
  static constexpr auto function = functionName<Table>("_get_first_data_point");

  /// The key of all components; nothing as soon as one is missing or odd.
  template <std::size_t... i>
  static std::optional<Key> keyOf(netsnmp_variable_list const* variable,
                                  std::index_sequence<i...> /*sequence*/);
  /// One component; nothing, and a trace, when it has another type than declared or is out of
  /// range.
  template <class Index>
  static auto component(Index const& index, netsnmp_variable_list const& variable)
      -> std::optional<typename Index::Syntax::Value>;
};

#define HINT_TRACE(level, stream)                         \
  MAV_TRACE_AS(snmpTraceHandle(), level, function.data(), \
               stream) /* NOLINT(bugprone-macro-parentheses) */

template <class Table>
auto TableHint<Table>::key(Request const* hint) -> std::optional<Key> {
  unsigned const count = hint ? hint->number_indexes : 0;
  HINT_TRACE(2, function.data() << " - *hint = " << static_cast<void const*>(hint)
                                << ", number_indexes = " << count);
  if (!hint || count != indexCount) {
    HINT_TRACE(
        2, function.data() << " - needed " << indexCount << " components, found only " << count);
    return std::nullopt;
  }
  return keyOf(hint->indexes, indexSequence);
}

template <class Table>
template <std::size_t... i>
auto TableHint<Table>::keyOf(netsnmp_variable_list const* variable,
                             std::index_sequence<i...> /*sequence*/) -> std::optional<Key> {
  using Indexes = decltype(Table::indexes);
  // By type of the index list: the key's constructor takes them in this order.
  std::tuple<std::optional<typename std::tuple_element_t<i, Indexes>::Syntax::Value>...> values;
  auto const decode = [&](auto const& index, auto& value) {
    if (variable) value = component(index, *variable);
    if (value) variable = variable->next_variable;
    return value.has_value();
  };
  // From left to right, as && goes: each one moves on in the list of variables.
  bool const complete = (decode(std::get<i>(Table::indexes), std::get<i>(values)) && ...);
  if (!complete) return std::nullopt;
  try {
    return Key(*std::get<i>(values)...);
  } catch (std::exception const& e) {
    // Each component fits its type, and yet no row can have all of them, as an ipv4 address of 16
    // octets.
    HINT_TRACE(0, "Bad hint for " << Table::name << ": " << Mav::typeName<Key>()
                                  << " ctor threw exception: " << e.what());
    return std::nullopt;
  }
}

template <class Table>
template <class Index>
auto TableHint<Table>::component(Index const& index, netsnmp_variable_list const& variable)
    -> std::optional<typename Index::Syntax::Value> {
  using Syntax = typename Index::Syntax;
  auto const trace = [](int level, auto const& text) { HINT_TRACE(level, text); };
  auto const traceComponent = [&](auto const& value) {
    HINT_TRACE(2, "hint component " << index.name << " is '" << value << "'");
  };
  // Before decode(), which reads the value as one of the declared type.
  if (variable.type != Syntax::declaredType) {
    // As it came: it cannot be read as what it should be.
    traceComponent(Snmp::printedValue(variable));
    trace(0, "hint for " + std::string(index.name) + " has incorrect type! Expecting " +
                 std::to_string(Syntax::declaredType) + " but got " +
                 std::to_string(variable.type));
    return std::nullopt;
  }
  try {
    auto const value = Syntax::decode(variable);
    traceComponent(value);
    return value;
  } catch (Mav::RangeException const& e) {
    traceComponent(Snmp::printedValue(variable));
    trace(0, "hint for index " + std::string(index.name) + " of " + std::string(Table::name) +
                 " is out of range! " + e.what());
    return std::nullopt;
  }
}

#undef HINT_TRACE

}  // namespace IpSnmp
