#pragma once
// The rows of a table as the row server goes through them: the collection of an entity, in the
// order of its instances, which is that of its keys. table_frame.h tells what a `Table` is.
//
// Holds the row that a request is answered from, and, during a call of the handler, the one that
// was found last. On the agent's thread.
//
// The row of the last find is kept until forget(), which ends the handler's call: requests of one
// call that ask for several columns of a row find it once.

#include <algorithm>
#include <array>
#include <compare>
#include <tuple>
#include <type_traits>
#include <vector>

#include "handlers/table/table_column.h"
#include "handlers/table/table_index.h"
#include "handlers/trace.h"
#include "platform/snmp/set_value.h"
#include "platform/snmp/sorted_rows.h"

namespace IpSnmp {

/// In the order of the MIB, which is that of the instance.
template <class Table, class Call>
void forEachIndex(Call const& call) {
  std::apply([&](auto const&... index) { (call(index), ...); }, Table::indexes);
}

/// Gives the variable the index's value, of that type; false for want of memory.
template <class Index, class Key>
bool setIndex(Index const& index, unsigned char type, Key const& key,
              netsnmp_variable_list* variable) {
  std::array<unsigned char, columnBufferSize> buffer;
  auto const length = Index::Syntax::convert(index.get(key), buffer.data(), buffer.size());
  return variable && Snmp::setVarTypedValue(variable, type, buffer.data(), length);
}

template <class Table>
class TableRows : public Snmp::SortedRows {
  using Entity = typename Table::Entity;
  using Rows = typename Table::Rows;
  using Row = typename Table::Row;
  using Key = typename Rows::Key;

  /// The sub-identifiers of the key, one by one: no instance is made to compare with one.
  template <class Visitor>
  static void visit(Visitor& visitor, Key const& key) {
    forEachIndex<Table>([&](auto const& index) {
      std::remove_cvref_t<decltype(index)>::Syntax::visit(visitor, index.get(key));
    });
  }
  /// Where an instance stands among the keys. The order that a descent of the collection asks of
  /// each key on its way.
  struct Sought {
    Snmp::Instance instance;
    std::strong_ordering operator()(Key const& key) const {
      Snmp::InstanceOrder order(instance);
      visit(order, key);
      return order.result();
    }
  };

 public:
  /// `entity` may be null: then there are no rows.
  explicit TableRows(Entity const* entity) : entity_(entity) {}

  // `at` and `atOrAfter` are one search, told apart by the row that it finds.
  bool find(Snmp::Instance instance, Search search) override {
    if (!entity_) return false;
    Sought const sought{instance};
    bool const isBehind = search == Search::after;
    if (!isFound_ || isBehind != isFoundBehind_ || !std::ranges::equal(instance, foundFor_)) {
      auto const& rows = Table::rows(*entity_);
      found_ = isBehind ? rows.firstAfter(sought) : rows.firstAtOrAfter(sought);
      foundFor_.assign(instance.begin(), instance.end());
      isFoundBehind_ = isBehind;
      isFound_ = true;
    }
    // A copy: steps move the one, and the next column of the same row begins at the other again.
    row_ = found_;
    return row_ && (search != Search::at || sought(row_.key()) == 0);
  }
  // From the row on, not from found_: a GETBULK steps on, and found_ stays where the search ended.
  bool next() override { return static_cast<bool>(++row_); }
  // With the entry that it holds, which would live on, erased or not, until the next request.
  void leave() override { row_ = end_; }
  // With the entry, too, if it holds one: between two calls nothing of a table is kept alive.
  void forget() override {
    found_ = end_;
    isFound_ = false;
  }

  std::size_t instance(std::span<oid> out) const override {
    Snmp::InstanceWriter writer(out);
    visit(writer, row_.key());
    return writer.size();
  }
  // Where it stands, in this object: valid for one call of the table's handler.
  void* row() override { return &row_; }
  // With the declared types, as a hint of net-snmp's own has them.
  bool setIndexes(netsnmp_variable_list* variables) const override {
    bool complete = true;
    forEachIndex<Table>([&](auto const& index) {
      using Syntax = typename std::remove_cvref_t<decltype(index)>::Syntax;
      complete = complete && setIndex(index, Syntax::declaredType, row_.key(), variables);
      if (variables) variables = variables->next_variable;
    });
    return complete;
  }
  bool isTraced() const override { return snmpTraceHandle().enabled(2); }

 private:
  // Mounted longer than its table is registered.
  Entity const* const entity_;
  // Copied, not made each time: GCC 12 takes the unused octets of a new key for a fault.
  Row const end_;
  Row row_;

  bool isFound_ = false;  // what the last find() in this call came to
  bool isFoundBehind_ = false;
  // Its memory stays: a search allocates only for the longest instance so far.
  std::vector<oid> foundFor_;
  Row found_;
};

}  // namespace IpSnmp
