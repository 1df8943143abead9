#pragma once
// Answers requests for the rows of a table that is kept in the order of its instances, with one
// descent a request, in the place of net-snmp's table helper and table iterator: these make a copy
// of the index list and of the request's table information for each step, and search from the first
// row on for an instance that is not there (a second of CPU for a dozen such requests at a million
// rows). A GETBULK too is one descent, and a step for each repetition.
//
// The table stays registered with both. Its handler finds its column and its data context in the
// request as ever. While the table's functions are traced, those that the iterator would call for a
// row are called as well, so that their lines are there: get-first with the hint of the row,
// make-data-context, the two that free. What they return decides nothing.
//
// A GET or SET that names no column goes on to net-snmp's helpers, which know what to say of it,
// and so does any other mode.
//
// Works on the raw sub-identifiers of a request, which need not parse as the table's indexes. On
// the agent's thread.

#include <memory>

#include "platform/snmp/row_walk.h"
#include "platform/snmp/sorted_rows.h"

namespace Snmp {

class RowServer {
 public:
  /// Of the table that `iterator` describes, complete with its indexes, and of its columns in
  /// ascending order; both must outlive it.
  RowServer(std::unique_ptr<SortedRows> rows, netsnmp_iterator_info& iterator,
            std::span<unsigned const> columns);
  ~RowServer();
  RowServer(RowServer const&) = delete;
  RowServer& operator=(RowServer const&) = delete;

  /// A handler to inject before all of net-snmp's own; null when there is no memory. The server
  /// must outlive it.
  netsnmp_mib_handler* createHandler();

 private:
  /// One call of the handler.
  struct Call {
    netsnmp_mib_handler* handler;
    netsnmp_mib_handler* table;  // the last of the chain
    netsnmp_handler_registration* registration;
    netsnmp_agent_request_info* info;
    View view;
    bool fitsAtOnce;  // all repetitions of a GETBULK, for certain

    /// To the next handler of the chain, which is net-snmp's own.
    int handOn(netsnmp_request_info* request) const;
    Instance root() const { return {registration->rootoid, registration->rootoid_len}; }
  };
  class Told;

  /// Where net-snmp comes in, with a list of requests. Each is settled alone; the first error is
  /// the status, and the requests behind it are answered all the same.
  static int handle(netsnmp_mib_handler* handler, netsnmp_handler_registration* registration,
                    netsnmp_agent_request_info* info, netsnmp_request_info* requests) noexcept;
  // Of one request; each gives the SNMP error status. A request that is left without a value goes
  // on to whatever the agent has registered behind this table.
  int settle(Call const& call, netsnmp_request_info* request);
  int get(Call const& call, netsnmp_request_info* request);
  int walk(Call const& call, netsnmp_request_info* request);
  int set(Call const& call, netsnmp_request_info* request);
  int answerAbsent(Call const& call, netsnmp_request_info* request, CellPlace const& place);
  int answer(Call const& call, netsnmp_request_info* request, unsigned column);
  /// Has the table's own handler answer, with `row` for its data context; null of a row that is
  /// absent.
  int callTable(Call const& call, netsnmp_request_info* request, unsigned column, void* row);
  void tellEnd();

  std::unique_ptr<SortedRows> const rows_;
  netsnmp_iterator_info& iterator_;
  std::span<unsigned const> const columns_;
  netsnmp_variable_list* found_ = nullptr;  // the indexes of a row, as get-first puts them
  netsnmp_table_request_info hint_{};       // its indexes are those of the row that is told of
};

}  // namespace Snmp
