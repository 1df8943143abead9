#include "handlers/unit_registration.h"

#include <array>
#include <new>

#include "handlers/trace.h"
#include "platform/snmp/registrations.h"

namespace IpSnmp {

void traceInitializing(char const* function, std::span<oid const> objectId) {
  if (!snmpTraceHandle().enabled(1)) return;
  // A longer name is cut.
  std::array<char, 200> text{};
  snprint_objid(text.data(), text.size(), objectId.data(), objectId.size());
  MAV_TRACE_AS(snmpTraceHandle(), 1, function, function << " initializing oid " << text.data());
}

netsnmp_handler_registration* newRegistration(char const* name, Netsnmp_Node_Handler* handler,
                                              std::span<oid const> objectId, int modes) {
  auto* const registration =
      netsnmp_create_handler_registration(name, handler, objectId.data(), objectId.size(), modes);
  if (!registration) throw std::bad_alloc();
  // Below net-snmp's default of 127: these objects come before those of any other module. Among
  // equal identifiers alone: a longer one wins whatever its priority, which is why such
  // registrations are taken out (platform/snmp/displacement.h). Set before it is handed over:
  // net-snmp files the registration by it.
  registration->priority = 64;
  return registration;
}

void registerScalar(char const* name, Netsnmp_Node_Handler* handler, std::span<oid const> objectId,
                    int modes, void* entity, void const* scalar) {
  auto* const registration = newRegistration(name, handler, objectId, modes);
  registration->my_reg_void = entity;
  // Handed back to the callback as it is: net-snmp neither reads nor frees it.
  registration->handler->myvoid = const_cast<void*>(scalar);
  Snmp::registerScalar(registration);
}

}  // namespace IpSnmp
