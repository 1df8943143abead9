#pragma once
// Where a walk over filed prefixes begins that is given bytes: those of a key of the route tables,
// or of what stands right behind one, or none at all. SharedFib asks it for a comparison, which
// goes by the bytes of keys, while what is filed goes by prefixes.

#include <optional>
#include <string_view>

#include "platform/dovel/ip6_prefix.h"
#include "platform/dovel/prefix.h"

namespace Pondo::Fib {

/// The first prefix whose key bytes (tables/format.h) are not less than `from`; nothing behind the
/// last. It costs a few steps, however many bytes name no prefix.
template <class Prefix>
std::optional<Prefix> firstPrefix(std::string_view from);

template <>
std::optional<Dovel::Prefix> firstPrefix(std::string_view from);
template <>
std::optional<Dovel::Ip6Prefix> firstPrefix(std::string_view from);

}  // namespace Pondo::Fib
