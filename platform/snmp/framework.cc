#include "platform/snmp/framework.h"

#include <exception>
#include <string>
#include <utility>

#include "platform/mav/memory_failure.h"
#include "platform/mav/trace_handle.h"
#include "platform/snmp/handler_registration.h"
#include "platform/snmp/registrations.h"

namespace Snmp {

Framework::Framework(std::vector<ObjectRoot> displacedToo)
    : displacement_(std::move(displacedToo)) {}

Framework::~Framework() { unregisterAll(); }

void Framework::registerAll() {
  if (registered_) return;
  // Before the units: one that fails is not tried again until all is unregistered.
  registered_ = true;
  for (auto* const unit : handlerRegistrations()) {
    try {
      unit->registerHandlers();
    } catch (std::exception const& e) {
      // The other units are served all the same; for want of memory, this one when all starts over.
      Mav::noteMemoryFailure();
      Mav::log(Mav::Severity::error, std::string("a handler unit failed to register: ") + e.what());
    }
  }
  // Each registration has taken out what stood in its place. This takes out the further places, and
  // tells of all in one line.
  displacement_.run();
}

void Framework::unregisterAll() noexcept {
  registered_ = false;
  Snmp::unregisterAll();
}

}  // namespace Snmp
