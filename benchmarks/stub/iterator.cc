// The ceiling: the rows through net-snmp's table iterator, which hands over the request's index as
// a hint (NETSNMP_ITERATOR_FLAG_SORTED). Contexts are pointers into the array.

#include <algorithm>

#include <arpa/inet.h>

#include "benchmarks/stub/rows.h"

namespace {

using Stub::Row;

std::uint32_t addressOf(netsnmp_variable_list const* index) {
  std::uint32_t octets = 0;
  if (index->val_len == sizeof octets) {
    std::copy_n(index->val.string, sizeof octets, reinterpret_cast<unsigned char*>(&octets));
  }
  return ::ntohl(octets);
}

/// As octets: net-snmp encodes an index of type IpAddress from the wrong end on a little-endian
/// machine.
void setAddress(netsnmp_variable_list* index, std::uint32_t value) {
  std::uint32_t const octets = ::htonl(value);
  snmp_set_var_typed_value(index, ASN_PRIV_IMPLIED_OCTET_STR, &octets, sizeof octets);
}

Row const* start(netsnmp_table_request_info const* hint) {
  constexpr unsigned parts = 4;
  auto const rows = Stub::rows();
  // After a column has run out there is no hint: the next one begins at the first row.
  if (hint == nullptr || hint->number_indexes != parts) return rows.data();
  Row key;
  auto const* index = hint->indexes;
  key.dest = addressOf(index);
  key.mask = addressOf(index = index->next_variable);
  key.nextHop = addressOf(index->next_variable->next_variable);
  return std::lower_bound(rows.data(), rows.data() + rows.size(), key);
}

netsnmp_variable_list* fill(void** loop, void** data, netsnmp_variable_list* put, Row const* row) {
  if (row == Stub::rows().data() + Stub::rows().size()) return nullptr;
  // net-snmp takes a void*; nobody writes through it.
  *loop = const_cast<Row*>(row);
  *data = const_cast<Row*>(row);
  auto* index = put;
  for (std::uint32_t const value : {row->dest, row->mask}) {
    setAddress(index, value);
    index = index->next_variable;
  }
  long const tos = 0;
  snmp_set_var_value(index, &tos, sizeof tos);
  setAddress(index->next_variable, row->nextHop);
  return put;
}

netsnmp_variable_list* first(void** loop, void** data, netsnmp_variable_list* put,
                             netsnmp_iterator_info* /*info*/) {
  return fill(loop, data, put, start(static_cast<netsnmp_table_request_info*>(*loop)));
}

// The context is a row's own address: a step is one addition, and nothing is freed.
netsnmp_variable_list* next(void** loop, void** data, netsnmp_variable_list* put,
                            netsnmp_iterator_info* /*info*/) {
  return fill(loop, data, put, static_cast<Row const*>(*loop) + 1);
}

int handle(netsnmp_mib_handler* /*handler*/, netsnmp_handler_registration* /*registration*/,
           netsnmp_agent_request_info* info, netsnmp_request_info* requests) {
  if (info->mode != MODE_GET) return SNMP_ERR_NOERROR;
  for (auto* request = requests; request != nullptr; request = request->next) {
    if (request->processed != 0) continue;
    auto const* row = static_cast<Row const*>(netsnmp_extract_iterator_context(request));
    auto const* table = netsnmp_extract_table_info(request);
    if (row == nullptr || table == nullptr) continue;
    Stub::setValue(request->requestvb, *row, table->colnum);
  }
  return SNMP_ERR_NOERROR;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void init_StubIterator() {
  Stub::rows();
  auto* const table = SNMP_MALLOC_TYPEDEF(netsnmp_table_registration_info);
  netsnmp_table_helper_add_indexes(table, ASN_IPADDRESS, ASN_IPADDRESS, ASN_INTEGER, ASN_IPADDRESS,
                                   0);
  table->min_column = 1;
  table->max_column = Stub::columnMax;
  auto* const iterator = SNMP_MALLOC_TYPEDEF(netsnmp_iterator_info);
  iterator->get_first_data_point = first;
  iterator->get_next_data_point = next;
  iterator->table_reginfo = table;
  iterator->flags |= NETSNMP_ITERATOR_FLAG_SORTED;
  auto* const registration = netsnmp_create_handler_registration(
      "stub_iterator", handle, Stub::tableOid, OID_LENGTH(Stub::tableOid), HANDLER_CAN_RONLY);
  registration->priority = 64;
  netsnmp_register_table_iterator(registration, iterator);
  // Each request comes alone then, so that the hint, which is the first one's, is its own.
  netsnmp_inject_handler(registration, netsnmp_get_serialize_handler());
}
