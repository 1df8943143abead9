#pragma once
// How a handler unit enters the module: one static registration object a unit, announced by one
// static AutoRegistree when the library is loaded.
//
//   namespace {
//   class IpBase_HandlerRegistration : public Snmp::HandlerRegistration {
//     void registerHandlers() override { init_IpBase(); }
//   } registration;
//   Snmp::AutoRegistree const registree(&registration);
//   }
//
// Static initialisation only enters the object into a list; Snmp::Framework calls its hook, on
// snmpd's thread, when there is state to serve.

#include <span>

namespace Snmp {

class HandlerRegistration {
 public:
  virtual ~HandlerRegistration() = default;

  /// Registers the unit's handlers with net-snmp, by way of registerScalar() and its siblings.
  /// Called again after each unregistration.
  virtual void registerHandlers() = 0;
};

/// Enters the object into the list, in the order of construction; takes it out when destroyed.
class AutoRegistree {
 public:
  explicit AutoRegistree(HandlerRegistration* registration);
  ~AutoRegistree();
  AutoRegistree(AutoRegistree const&) = delete;
  AutoRegistree& operator=(AutoRegistree const&) = delete;

 private:
  HandlerRegistration* const registration_;
};

/// What net-snmp's own modules say when they initialise, for `snmpd -D`: the function trace under
/// the token "trace", then "Initializing" under the unit's own. Silent unless debugging is on.
void debugInitializing(char const* unit, char const* function, int line);

/// All that are entered.
std::span<HandlerRegistration* const> handlerRegistrations();

}  // namespace Snmp
