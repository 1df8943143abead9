#pragma once
// The eight functions of a table T, in header and source:
//
//   OVO_DECLARE_TABLE(ipAddrTable)
//   OVO_DEFINE_TABLE(ipAddrTable, IpAddrTable)   // the class of table_frame.h
//
//   initialize_table_T           registers the table
//   T_get_first_data_point       a new loop context on the row that the hint names, else on the
//                                first row
//   T_get_next_data_point        the loop context one row further
//   TIterationHelper             the common tail of both: fills in the row's indexes; null at the
//                                end
//   T_make_data_context          a copy of the loop context, for the row that net-snmp chose
//   T_free_data_context, T_free_loop_context_at_end
//   T_handler                    answers a list of requests
//
// All but the first are net-snmp's callbacks (agent/table_iterator.h). They never throw: what goes
// wrong inside is logged; the table then reads as if it ended there, and requests fail with genErr.

#include "handlers/table_frame.h"
#include "platform/snmp/callback.h"

#define OVO_DECLARE_TABLE(table)                                                                  \
  void initialize_table_##table();                                                                \
  netsnmp_variable_list* table##_get_first_data_point(void** loopContext, void** dataContext,     \
                                                      netsnmp_variable_list* putIndexData,        \
                                                      netsnmp_iterator_info* info) noexcept;      \
  netsnmp_variable_list* table##_get_next_data_point(void** loopContext, void** dataContext,      \
                                                     netsnmp_variable_list* putIndexData,         \
                                                     netsnmp_iterator_info* info) noexcept;       \
  netsnmp_variable_list* table##IterationHelper(void* loopContext,                                \
                                                netsnmp_variable_list* putIndexData) noexcept;    \
  void* table##_make_data_context(void* loopContext, netsnmp_iterator_info* info) noexcept;       \
  void table##_free_data_context(void* dataContext, netsnmp_iterator_info* info) noexcept;        \
  void table##_free_loop_context_at_end(void* loopContext, netsnmp_iterator_info* info) noexcept; \
  int table##_handler(netsnmp_mib_handler* handler, netsnmp_handler_registration* registration,   \
                      netsnmp_agent_request_info* request,                                        \
                      netsnmp_request_info* requests) noexcept;

#define OVO_DEFINE_TABLE(table, Table)                                                            \
  void initialize_table_##table() {                                                               \
    netsnmp_iterator_info callbacks{};                                                            \
    callbacks.get_first_data_point = table##_get_first_data_point;                                \
    callbacks.get_next_data_point = table##_get_next_data_point;                                  \
    callbacks.make_data_context = table##_make_data_context;                                      \
    callbacks.free_data_context = table##_free_data_context;                                      \
    callbacks.free_loop_context_at_end = table##_free_loop_context_at_end;                        \
    TableFrame<Table>::initialize(callbacks, table##_handler);                                    \
  }                                                                                               \
  netsnmp_variable_list* table##_get_first_data_point(void** loopContext, void** /*dataContext*/, \
                                                      netsnmp_variable_list* putIndexData,        \
                                                      netsnmp_iterator_info* info) noexcept {     \
    return Snmp::guardedOr<netsnmp_variable_list*>(__func__, nullptr, [&] {                       \
      return TableFrame<Table>::first(loopContext, putIndexData, info);                           \
    });                                                                                           \
  }                                                                                               \
  netsnmp_variable_list* table##_get_next_data_point(void** loopContext, void** dataContext,      \
                                                     netsnmp_variable_list* putIndexData,         \
                                                     netsnmp_iterator_info* /*info*/) noexcept {  \
    return Snmp::guardedOr<netsnmp_variable_list*>(__func__, nullptr, [&] {                       \
      return TableFrame<Table>::next(*loopContext, dataContext ? *dataContext : nullptr,          \
                                     putIndexData);                                               \
    });                                                                                           \
  }                                                                                               \
  netsnmp_variable_list* table##IterationHelper(void* loopContext,                                \
                                                netsnmp_variable_list* putIndexData) noexcept {   \
    return Snmp::guardedOr<netsnmp_variable_list*>(__func__, nullptr, [&] {                       \
      using Row = TableFrame<Table>::Row;                                                         \
      return TableFrame<Table>::iterationHelper(                                                  \
          loopContext ? *static_cast<Row const*>(loopContext) : Row(), putIndexData);             \
    });                                                                                           \
  }                                                                                               \
  void* table##_make_data_context(void* loopContext, netsnmp_iterator_info* /*info*/) noexcept {  \
    return Snmp::guardedOr<void*>(                                                                \
        __func__, nullptr, [&] { return TableFrame<Table>::makeDataContext(loopContext); });      \
  }                                                                                               \
  void table##_free_data_context(void* dataContext, netsnmp_iterator_info* /*info*/) noexcept {   \
    TableFrame<Table>::free(__func__, dataContext);                                               \
  }                                                                                               \
  void table##_free_loop_context_at_end(void* loopContext,                                        \
                                        netsnmp_iterator_info* /*info*/) noexcept {               \
    TableFrame<Table>::free(__func__, loopContext);                                               \
  }                                                                                               \
  int table##_handler(                                                                            \
      netsnmp_mib_handler* /*handler*/, netsnmp_handler_registration* /*registration*/,           \
      netsnmp_agent_request_info* request, netsnmp_request_info* requests) noexcept {             \
    return Snmp::guarded(__func__, requests,                                                      \
                         [&] { return TableFrame<Table>::handle(request->mode, requests); });     \
  }
