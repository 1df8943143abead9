#include "plugin/stock_objects.h"

#include <algorithm>
#include <array>
#include <set>
#include <string>

#include "platform/snmp/callback.h"

namespace OvoSnmp {

namespace {

constexpr char const* token = "ovosnmpKeep";

std::array<Snmp::ObjectRoot, 1> const& objects() {
  static std::array<Snmp::ObjectRoot, 1> const all{{
      // The one of RFC 1213.
      {"ipRouteTable", {1, 3, 6, 1, 2, 1, 4, 21}},
  }};
  return all;
}

// Filled while snmpd.conf is read, and asked for in the alarm that comes after that.
std::set<std::string>& kept() {
  static std::set<std::string> names;
  return names;
}

void parse(char const* /*token*/, char const* line) noexcept {
  Snmp::guarded(token, [&] {
    // The daemon hands over the rest of the line, without the token.
    std::string const name(line);
    bool const known = std::any_of(objects().begin(), objects().end(),
                                   [&](auto const& object) { return object.name == name; });
    if (known) {
      kept().insert(name);
    } else {
      netsnmp_config_error("%s: expected ipRouteTable", token);
    }
  });
}

// net-snmp calls it before it reads the configuration again.
void forget() noexcept { kept().clear(); }

}  // namespace

// While snmpd.conf is read, in the module's own line: lines behind that one are understood.
KeepToken::KeepToken() { snmpd_register_const_config_handler(token, parse, forget, "OBJECT"); }

KeepToken::~KeepToken() {
  snmpd_unregister_config_handler(token);
  forget();
}

std::vector<Snmp::ObjectRoot> stockObjectsToDisplace() {
  std::vector<Snmp::ObjectRoot> places;
  for (auto const& object : objects()) {
    if (!kept().contains(object.name)) places.push_back(object);
  }
  return places;
}

}  // namespace OvoSnmp
