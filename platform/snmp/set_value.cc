#include "platform/snmp/set_value.h"

namespace Snmp {

bool setVarTypedValue(netsnmp_variable_list* variable, unsigned char type,
                      unsigned char const* bytes, std::int32_t length) {
  return snmp_set_var_typed_value(variable, type, bytes, static_cast<std::size_t>(length)) == 0;
}

}  // namespace Snmp
