// Hints of any content, types and lengths, as instances in requests make them: an iteration begins
// at the hinted row or at the first, and comes to its end.

#include "handlers/ip_mib/ip_address_prefix_table.h"
#include "handlers/ip_mib/ip_address_table.h"
#include "model/ip_mib.h"
#include "tests/support/fuzz_input.h"

namespace {

using Variables = netsnmp_variable_list*;

Mav::Ptr<IpSnmp::IpMib> makeMib() {
  auto const mib = IpSnmp::ipMibFactory("ipmib");
  for (std::string_view const octets :
       {std::string_view("\x0a\0\0\x01", 4), std::string_view("\x0a\x01\x01\x01")}) {
    IpSnmp::InetAddress const key(Ip::ipVersion4, Snmp::String(octets));
    auto const prefix = Mav::makeObject<IpSnmp::IpAddressPrefixEntry>(
        IpSnmp::IpAddressPrefixKey(3, Ip::ipVersion4, key.bytes(), 32));
    mib->ipAddressTableIs(key)->intfIs(
        {{IpSnmp::addressSourceStatus, Dovel::IntfId("eth0")}, prefix});
  }
  return mib;
}

void add(Variables& list, unsigned char type, std::vector<char> const& value) {
  snmp_varlist_add_variable(&list, nullptr, 0, type, value.data(), value.size());
}

void iterate(netsnmp_table_request_info& hint, netsnmp_iterator_info& info) {
  Variables row = nullptr;
  add(row, ASN_INTEGER, {});
  add(row, ASN_OCTET_STR, {});
  void* loop = &hint;
  void* data = nullptr;
  auto const* at = ipAddressTable_get_first_data_point(&loop, &data, row, &info);
  int rows = 0;
  for (; at; ++rows) at = ipAddressTable_get_next_data_point(&loop, &data, row, &info);
  Fuzz::require(rows <= 2);
  ipAddressTable_free_loop_context_at_end(loop, &info);
  snmp_free_varbind(row);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* bytes, std::size_t size) {
  static auto const mib = makeMib();
  static constexpr unsigned char types[] = {ASN_INTEGER,  ASN_OCTET_STR, ASN_IPADDRESS,
                                            ASN_UNSIGNED, ASN_OBJECT_ID, ASN_NULL};
  Fuzz::Input input(bytes, size);
  netsnmp_table_request_info hint{};
  for (; !input.ended() && hint.number_indexes < 4; ++hint.number_indexes) {
    auto const type = types[input.byte() % std::size(types)];
    add(hint.indexes, type, input.take(input.byte() % 40));
  }
  if (!input.ended()) hint.number_indexes = 2;
  netsnmp_iterator_info info{};
  info.myvoid = mib.get();
  iterate(hint, info);
  snmp_free_varbind(hint.indexes);
  return 0;
}
