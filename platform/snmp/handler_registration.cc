#include "platform/snmp/handler_registration.h"

#include <vector>

namespace Snmp {

namespace {

// Function-local: built on first use, whichever unit's static objects come first.
std::vector<HandlerRegistration*>& list() {
  static std::vector<HandlerRegistration*> registrations;
  return registrations;
}

}  // namespace

AutoRegistree::AutoRegistree(HandlerRegistration* registration) : registration_(registration) {
  list().push_back(registration);
}

AutoRegistree::~AutoRegistree() { std::erase(list(), registration_); }

std::span<HandlerRegistration* const> handlerRegistrations() { return list(); }

}  // namespace Snmp
