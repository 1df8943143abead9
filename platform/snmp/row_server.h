#pragma once
// Answers requests for the rows of a table that is kept in the order of its instances, with one
// descent a request, in the place of net-snmp's table helper and table iterator: these make a copy
// of the index list and of the request's table information for each step, and search from the first
// row on for an instance that is not there (a second of CPU for a dozen such requests at a million
// rows).
//
// The table stays registered with both, and is served by the callbacks that the iterator would
// call: get-first with the hint of the row that a request asks for, make-data-context, the two
// functions that free, and the table's handler, which finds its column and its data context in the
// request as ever. A request that names no column of the table, and is no GETNEXT, goes on to
// net-snmp's helpers, which know what to say of it. So does one whose row get-first does not find
// by the hint.
//
// Works on the raw sub-identifiers of a request, which need not parse as the table's indexes. On
// the agent's thread.

#include <span>

#include "platform/snmp/instance_order.h"
#include "platform/snmp/net_snmp.h"

namespace Snmp {

/// The rows of one table.
struct SortedRows {
  enum class Search { at, atOrAfter, after };

  void const* source = nullptr;  // what the table is made of; null: it has no rows

  /// Sets `indexes`, variables of the table's index, to those of the first row that stands so to
  /// `instance`. False when there is none, or no memory. Does one descent; must not throw.
  bool (*find)(void const* source, Instance instance, Search search,
               netsnmp_variable_list* indexes) = nullptr;
};

class RowServer {
 public:
  /// Of the table that `iterator` describes, complete with its indexes, and of its columns in
  /// ascending order; all must outlive it.
  RowServer(SortedRows rows, netsnmp_iterator_info& iterator, std::span<unsigned const> columns);
  ~RowServer();
  RowServer(RowServer const&) = delete;
  RowServer& operator=(RowServer const&) = delete;

  /// A handler to inject before TABLE_HANDLER_NAME; null when there is no memory. The server must
  /// outlive it.
  netsnmp_mib_handler* createHandler();

 private:
  /// What a request names in the table.
  struct Place {
    unsigned column = 0;  // 0: past the last
    Instance instance;    // empty: before the first row
  };
  /// One call of the handler.
  struct Call {
    netsnmp_mib_handler* handler;
    netsnmp_handler_registration* registration;
    netsnmp_agent_request_info* info;

    int handOn(netsnmp_request_info* request) const;
  };
  class Row;

  static int handle(netsnmp_mib_handler* handler, netsnmp_handler_registration* registration,
                    netsnmp_agent_request_info* info, netsnmp_request_info* requests) noexcept;
  int settle(Call const& call, netsnmp_request_info* request);
  int get(Call const& call, netsnmp_request_info* request, Place const& place);
  int getNext(Call const& call, netsnmp_request_info* request);
  int answer(Call const& call, netsnmp_request_info* request, Row const& row);
  int callTable(Call const& call, netsnmp_request_info* request, unsigned column, void* row);

  Place named(Call const& call, netsnmp_request_info const& request) const;
  Place following(Call const& call, netsnmp_request_info const& request) const;
  unsigned columnFrom(oid least) const;
  bool find(Instance instance, SortedRows::Search search) const;

  SortedRows const rows_;
  netsnmp_iterator_info& iterator_;
  std::span<unsigned const> columns_;
  netsnmp_variable_list* found_ = nullptr;  // the indexes of a row, as get-first puts them
  netsnmp_table_request_info hint_{};       // its indexes are those of the row to be found
};

}  // namespace Snmp
