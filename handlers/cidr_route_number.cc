#include "handlers/cidr_route_number.h"

#include <array>

#include "handlers/trace.h"
#include "platform/snmp/convert.h"
#include "platform/snmp/set_value.h"

namespace IpSnmp {

namespace {

#define NUMBER_TRACE(stream)                         \
  MAV_TRACE_AS(snmpTraceHandle(), 2, scalar.handler, \
               scalar.handler << " - " << stream) /* NOLINT(bugprone-macro-parentheses) */

int generalError(netsnmp_request_info* requests) {
  netsnmp_request_set_error(requests, SNMP_ERR_GENERR);
  return SNMP_ERR_GENERR;
}

int get(CidrRouteNumber const& scalar, std::size_t const* rows, netsnmp_request_info* requests) {
  if (!rows) {
    NUMBER_TRACE("entity /<sysname>/snmp/ip/ipforwardmib is not of type IpSnmp::IpForwardMib");
    return generalError(requests);
  }
  NUMBER_TRACE("reading snmp/ip/ipforwardmib->" << scalar.rows << "()");
  std::array<unsigned char, 1024> buffer;
  auto const length = Snmp::SnmpConvert<int, Snmp::S32ToAsnIntegerF>(static_cast<int>(*rows),
                                                                     buffer.data(), buffer.size());
  NUMBER_TRACE("S32ToAsnInteger returned " << length << "bytes for snmp/ip/ipforwardmib->"
                                           << scalar.rows << "()");
  if (length < 0) {
    NUMBER_TRACE("S32ToAsnInteger failed for: " << scalar.rows);
    return generalError(requests);
  }
  if (!Snmp::setVarTypedValue(requests->requestvb, ASN_GAUGE, buffer.data(), length)) {
    return generalError(requests);
  }
  return SNMP_ERR_NOERROR;
}

}  // namespace

int answerCidrRouteNumber(CidrRouteNumber const& scalar, std::size_t const* rows, int mode,
                          netsnmp_request_info* requests) {
  if (mode >= MODE_SET_RESERVE1 && mode <= MODE_SET_UNDO) {
    NUMBER_TRACE("SET is not configured for " << scalar.object);
    // The error travels in the request; the callback itself has done its work.
    netsnmp_request_set_error(requests, SNMP_ERR_NOTWRITABLE);
    return SNMP_ERR_NOERROR;
  }
  if (mode == MODE_GET) return get(scalar, rows, requests);
  NUMBER_TRACE("unknown mode from request: " << mode);
  return generalError(requests);
}

}  // namespace IpSnmp
