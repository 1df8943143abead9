#include "platform/state/entities/intf_details_provider.h"

namespace Intf {

namespace {
// One for the process: the state machines ask by a function, and have no way to each other.
IntfDetailsProvider const* theProvider = nullptr;
}  // namespace

IntfDetailsProvider const* intfDetailsProvider() { return theProvider; }

void intfDetailsProviderIs(IntfDetailsProvider const* provider) { theProvider = provider; }

std::int32_t ifIndex(Interface::IntfStatus const& status) {
  return theProvider ? theProvider->ifIndex(status) : -1;
}

}  // namespace Intf
