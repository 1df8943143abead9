#pragma once
// The bodies of a table's eight functions (table_functions.h), over its frame (table_frame.h). Only
// the source of a table includes them, and makes them once:
//
//   template class TableFunctions<IpAddrTable>;
//
// net-snmp calls all but initialize(), on snmpd's thread, and has C frames below: here exceptions
// of the frame end.
//
// Null is what net-snmp's iterator takes for the end of a table: a walk that meets a fault ends
// there, what stands behind it is missing until the next walk, and the daemon lives. The name of
// each function is joined while compiling: a call that nobody traces pays nothing for it.

#include "handlers/table/table_frame.h"
#include "handlers/table/table_functions.h"
#include "platform/snmp/callback.h"

namespace IpSnmp {

template <class Table>
void TableFunctions<Table>::initialize() {
  netsnmp_iterator_info callbacks{};
  callbacks.get_first_data_point = getFirstDataPoint;
  callbacks.get_next_data_point = getNextDataPoint;
  callbacks.make_data_context = makeDataContext;
  callbacks.free_data_context = freeDataContext;
  callbacks.free_loop_context_at_end = freeLoopContextAtEnd;
  TableFrame<Table>::initialize(callbacks, handler);
}

template <class Table>
netsnmp_variable_list* TableFunctions<Table>::getFirstDataPoint(
    void** loopContext, void** /*dataContext*/, netsnmp_variable_list* putIndexData,
    netsnmp_iterator_info* info) noexcept {
  static constexpr auto name = functionName<Table>("_get_first_data_point");
  return Snmp::guardedOr<netsnmp_variable_list*>(name.data(), nullptr, [&] {
    // The data context stays as it is: make-data-context gives one for the row that net-snmp
    // chooses.
    return TableFrame<Table>::first(loopContext, putIndexData, info);
  });
}

template <class Table>
netsnmp_variable_list* TableFunctions<Table>::getNextDataPoint(
    void** loopContext, void** dataContext, netsnmp_variable_list* putIndexData,
    netsnmp_iterator_info* /*info*/) noexcept {
  static constexpr auto name = functionName<Table>("_get_next_data_point");
  return Snmp::guardedOr<netsnmp_variable_list*>(name.data(), nullptr, [&] {
    return TableFrame<Table>::next(*loopContext, dataContext ? *dataContext : nullptr,
                                   putIndexData);
  });
}

template <class Table>
netsnmp_variable_list* TableFunctions<Table>::iterationHelper(
    void* loopContext, netsnmp_variable_list* putIndexData) noexcept {
  static constexpr auto name = functionName<Table>("IterationHelper");
  return Snmp::guardedOr<netsnmp_variable_list*>(name.data(), nullptr, [&] {
    using Row = typename Table::Row;
    // No loop context is the end of the table, as a row at the end is.
    return TableFrame<Table>::iterationHelper(
        loopContext ? *static_cast<Row const*>(loopContext) : Row(), putIndexData);
  });
}

template <class Table>
void* TableFunctions<Table>::makeDataContext(void* loopContext,
                                             netsnmp_iterator_info* /*info*/) noexcept {
  static constexpr auto name = functionName<Table>("_make_data_context");
  // A null data context is that of an absent row: a fault here reads as such.
  return Snmp::guardedOr<void*>(name.data(), nullptr,
                                [&] { return TableFrame<Table>::makeDataContext(loopContext); });
}

template <class Table>
void TableFunctions<Table>::freeDataContext(void* dataContext,
                                            netsnmp_iterator_info* /*info*/) noexcept {
  static constexpr auto name = functionName<Table>("_free_data_context");
  TableFrame<Table>::free(name.data(), dataContext);
}

template <class Table>
void TableFunctions<Table>::freeLoopContextAtEnd(void* loopContext,
                                                 netsnmp_iterator_info* /*info*/) noexcept {
  static constexpr auto name = functionName<Table>("_free_loop_context_at_end");
  TableFrame<Table>::free(name.data(), loopContext);
}

template <class Table>
int TableFunctions<Table>::handler(netsnmp_mib_handler* /*handler*/,
                                   netsnmp_handler_registration* /*registration*/,
                                   netsnmp_agent_request_info* request,
                                   netsnmp_request_info* requests) noexcept {
  static constexpr auto name = functionName<Table>("_handler");
  return Snmp::guarded(name.data(), requests, [&] {
    // The mode of the call, not of the PDU: within a walk the row server shows a GET.
    return answerTable(TableFrame<Table>::description(), name.data(), request->mode, requests);
  });
}

}  // namespace IpSnmp
