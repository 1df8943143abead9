#include "kelbase/ctl/ip_fields.h"

#include <algorithm>
#include <cctype>

#include <fmt/format.h>
#include <net/if.h>

namespace Kelbase::Ctl {
namespace {

/// As dev_valid_name() of the kernel's net/core/dev.c.
bool isInterfaceName(std::string_view name) {
  return !name.empty() && name.size() < IFNAMSIZ && name != "." && name != ".." &&
         std::ranges::none_of(name, [](char c) {
           return c == '/' || c == ':' || c == '\0' ||
                  std::isspace(static_cast<unsigned char>(c)) != 0;
         });
}

}  // namespace

Dovel::IntfId interfaceName(Fields const& fields, std::string_view field) {
  static std::string const expected = fmt::format(
      "an interface name of 1 to {} bytes without '/', ':' or white space", IFNAMSIZ - 1);
  std::string const& name = fields.text(field, expected);
  if (!isInterfaceName(name)) fields.failExpected(field, expected);
  return Dovel::IntfId(name);
}

}  // namespace Kelbase::Ctl
