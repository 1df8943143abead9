#include "plugin/stock_objects.h"

#include <string_view>

#include "platform/snmp/net_snmp.h"

namespace OvoSnmp {

namespace {

constexpr char const* token = "ovosnmpKeep";

// The one of RFC 1213.
constexpr char const* object = "ipRouteTable";

// Set while snmpd.conf is read, and asked for in the alarm that comes after that.
bool isKept = false;

void parse(char const* /*token*/, char const* line) noexcept {
  // The daemon hands over the rest of the line, without the token.
  if (std::string_view(line) == object) {
    isKept = true;
  } else {
    netsnmp_config_error("%s: expected ipRouteTable", token);
  }
}

// net-snmp calls it before it reads the configuration again.
void forget() noexcept { isKept = false; }

}  // namespace

// While snmpd.conf is read, in the module's own line: lines behind that one are understood.
KeepToken::KeepToken() { snmpd_register_const_config_handler(token, parse, forget, "OBJECT"); }

KeepToken::~KeepToken() {
  snmpd_unregister_config_handler(token);
  forget();
}

std::vector<Snmp::ObjectRoot> stockObjectsToDisplace() {
  if (isKept) return {};
  return {{object, {1, 3, 6, 1, 2, 1, 4, 21}}};
}

}  // namespace OvoSnmp
