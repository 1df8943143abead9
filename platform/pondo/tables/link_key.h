#pragma once
// Keys that begin with a link: its name, a NUL, then what tells its records apart, addresses first.
// The codecs alone use them. A name has no NUL, so the NUL after it sorts before every byte that a
// longer name goes on with, and the bytes sort as (link, rest) does.

#include <optional>
#include <string>
#include <string_view>

#include "platform/dovel/intf_id.h"
#include "platform/pondo/tables/layout_bytes.h"

namespace Pondo {

/// The longest name of a link: IFNAMSIZ - 1 (linux/if.h). What the agent makes of a name, such as
/// "eth0#2", has to fit a Dovel::IntfId too.
inline constexpr std::size_t linkNameMax = 15;

/// A key, taken apart.
struct LinkAndRest {
  Dovel::IntfId link;
  std::string_view rest;  // a view of the key
};

/// Nothing when the bytes do not begin with a link's name. What the rest may be is the caller's to
/// check.
std::optional<LinkAndRest> takeLink(std::string_view bytes);

/// Throws Mav::RangeException for a name that no key can begin with.
void checkLinkName(Dovel::IntfId const& link);

template <class Addr>
void appendAddress(std::string& bytes, Addr const& addr) {
  bytes += toBytes(addr.octets());
}

/// Gives the address in `bytes` at `offset`; the caller has checked that it lies within.
template <class Addr>
Addr addressAt(std::string_view bytes, std::size_t offset) {
  using Octets = typename Addr::Octets;
  return Addr(*fromBytes<Octets>(bytes.substr(offset, sizeof(Octets))));
}

}  // namespace Pondo
