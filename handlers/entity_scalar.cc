#include "handlers/entity_scalar.h"

#include <array>

#include "handlers/trace.h"
#include "platform/snmp/callback.h"
#include "platform/snmp/set_value.h"

namespace IpSnmp {

namespace {

#define SCALAR_TRACE(stream)                         \
  MAV_TRACE_AS(snmpTraceHandle(), 2, scalar.handler, \
               scalar.handler << " - " << stream) /* NOLINT(bugprone-macro-parentheses) */

int generalError(netsnmp_request_info* requests) {
  netsnmp_request_set_error(requests, SNMP_ERR_GENERR);
  return SNMP_ERR_GENERR;
}

int get(EntityScalar const& scalar, void const* entity, netsnmp_request_info* requests) {
  if (!entity) {
    SCALAR_TRACE("entity /<sysname>/" << scalar.path << " is not of type " << scalar.entityType);
    return generalError(requests);
  }
  SCALAR_TRACE("reading " << scalar.path << "->" << scalar.attribute << "()");
  // As large as a column's; the values here have four octets.
  std::array<unsigned char, 1024> buffer;
  auto const length = scalar.convert(entity, buffer.data(), buffer.size());
  SCALAR_TRACE(scalar.conversion << " returned " << length << "bytes for " << scalar.path << "->"
                                 << scalar.attribute << "()");
  // The whole request fails: a value that was cut would be a wrong one.
  if (length < 0) {
    SCALAR_TRACE(scalar.conversion << " failed for: " << scalar.attribute);
    return generalError(requests);
  }
  if (!Snmp::setVarTypedValue(requests->requestvb, scalar.type, buffer.data(), length)) {
    return generalError(requests);
  }
  return SNMP_ERR_NOERROR;
}

int answer(EntityScalar const& scalar, void const* entity, int mode,
           netsnmp_request_info* requests) {
  // Before the entity is looked at: a SET is refused for what the object is, whether its state is
  // known or not.
  if (mode >= MODE_SET_RESERVE1 && mode <= MODE_SET_UNDO) {
    SCALAR_TRACE("SET is not configured for " << scalar.object);
    // The error travels in the request; the callback itself has done its work.
    netsnmp_request_set_error(requests, SNMP_ERR_NOTWRITABLE);
    return SNMP_ERR_NOERROR;
  }
  // A GETNEXT has been made a GET by net-snmp's scalar helper.
  if (mode == MODE_GET) return get(scalar, entity, requests);
  SCALAR_TRACE("unknown mode from request: " << mode);
  return generalError(requests);
}

}  // namespace

int answerScalar(EntityScalar const& scalar, netsnmp_handler_registration const* registration,
                 netsnmp_agent_request_info const* request,
                 netsnmp_request_info* requests) noexcept {
  return Snmp::guarded(scalar.handler, requests, [&] {
    return answer(scalar, registration->my_reg_void, request->mode, requests);
  });
}

}  // namespace IpSnmp
