#include "handlers/brivet/ip_sw_forwarding.h"

#include "handlers/brivet/brivet_sw_fwd_ip_stats_table.h"
#include "platform/snmp/handler_registration.h"

namespace {

class IpSwForwarding_HandlerRegistration : public Snmp::HandlerRegistration {
 public:
  void registerHandlers() override { init_IpSwForwarding(); }
};

IpSwForwarding_HandlerRegistration registration;
Snmp::AutoRegistree const registree(&registration);

}  // namespace

// At each registration, by Snmp::Framework: when the state is known, and after mounts have changed.
void init_IpSwForwarding() {
  Snmp::debugInitializing("IpSwForwarding", __func__, __LINE__);
  initialize_table_brivetSwFwdIpStatsTable();
}
