#pragma once
// The index components of tables of both families (RFC 4001): an InetAddress of any type, which
// comes with its InetAddressType, and a policy that is always zeroDotZero. As those of
// table_index.h.
//
// The type has a component of its own, before the address: a hint whose type and octets do not go
// together is refused where the key is made of them (model/typed_inet_address.h).

#include "handlers/table/table_index.h"
#include "model/inet_cidr_route_table_index.h"

namespace IpSnmp {

/// InetAddress: an OCTET STRING that is kept as an address.
struct InetAddressSyntax : OctetStringSyntax {
  // From where the octets lie: no string is made for a row that a walk passes.
  template <class Visitor>
  static void visit(Visitor& visitor, TypedInetAddress const& address) {
    auto const octets = address.octets();
    visitor.add(static_cast<std::uint32_t>(octets.size()));
    for (auto const octet : octets) visitor.add(octet);
  }
  /// The octets without their number: net-snmp's OCTET STRING has it beside them.
  static std::int32_t convert(TypedInetAddress const& address, unsigned char* buffer,
                              std::int32_t size) {
    return Snmp::writeBytes(address.octets().data(), address.octets().size(), buffer, size);
  }
};

/// OBJECT IDENTIFIER, of the value 0.0 alone: its length comes first in the instance. So it always
/// is the three sub-identifiers 2.0.0, and no key keeps it.
struct ZeroDotZeroSyntax {
  using Value = ZeroDotZero;
  static constexpr unsigned char declaredType = ASN_OBJECT_ID;
  static constexpr unsigned char valueType = ASN_OBJECT_ID;

  /// RangeException for any other object identifier: it names no row.
  static Value decode(netsnmp_variable_list const& variable) {
    auto const* const from = variable.val.objid;
    if (!from || variable.val_len != 2 * sizeof(oid) || from[0] != 0 || from[1] != 0) {
      throw Mav::RangeException("it is not zeroDotZero");
    }
    return {};
  }
  template <class Visitor>
  static void visit(Visitor& visitor, Value /*value*/) {
    // Its length, and the two sub-identifiers of 0.0 (RFC 2578 section 7.7).
    for (std::uint32_t const subIdentifier : {2U, 0U, 0U}) visitor.add(subIdentifier);
  }
  // In the shape of convert.h, whose text form is the shortest way to two zeros.
  static std::int32_t convert(Value /*value*/, unsigned char* buffer, std::int32_t size) {
    return Snmp::StringToAsnOidF()(Mav::String8("0.0"), buffer, size);
  }
};

}  // namespace IpSnmp
