#include "agent/ip_route_reactors.h"

#include "platform/mav/trace_handle.h"
#include "platform/pondo/environment/errors.h"

namespace IpSnmp {

std::optional<Dovel::Prefix> IpRouteTableSm::MavRouteStatus::filedRoute(
    Dovel::Prefix const& from) const {
  auto const mib = sm_.ipForwardMib();
  return mib ? mib->ipCidrRoutePrefix(from) : std::nullopt;
}

void IpRouteTableSm::MavClock::onTime() {
  sm_.doProcessIpRouteBacklog();
  outageTold_ = false;
}

void IpRouteTableSm::MavClock::onException(Mav::AttributeId attribute,
                                           std::exception_ptr exception) {
  try {
    std::rethrow_exception(exception);
  } catch (Pondo::ConsistencyException const& e) {
    tellOutage(e.what());
  } catch (...) {
    NotifieeConst::onException(attribute, exception);
  }
}

void IpRouteTableSm::MavClock::tellOutage(std::string const& text) {
  if (std::exchange(outageTold_, true)) return;
  Mav::log(Mav::Severity::warning, "ipCidrRouteTable stays as it is, " +
                                       std::to_string(sm_.backlog().size()) +
                                       " prefixes wait, trying again every second: " + text);
}

}  // namespace IpSnmp
