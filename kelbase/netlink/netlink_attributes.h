#pragma once
// The attributes of a netlink message, checked against a declared list before use. A message kind
// declares what it reads, as data:
//
//   constexpr std::array linkRules{
//       AttributeRule{IFLA_IFNAME, "IFLA_IFNAME", textOf(IFNAMSIZ), required},
//       AttributeRule{IFLA_MTU, "IFLA_MTU", exactly(4)},
//   };
//   Attributes const attributes(message, message.attributes<ifinfomsg>(), linkRules);
//   attributes.text(IFLA_IFNAME), attributes.value<std::uint32_t>(IFLA_MTU)
//
// Attributes that are not declared are skipped: the kernel adds new ones all the time. Of an
// attribute that comes twice the last counts, as in the kernel's nla_parse. The object is a view
// and dies with the datagram.
//
// A dump of a million routes has eight million attributes: each is met once and asked for by its
// place, and nothing here is a call into a library.

#include <array>
#include <cassert>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string_view>

#include <linux/netlink.h>

#include "kelbase/netlink/netlink_message.h"

namespace Kelbase {

/// Sizes of the payload, in bytes.
struct AttributeSize {
  std::size_t min = 0;
  std::size_t max = std::numeric_limits<std::uint16_t>::max();
  bool text = false;  // a NUL within, and not as the first byte; max counts the NUL
};

constexpr AttributeSize exactly(std::size_t bytes) { return {bytes, bytes}; }
constexpr AttributeSize atLeast(std::size_t bytes) { return {.min = bytes}; }
constexpr AttributeSize textOf(std::size_t maxBytes) { return {2, maxBytes, true}; }

inline constexpr bool required = true;

struct AttributeRule {
  std::uint16_t type;
  // As the kernel's header has it: BadMessage names it, and whoever reads that looks there.
  std::string_view name;
  AttributeSize size;
  bool isRequired = false;
};

class Attributes {
 public:
  static constexpr std::uint16_t typesMax = 32;  // rtnetlink has no more of any kind but links

  /// BadMessage, naming the message and the attribute, when one breaks its rule or the bytes are no
  /// attributes. The types of `rules` are below typesMax; in the order in which the kernel writes
  /// them they are found soonest.
  Attributes(NetlinkMessage const& message, Bytes bytes, std::span<AttributeRule const> rules);

  bool has(std::uint16_t type) const { return find(type) != nullptr; }

  /// The first bytes of the payload as a T; the rule must guarantee that many. Host byte order.
  template <class T>
  std::optional<T> value(std::uint16_t type) const {
    static_assert(std::is_trivially_copyable_v<T>);
    nlattr const* const attribute = find(type);
    if (!attribute) return std::nullopt;
    auto const payload = payloadOf(*attribute);
    // A rule that guarantees less is a fault of ours: the constructor has held the message to the
    // rules.
    assert(payload.size() >= sizeof(T));
    T result;
    std::memcpy(&result, payload.data(), sizeof(T));
    return result;
  }

  /// An IP address: the rule must guarantee its size.
  template <class Addr>
  std::optional<Addr> address(std::uint16_t type) const {
    auto const octets = value<typename Addr::Octets>(type);
    return octets ? std::optional(Addr(*octets)) : std::nullopt;
  }

  /// For attributes declared with textOf.
  std::optional<std::string_view> text(std::uint16_t type) const;

  /// The payload as it is; nested attributes are parsed from it with rules of their own.
  std::optional<Bytes> bytes(std::uint16_t type) const {
    nlattr const* const attribute = find(type);
    return attribute ? std::optional(payloadOf(*attribute)) : std::nullopt;
  }

 private:
  static Bytes payloadOf(nlattr const& attribute) {
    return {reinterpret_cast<std::byte const*>(&attribute) + NLA_HDRLEN,
            static_cast<std::size_t>(attribute.nla_len) - NLA_HDRLEN};
  }
  static bool keepsRule(Bytes payload, AttributeSize const& size);
  nlattr const* find(std::uint16_t type) const {
    // An attribute that no rule names was passed over: it would look absent in every message.
    assert(isDeclared(type));
    return found_[type];
  }
  bool isDeclared(std::uint16_t type) const;

  std::span<AttributeRule const> rules_;
  // Pointers into the datagram: nothing of a message is copied before it is asked for.
  std::array<nlattr const*, typesMax> found_{};  // by type
};

}  // namespace Kelbase
