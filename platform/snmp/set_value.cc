#include "platform/snmp/set_value.h"

#include <array>
#include <cstring>

namespace Snmp {

namespace {

std::uint32_t wordAt(unsigned char const* bytes, std::size_t index) {
  std::uint32_t word = 0;
  // From a buffer of bytes, which may lie anywhere.
  std::memcpy(&word, bytes + index * sizeof word, sizeof word);
  return word;
}

bool set(netsnmp_variable_list* variable, unsigned char type, void const* value,
         std::size_t length) {
  // It copies the value: into the variable itself where it is short, else into memory of its own.
  return snmp_set_var_typed_value(variable, type, value, length) == 0;
}

bool setObjectId(netsnmp_variable_list* variable, unsigned char const* bytes, std::size_t length) {
  // An oid of net-snmp is a long (net-snmp/library/oid.h), a word of a conversion 32 bits.
  std::array<oid, MAX_OID_LEN> subIdentifiers;
  std::size_t const count = length / sizeof(std::uint32_t);
  if (length % sizeof(std::uint32_t) != 0 || count > subIdentifiers.size()) return false;
  for (std::size_t i = 0; i < count; ++i) subIdentifiers[i] = wordAt(bytes, i);
  return set(variable, ASN_OBJECT_ID, subIdentifiers.data(), count * sizeof(oid));
}

bool setCounter64(netsnmp_variable_list* variable, unsigned char const* bytes, std::size_t length) {
  if (length != 2 * sizeof(std::uint32_t)) return false;
  // net-snmp's halves are longs (net-snmp/library/asn1.h), those of a conversion have 32 bits.
  counter64 value{};
  value.high = wordAt(bytes, 0);
  value.low = wordAt(bytes, 1);
  return set(variable, ASN_COUNTER64, &value, sizeof value);
}

}  // namespace

bool setVarTypedValue(netsnmp_variable_list* variable, unsigned char type,
                      unsigned char const* bytes, std::int32_t length) {
  if (length < 0) return false;
  auto const size = static_cast<std::size_t>(length);
  if (type == ASN_OBJECT_ID) return setObjectId(variable, bytes, size);
  if (type == ASN_COUNTER64) return setCounter64(variable, bytes, size);
  return set(variable, type, bytes, size);
}

}  // namespace Snmp
