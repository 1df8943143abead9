#include "platform/state/entities/intf_details_provider.h"

namespace Intf {

namespace {
IntfDetailsProvider const* theProvider = nullptr;
}

IntfDetailsProvider const* intfDetailsProvider() { return theProvider; }

void intfDetailsProviderIs(IntfDetailsProvider const* provider) { theProvider = provider; }

std::int32_t ifIndex(Interface::IntfStatus const& status) {
  return theProvider ? theProvider->ifIndex(status) : -1;
}

}  // namespace Intf
