#pragma once
// A layout of format.h as bytes, and back. Bytes in the map are not aligned, so they are copied: to
// read a number through a pointer into the map would be undefined (and a trap on some machines).

#include <array>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

namespace Pondo {

/// The bytes of a layout as they lie in memory. It has no padding, whose bytes would be anybody's.
template <class Layout>
std::string toBytes(Layout const& layout) {
  std::string bytes(sizeof layout, '\0');
  std::memcpy(bytes.data(), &layout, sizeof layout);
  return bytes;
}

/// Nothing when `bytes` is of another size.
template <class Layout>
std::optional<Layout> fromBytes(std::string_view bytes) {
  Layout layout;
  if (bytes.size() != sizeof layout) return std::nullopt;
  std::memcpy(&layout, bytes.data(), sizeof layout);
  return layout;
}

/// The same of a record, which begins with the version of its layout; nothing of another version.
template <class Record>
std::optional<Record> recordFrom(std::string_view bytes) {
  auto record = fromBytes<Record>(bytes);
  if (record && record->version != Record().version) record.reset();
  return record;
}

/// A number, most significant byte first: such bytes sort as the numbers do.
template <std::unsigned_integral Number>
std::array<char, sizeof(Number)> bigEndian(Number number) {
  std::array<char, sizeof(Number)> bytes;
  for (auto at = bytes.rbegin(); at != bytes.rend(); ++at, number >>= 8U) {
    *at = static_cast<char>(number);
  }
  return bytes;
}

/// Nothing when `bytes` is of another size.
template <std::unsigned_integral Number>
std::optional<Number> fromBigEndian(std::string_view bytes) {
  if (bytes.size() != sizeof(Number)) return std::nullopt;
  Number number = 0;
  for (char const c : bytes) number = number << 8U | static_cast<unsigned char>(c);
  return number;
}

/// Valid as long as `bytes`.
template <std::size_t N>
std::string_view asView(std::array<char, N> const& bytes) {
  return {bytes.data(), N};
}

/// Gives the name in a field that is padded with NUL, as a view of the field; nothing when the
/// padding is missing or is anything else.
template <std::size_t N>
std::optional<std::string_view> paddedName(std::array<char, N> const& field) {
  std::string_view const bytes(field.data(), N);
  auto const end = bytes.find('\0');
  if (end == bytes.npos || bytes.find_first_not_of('\0', end) != bytes.npos) return std::nullopt;
  return bytes.substr(0, end);
}

}  // namespace Pondo
