#include "platform/snmp/registrations.h"

#include <string>
#include <vector>

#include "platform/mav/trace_handle.h"

namespace Snmp {

namespace {

std::vector<netsnmp_handler_registration*>& remembered() {
  static std::vector<netsnmp_handler_registration*> registrations;
  return registrations;
}

int remember(netsnmp_handler_registration* registration, int status, std::string const& name) {
  if (status == MIB_REGISTERED_OK) {
    remembered().push_back(registration);
  } else {
    Mav::log(Mav::Severity::error, "net-snmp refuses to register " + name + " (status " +
                                       std::to_string(status) + "): it is not served");
  }
  return status;
}

}  // namespace

int registerScalar(netsnmp_handler_registration* registration) {
  remembered().reserve(remembered().size() + 1);  // nothing may fail once net-snmp has it
  std::string const name = registration->handlerName;
  return remember(registration, netsnmp_register_scalar(registration), name);
}

void unregisterAll() noexcept {
  auto& registrations = remembered();
  while (!registrations.empty()) {
    netsnmp_unregister_handler(registrations.back());
    registrations.pop_back();
  }
}

std::size_t registrationCount() noexcept { return remembered().size(); }

}  // namespace Snmp
