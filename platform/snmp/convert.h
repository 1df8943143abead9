#pragma once
// Values to the bytes that Snmp::setVarTypedValue takes. Every conversion has one shape:
//
//   (value, buffer, size of the buffer in bytes) -> bytes written, or a negative number on failure
//
// A conversion fails when the buffer is too small, and then leaves it untouched. The layouts are
// fixed, the same on every machine: integers are native 32-bit words.

#include <cstdint>
#include <cstring>

namespace Snmp {

inline constexpr std::int32_t conversionFailed = -1;

/// One conversion, by its empty function object F.
template <class T, class F>
std::int32_t SnmpConvert(T value, unsigned char* buffer, std::int32_t size) {
  return F()(value, buffer, size);
}

/// Copies `length` bytes of `source`, the common tail of the conversions.
inline std::int32_t writeBytes(void const* source, std::int32_t length, unsigned char* buffer,
                               std::int32_t size) {
  if (length > size) return conversionFailed;
  std::memcpy(buffer, source, static_cast<std::size_t>(length));
  return length;
}

/// INTEGER: a signed 32-bit word.
struct S32ToAsnIntegerF {
  std::int32_t operator()(int value, unsigned char* buffer, std::int32_t size) const {
    return writeBytes(&value, sizeof value, buffer, size);
  }
};
static_assert(sizeof(int) == 4);

}  // namespace Snmp
