#include "kelbase/netlink/netlink_attributes.h"

#include <algorithm>
#include <cstring>

#include <fmt/format.h>

namespace Kelbase {
namespace {

std::string expected(AttributeSize const& size) {
  if (size.text) return fmt::format("a text of 1 to {} characters", size.max - 1);
  if (size.min == size.max) return fmt::format("{}", size.min);
  return fmt::format("at least {}", size.min);
}

/// The attribute that begins there, if it is whole: what precedes a payload says how long both are
/// together (linux/netlink.h, struct nlattr).
nlattr const* attributeAt(std::byte const* at, std::size_t left) {
  auto const* const attribute = reinterpret_cast<nlattr const*>(at);
  bool const isWhole = left >= sizeof *attribute && attribute->nla_len >= sizeof *attribute &&
                       attribute->nla_len <= left;
  return isWhole ? attribute : nullptr;
}

/// The kernel writes in the order of the rules: the wanted one is `next`, or soon behind it.
AttributeRule const* ruleOf(std::span<AttributeRule const> rules, std::uint16_t type,
                            std::size_t& next) {
  for (std::size_t i = 0; i < rules.size(); ++i) {
    if (next >= rules.size()) next = 0;
    auto const& rule = rules[next++];
    if (rule.type == type) return &rule;
  }
  return nullptr;
}

}  // namespace

bool Attributes::keepsRule(Bytes payload, AttributeSize const& size) {
  if (!size.text) return payload.size() >= size.min && payload.size() <= size.max;
  auto const* const text = reinterpret_cast<char const*>(payload.data());
  // The kernel ends a text with NUL, but counts it among the bytes: without one there is no end to
  // read to.
  std::size_t const characters = strnlen(text, payload.size());
  // With a NUL within it: who reads the text reads up to that.
  return characters > 0 && characters < payload.size() && characters < size.max;
}

Attributes::Attributes(NetlinkMessage const& message, Bytes bytes,
                       std::span<AttributeRule const> rules)
    : rules_(rules) {
  std::size_t next = 0;
  auto left = bytes.size();
  auto const* at = bytes.data();
  while (auto const* const attribute = attributeAt(at, left)) {
    // The last one may lack its padding, as it may for the kernel (include/net/netlink.h,
    // nla_next).
    auto const size = std::min<std::size_t>(NLA_ALIGN(attribute->nla_len), left);
    at += size;
    left -= size;
    // Two bits beside the type are flags: NLA_F_NESTED and NLA_F_NET_BYTEORDER.
    std::uint16_t const type = attribute->nla_type & NLA_TYPE_MASK;
    auto const* const rule = ruleOf(rules, type, next);
    // Its size is not judged either: a newer kernel may put anything there.
    if (!rule) continue;
    if (!keepsRule(payloadOf(*attribute), rule->size)) {
      message.fail(fmt::format("{}: {} bytes, expected {}", rule->name,
                               payloadOf(*attribute).size(), expected(rule->size)));
    }
    // The last of several counts, as to the kernel itself (lib/nlattr.c, nla_parse).
    found_.at(type) = attribute;
  }
  if (left > 0) message.fail(fmt::format("{} bytes at its end are no attribute", left));
  for (auto const& rule : rules) {
    if (rule.isRequired && !found_.at(rule.type)) {
      message.fail(fmt::format("{} is missing", rule.name));
    }
  }
}

bool Attributes::isDeclared(std::uint16_t type) const {
  return std::any_of(rules_.begin(), rules_.end(),
                     [type](auto const& rule) { return rule.type == type; });
}

std::optional<std::string_view> Attributes::text(std::uint16_t type) const {
  nlattr const* const attribute = find(type);
  if (!attribute) return std::nullopt;
  return std::string_view(reinterpret_cast<char const*>(payloadOf(*attribute).data()));
}

}  // namespace Kelbase
