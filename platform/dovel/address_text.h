#pragma once
// Parsing shared by the address types of this folder.

#include <string_view>

namespace Dovel {

/// Writes the address in `text` to `binary`, in network order: 4 octets for AF_INET, 16 for
/// AF_INET6. Raises RangeException "invalid IPv4 address 'TEXT'" (or IPv6) when it is none.
void parseAddress(int family, std::string_view text, void* binary);

/// The two parts of "ADDRESS/LENGTH". splitLength raises RangeException "invalid prefix length in
/// 'TEXT'" when the slash is missing or the length is not a decimal number from 0 to `lengthMax`;
/// it does not look at the address.
struct AddressAndLength {
  std::string_view address;
  unsigned length;
};
AddressAndLength splitLength(std::string_view text, unsigned lengthMax);

[[noreturn]] void throwLength(unsigned length, unsigned lengthMax);

/// Gives back `length`; raises RangeException "prefix length N is not in 0..MAX" when it is above
/// `lengthMax`.
constexpr unsigned checkedLength(unsigned length, unsigned lengthMax) {
  if (length > lengthMax) throwLength(length, lengthMax);
  return length;
}

}  // namespace Dovel
