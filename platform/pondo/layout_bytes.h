#pragma once
// A layout of format.h as bytes, and back. Bytes in the map are not aligned: they are copied.

#include <cstring>
#include <optional>
#include <string>
#include <string_view>

namespace Pondo {

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

}  // namespace Pondo
