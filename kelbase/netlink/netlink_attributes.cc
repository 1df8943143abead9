#include "kelbase/netlink/netlink_attributes.h"

#include <cstring>

#include <fmt/format.h>

namespace Kelbase {
namespace {

std::string expected(AttributeSize const& size) {
  if (size.text) return fmt::format("a text of 1 to {} characters", size.max - 1);
  if (size.min == size.max) return fmt::format("{}", size.min);
  return fmt::format("at least {}", size.min);
}

bool keepsRule(nlattr const* attribute, AttributeSize const& size) {
  std::size_t const length = mnl_attr_get_payload_len(attribute);
  if (!size.text) return length >= size.min && length <= size.max;
  auto const* const text = mnl_attr_get_str(attribute);
  std::size_t const characters = strnlen(text, length);
  // With a NUL within it: who reads the text reads up to that.
  return characters > 0 && characters < length && characters < size.max;
}

}  // namespace

Attributes::Attributes(NetlinkMessage const& message, Bytes bytes,
                       std::span<AttributeRule const> rules)
    : rules_(rules) {
  assert(rules.size() <= rulesMax);
  auto const* next = reinterpret_cast<nlattr const*>(bytes.data());
  auto left = static_cast<int>(bytes.size());
  for (; mnl_attr_ok(next, left); next = mnl_attr_next(next)) {
    auto const type = mnl_attr_get_type(next);
    for (std::size_t i = 0; i < rules.size(); ++i) {
      if (rules[i].type != type) continue;
      if (!keepsRule(next, rules[i].size)) {
        throw BadMessage(fmt::format("{}: {}: {} bytes, expected {}", message.name(), rules[i].name,
                                     mnl_attr_get_payload_len(next), expected(rules[i].size)));
      }
      // The last of several counts, as to the kernel itself (lib/nlattr.c, nla_parse).
      found_[i] = next;
      break;
    }
    left -= MNL_ALIGN(mnl_attr_get_len(next));
  }
  if (left > 0) {
    throw BadMessage(fmt::format("{}: {} bytes at its end are no attribute", message.name(), left));
  }
  for (std::size_t i = 0; i < rules.size(); ++i) {
    if (rules[i].isRequired && !found_[i]) {
      throw BadMessage(fmt::format("{}: {} is missing", message.name(), rules[i].name));
    }
  }
}

nlattr const* Attributes::find(std::uint16_t type) const {
  for (std::size_t i = 0; i < rules_.size(); ++i) {
    if (rules_[i].type == type) return found_[i];
  }
  assert(false && "an attribute that no rule declares");
  return nullptr;
}

std::optional<std::string_view> Attributes::text(std::uint16_t type) const {
  nlattr const* const attribute = find(type);
  if (!attribute) return std::nullopt;
  return std::string_view(mnl_attr_get_str(attribute));
}

std::optional<Bytes> Attributes::bytes(std::uint16_t type) const {
  nlattr const* const attribute = find(type);
  if (!attribute) return std::nullopt;
  return Bytes(static_cast<std::byte const*>(mnl_attr_get_payload(attribute)),
               mnl_attr_get_payload_len(attribute));
}

}  // namespace Kelbase
