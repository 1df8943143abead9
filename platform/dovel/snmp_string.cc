#include "platform/dovel/snmp_string.h"

#include <ostream>

namespace Snmp {

std::ostream& operator<<(std::ostream& out, String const& string) {
  return out << Mav::escaped(string.bytes());
}

}  // namespace Snmp
