#pragma once
// The eight functions of a table, made from one template. The header of a table T gives them their
// names (ip_mib/ip_addr_table.h), and its source has the class that sets it apart (table_frame.h):
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
// To add a table: the class and these names; its source in handlers/CMakeLists.txt; a call of
// initialize_table_T in the init function of a unit; its objects in mibs/objects.txt and in
// docs/mib-coverage.md, to which a test holds the agent.
//
// All but the first are net-snmp's callbacks (agent/table_iterator.h). They never throw: what goes
// wrong inside is logged; the table then reads as if it ended there, and requests fail with genErr.

#include "platform/snmp/net_snmp.h"

namespace IpSnmp {

template <class Table>
class TableFunctions {
 public:
  // The first is called by the handler unit, at each registration; the others by net-snmp, or by
  // the row server for their traces. Of memory, a loop or data context is the caller's, to be given
  // back to the function that frees it.
  static void initialize();
  static netsnmp_variable_list* getFirstDataPoint(void** loopContext, void** dataContext,
                                                  netsnmp_variable_list* putIndexData,
                                                  netsnmp_iterator_info* info) noexcept;
  static netsnmp_variable_list* getNextDataPoint(void** loopContext, void** dataContext,
                                                 netsnmp_variable_list* putIndexData,
                                                 netsnmp_iterator_info* info) noexcept;
  static netsnmp_variable_list* iterationHelper(void* loopContext,
                                                netsnmp_variable_list* putIndexData) noexcept;
  static void* makeDataContext(void* loopContext, netsnmp_iterator_info* info) noexcept;
  static void freeDataContext(void* dataContext, netsnmp_iterator_info* info) noexcept;
  static void freeLoopContextAtEnd(void* loopContext, netsnmp_iterator_info* info) noexcept;
  static int handler(netsnmp_mib_handler* handler, netsnmp_handler_registration* registration,
                     netsnmp_agent_request_info* request, netsnmp_request_info* requests) noexcept;
};

}  // namespace IpSnmp
