#include "handlers/ip_forward_mib/inet_forward.h"

#include <array>

#include "handlers/entity_scalar.h"
#include "handlers/ip_forward_mib/inet_cidr_route_table.h"
#include "model/ip_forward_mib.h"
#include "platform/snmp/handler_registration.h"

namespace {

// The scalar and the table are registered side by side, below ipForward: the daemon's own
// registrations at either go when ours comes (platform/snmp/displacement.h).
constexpr std::array<oid, 9> inetCidrRouteNumberOid{1, 3, 6, 1, 2, 1, 4, 24, 6};
constexpr std::array<oid, 9> inetCidrRouteTableOid{1, 3, 6, 1, 2, 1, 4, 24, 7};

// Of three collections, each of which keeps its own: no row is counted for it.
std::size_t rows(IpSnmp::IpForwardMib const& mib) { return mib.inetCidrRoutes().size(); }
constexpr auto inetCidrRouteNumber = IpSnmp::rowCount<IpSnmp::IpForwardMib, rows>(
    inetCidrRouteNumberOid, "inetCidrRouteNumber", "handle_inetCidrRouteNumber",
    "IpSnmp::IpForwardMib", "inetCidrRoutes");

class InetForward_HandlerRegistration : public Snmp::HandlerRegistration {
 public:
  void registerHandlers() override { init_InetForward(); }
};

InetForward_HandlerRegistration registration;
Snmp::AutoRegistree const registree(&registration);

}  // namespace

// The trace tells both objects before either is registered, so that it is there should one fail.
void init_InetForward() {
  Snmp::debugInitializing("InetForward", __func__, __LINE__);
  IpSnmp::traceInitializing(__func__, inetCidrRouteNumberOid);
  IpSnmp::traceInitializing(__func__, inetCidrRouteTableOid);
  IpSnmp::registerScalar<IpSnmp::IpForwardMib>(inetCidrRouteNumber, handle_inetCidrRouteNumber);
  initialize_table_inetCidrRouteTable();
}

int handle_inetCidrRouteNumber(netsnmp_mib_handler* /*handler*/,
                               netsnmp_handler_registration* scalarRegistration,
                               netsnmp_agent_request_info* request,
                               netsnmp_request_info* requests) noexcept {
  return IpSnmp::answerScalar(inetCidrRouteNumber, scalarRegistration, request, requests);
}
