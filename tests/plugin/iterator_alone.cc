// A module that is ours but for the row server: net-snmp's own table helper and table iterator
// answer every request, from the same tables, functions and rows. tests/system/views_test.py
// asks both modules the same.
//
// In one thing it is helped. net-snmp (5.9.3) writes an index of type IpAddress into an instance
// from its last octet to its first where the machine is little-endian. It meets the indexes here as
// octets, in the order in which they stand.

#include <map>
#include <utility>

#include "platform/snmp/row_server.h"

namespace Snmp {

namespace {

std::map<netsnmp_iterator_info*, netsnmp_iterator_info>& originals() {
  static std::map<netsnmp_iterator_info*, netsnmp_iterator_info> all;
  return all;
}

netsnmp_variable_list* asOctets(netsnmp_variable_list* indexes) {
  for (auto* index = indexes; index; index = index->next_variable) {
    if (index->type == ASN_IPADDRESS) index->type = ASN_PRIV_IMPLIED_OCTET_STR;
  }
  return indexes;
}

netsnmp_variable_list* first(void** loop, void** data, netsnmp_variable_list* indexes,
                             netsnmp_iterator_info* iterator) {
  return asOctets(originals().at(iterator).get_first_data_point(loop, data, indexes, iterator));
}

netsnmp_variable_list* next(void** loop, void** data, netsnmp_variable_list* indexes,
                            netsnmp_iterator_info* iterator) {
  return asOctets(originals().at(iterator).get_next_data_point(loop, data, indexes, iterator));
}

int handOn(netsnmp_mib_handler* handler, netsnmp_handler_registration* registration,
           netsnmp_agent_request_info* info, netsnmp_request_info* requests) {
  return netsnmp_call_next_handler(handler, registration, info, requests);
}

}  // namespace

RowServer::RowServer(std::unique_ptr<SortedRows> rows, netsnmp_iterator_info& iterator,
                     std::span<unsigned const> columns)
    : rows_(std::move(rows)), iterator_(iterator), columns_(columns) {
  originals().insert_or_assign(&iterator, iterator);
  iterator.get_first_data_point = first;
  iterator.get_next_data_point = next;
}

RowServer::~RowServer() { originals().erase(&iterator_); }

netsnmp_mib_handler* RowServer::createHandler() {
  return netsnmp_create_handler("no_row_server", handOn);
}

}  // namespace Snmp
