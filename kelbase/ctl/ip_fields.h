#pragma once
// Fields that several kinds of `ip -json` output have.

#include <string_view>

#include "kelbase/ctl/ip_json.h"
#include "platform/dovel/intf_id.h"
#include "platform/dovel/ip6_addr.h"
#include "platform/dovel/ip_addr.h"

namespace Kelbase::Ctl {

/// LoadException when the field is none.
Dovel::IntfId interfaceName(Fields const& fields, std::string_view name);

template <class Addr>
Addr ipAddress(Fields const& fields, std::string_view name) {
  constexpr std::string_view expected =
      Addr::bits == Dovel::IpAddr::bits ? "an IPv4 address" : "an IPv6 address";
  try {
    return Addr(std::string_view(fields.text(name, expected)));
  } catch (Mav::RangeException const&) {
    fields.failExpected(name, expected);
  }
}

}  // namespace Kelbase::Ctl
