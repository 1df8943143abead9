#include "handlers/unit_registration.h"

#include <array>
#include <string>

#include "handlers/trace.h"
#include "platform/mav/exception.h"
#include "platform/snmp/registrations.h"

namespace IpSnmp {

void traceInitializing(char const* function, std::span<oid const> objectId) {
  if (!snmpTraceHandle().enabled(1)) return;
  // A longer name is cut.
  std::array<char, 200> text{};
  snprint_objid(text.data(), text.size(), objectId.data(), objectId.size());
  MAV_TRACE_AS(snmpTraceHandle(), 1, function, function << " initializing oid " << text.data());
}

void registerScalar(char const* name, Netsnmp_Node_Handler* handler, std::span<oid const> objectId,
                    int modes, void* entity, void const* scalar) {
  auto* const registration =
      netsnmp_create_handler_registration(name, handler, objectId.data(), objectId.size(), modes);
  if (!registration) throw Mav::Exception(std::string("no memory for ") + name);
  // Set before it is handed over: net-snmp files the registration by it.
  registration->priority = registrationPriority;
  registration->my_reg_void = entity;
  // Handed back to the callback as it is: net-snmp neither reads nor frees it.
  registration->handler->myvoid = const_cast<void*>(scalar);
  Snmp::registerScalar(registration);
}

}  // namespace IpSnmp
