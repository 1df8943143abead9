#include "handlers/ip_mib/ip_base.h"

#include <array>
#include <span>

#include "handlers/entity_scalar.h"
#include "handlers/ip_conversions.h"
#include "handlers/ip_mib/ip_addr_table.h"
#include "handlers/ip_mib/ip_address_prefix_table.h"
#include "handlers/ip_mib/ip_address_table.h"
#include "handlers/ip_mib/ip_net_to_media_table.h"
#include "platform/snmp/handler_registration.h"
#include "platform/state/entities/routing_config.h"

namespace {

constexpr std::array<oid, 8> ipForwardingOid{1, 3, 6, 1, 2, 1, 4, 1};
constexpr std::array<oid, 8> ipv6IpForwardingOid{1, 3, 6, 1, 2, 1, 4, 25};

class IpBase_HandlerRegistration : public Snmp::HandlerRegistration {
 public:
  void registerHandlers() override { init_IpBase(); }
};

// The registree last: it is destroyed first, and takes the unit out of the list while the unit is
// whole.
IpBase_HandlerRegistration registration;
Snmp::AutoRegistree const registree(&registration);

using IpSnmp::EntityScalar;

// The two differ by name and entity. They are read-write although every SET is refused: so the
// refusal is the handler's notWritable, as befits an object that the MIB calls writable.
template <class Config>
constexpr EntityScalar forwarding(std::span<oid const> objectId, char const* object,
                                  char const* handler, char const* entityType) {
  return {objectId,
          HANDLER_CAN_RWRITE,
          object,
          handler,
          Config::path,
          entityType,
          "routing",
          "IpRoutingToAsnInteger",
          ASN_INTEGER,
          [](void const* config, unsigned char* buffer, std::int32_t size) {
            return IpSnmp::IpRoutingToAsnInteger(static_cast<Config const*>(config)->routing(),
                                                 buffer, size);
          }};
}

constexpr EntityScalar ipForwarding = forwarding<Routing::Config>(
    ipForwardingOid, "ipForwarding", "handle_ipForwarding", "Routing::Config");
constexpr EntityScalar ipv6IpForwarding = forwarding<Routing6::Config>(
    ipv6IpForwardingOid, "ipv6IpForwarding", "handle_ipv6IpForwarding", "Routing6::Config");

}  // namespace

void init_IpBase() {
  Snmp::debugInitializing("IpBase", __func__, __LINE__);
  IpSnmp::traceInitializing(__func__, ipForwardingOid);
  IpSnmp::traceInitializing(__func__, ipv6IpForwardingOid);
  // One that throws leaves those behind it unserved, until all is registered again.
  IpSnmp::registerScalar<Routing::Config>(ipForwarding, handle_ipForwarding);
  IpSnmp::registerScalar<Routing6::Config>(ipv6IpForwarding, handle_ipv6IpForwarding);
  initialize_table_ipAddrTable();
  initialize_table_ipNetToMediaTable();
  initialize_table_ipAddressPrefixTable();
  initialize_table_ipAddressTable();
}

int handle_ipForwarding(netsnmp_mib_handler* /*handler*/,
                        netsnmp_handler_registration* scalarRegistration,
                        netsnmp_agent_request_info* request,
                        netsnmp_request_info* requests) noexcept {
  return IpSnmp::answerScalar(ipForwarding, scalarRegistration, request, requests);
}

int handle_ipv6IpForwarding(netsnmp_mib_handler* /*handler*/,
                            netsnmp_handler_registration* scalarRegistration,
                            netsnmp_agent_request_info* request,
                            netsnmp_request_info* requests) noexcept {
  return IpSnmp::answerScalar(ipv6IpForwarding, scalarRegistration, request, requests);
}
