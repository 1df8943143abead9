#include "handlers/ip_mib/inet_base.h"

#include "handlers/ip_mib/ip_net_to_physical_table.h"
#include "platform/snmp/handler_registration.h"

namespace {

class InetBase_HandlerRegistration : public Snmp::HandlerRegistration {
 public:
  void registerHandlers() override { init_InetBase(); }
};

InetBase_HandlerRegistration registration;
Snmp::AutoRegistree const registree(&registration);

}  // namespace

// The table traces its own object: there is no scalar beside it.
void init_InetBase() {
  Snmp::debugInitializing("InetBase", __func__, __LINE__);
  initialize_table_ipNetToPhysicalTable();
}
