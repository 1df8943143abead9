#include "handlers/ip_forward_mib/ip_forward.h"

#include <array>

#include "handlers/entity_scalar.h"
#include "handlers/ip_forward_mib/ip_cidr_route_table.h"
#include "model/ip_forward_mib.h"
#include "platform/snmp/handler_registration.h"

namespace {

constexpr std::array<oid, 9> ipCidrRouteNumberOid{1, 3, 6, 1, 2, 1, 4, 24, 3};
constexpr std::array<oid, 9> ipCidrRouteTableOid{1, 3, 6, 1, 2, 1, 4, 24, 4};

// Kept by the collection: no row is counted for it.
std::size_t rows(IpSnmp::IpForwardMib const& mib) { return mib.ipCidrRouteTables(); }
constexpr auto ipCidrRouteNumber = IpSnmp::rowCount<IpSnmp::IpForwardMib, rows>(
    ipCidrRouteNumberOid, "ipCidrRouteNumber", "handle_ipCidrRouteNumber", "IpSnmp::IpForwardMib",
    "ipCidrRouteTables");

// Entered into the list of units while the library is loaded, and called when there is state.
class IpForward_HandlerRegistration : public Snmp::HandlerRegistration {
 public:
  void registerHandlers() override { init_IpForward(); }
};

IpForward_HandlerRegistration registration;
Snmp::AutoRegistree const registree(&registration);

}  // namespace

void init_IpForward() {
  Snmp::debugInitializing("IpForward", __func__, __LINE__);
  IpSnmp::traceInitializing(__func__, ipCidrRouteNumberOid);
  IpSnmp::traceInitializing(__func__, ipCidrRouteTableOid);
  IpSnmp::registerScalar<IpSnmp::IpForwardMib>(ipCidrRouteNumber, handle_ipCidrRouteNumber);
  initialize_table_ipCidrRouteTable();
}

int handle_ipCidrRouteNumber(netsnmp_mib_handler* /*handler*/,
                             netsnmp_handler_registration* scalarRegistration,
                             netsnmp_agent_request_info* request,
                             netsnmp_request_info* requests) noexcept {
  return IpSnmp::answerScalar(ipCidrRouteNumber, scalarRegistration, request, requests);
}
