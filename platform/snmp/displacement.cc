#include "platform/snmp/displacement.h"

#include <algorithm>
#include <compare>
#include <span>
#include <utility>

#include <absl/cleanup/cleanup.h>

#include "platform/mav/trace_handle.h"
#include "platform/snmp/callback.h"
#include "platform/snmp/registrations.h"

namespace Snmp {

namespace {

bool isWithin(ObjectRoot const& place, std::span<oid const> name) {
  auto const& root = place.objectId;
  return name.size() >= root.size() && std::equal(root.begin(), root.end(), name.begin());
}

/// A copy: net-snmp frees the original while it unregisters it, and reads its arguments after that.
/// Each number of a range has an entry of its own in the registry, so that it is none here.
struct Registered {
  std::vector<oid> name;
  int priority = 0;
  std::string label;
  bool isSubagents = false;

  bool takeOut() {
    endWaitingRequests();
    // By name and priority, not by the registration: net-snmp 5.9.3 reads freed memory in
    // netsnmp_unregister_handler() of another module's.
    return unregister_mib_context(name.data(), name.size(), priority, 0, 0, "") ==
           MIB_UNREGISTERED_OK;
  }
  auto operator<=>(Registered const&) const = default;
};

/// What others have registered there. One that lies there in slices is told once.
std::set<Registered> othersWithin(ObjectRoot const& place) {
  // A walk along the whole registry: for each of our places when it is registered, and when another
  // registration concerns one of them.
  std::set<Registered> others;
  forEachEntry([&](netsnmp_subtree const& entry) {
    std::span<oid const> const name(entry.name_a, entry.namelen);
    if (!isWithin(place, name) || isRegistered(name, entry.priority)) return;
    others.insert({{name.begin(), name.end()},
                   entry.priority,
                   entry.label_a ? entry.label_a : "",
                   entry.session != nullptr});
  });
  return others;
}

/// Names of what has gone and was not told yet.
std::vector<std::string>& gone() {
  static std::vector<std::string> names;
  return names;
}

void tellWhatHasGone() {
  if (gone().empty()) return;
  std::string line = "taken out of the daemon's own objects:";
  for (auto const& name : gone()) line += (&name == &gone().front() ? " " : ", ") + name;
  gone().clear();
  Mav::log(Mav::Severity::notice, line);
}

}  // namespace

ObjectRoot placeOf(netsnmp_handler_registration const& registration) {
  return {registration.handlerName,
          {registration.rootoid, registration.rootoid + registration.rootoid_len}};
}

void takeOut(ObjectRoot const& place) {
  // net-snmp leaves its lookup cache switched off when it does not find what it is to unregister.
  absl::Cleanup const restore = [size = netsnmp_get_lookup_cache_size()] {
    netsnmp_set_lookup_cache_size(size);
  };
  bool any = false;
  // A list of its own is walked: to unregister changes those of the registry.
  for (auto registered : othersWithin(place)) {
    // What net-snmp does not let go of goes on answering, where its name is the longer one.
    if (!registered.isSubagents && registered.takeOut()) any = true;
  }
  if (any) gone().push_back(place.name);
}

Displacement::Displacement(std::vector<ObjectRoot> further) : further_(std::move(further)) {
  snmp_register_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_REGISTER_OID, onRegister, this);
}

Displacement::~Displacement() {
  snmp_unregister_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_REGISTER_OID, onRegister, this,
                           1);
  if (alarm_ != 0) snmp_alarm_unregister(alarm_);
}

void Displacement::run() {
  for (auto const& place : places()) {
    takeOut(place);
    tellOfSubagents(place);
  }
  // One line, whatever has gone before the alarm came and in it.
  tellWhatHasGone();
}

std::vector<ObjectRoot> Displacement::places() const {
  std::vector<ObjectRoot> all;
  // Asked anew each time: what this module has registered changes with the mounts.
  for (auto const* const registration : registrations()) all.push_back(placeOf(*registration));
  all.insert(all.end(), further_.begin(), further_.end());
  return all;
}

void Displacement::tellOfSubagents(ObjectRoot const& place) {
  for (auto const& other : othersWithin(place)) {
    // Once for each subagent and object: it may register again and again.
    if (!other.isSubagents || !subagentsTold_.insert(other.label + ' ' + place.name).second) {
      continue;
    }
    Mav::log(Mav::Severity::warning,
             "an AgentX subagent (" + other.label + ") has registered " + place.name +
                 " or a part of it: its answers may come in the place of this module's");
  }
}

int Displacement::onRegister(int /*major*/, int /*minor*/, void* parameters, void* self) noexcept {
  return guardedOr("registration", SNMPERR_SUCCESS, [&] {
    auto& displacement = *static_cast<Displacement*>(self);
    auto const& registered = *static_cast<register_parameters const*>(parameters);
    std::span<oid const> const name(registered.name, registered.namelen);
    // One alarm looks at all that has come by then. What this module registers is told here as
    // well.
    if (displacement.alarm_ != 0 || isRegistered(name, registered.priority)) {
      return SNMPERR_SUCCESS;
    }
    auto const places = displacement.places();
    // While nothing of ours is registered, nothing is in its way.
    bool const concerned = !registrations().empty() &&
                           std::any_of(places.begin(), places.end(),
                                       [&](auto const& place) { return isWithin(place, name); });
    // Whoever registers it may not be ready for its going yet.
    if (concerned) displacement.alarm_ = snmp_alarm_register(0, 0, onAlarm, self);
    return SNMPERR_SUCCESS;
  });
}

void Displacement::onAlarm(unsigned /*alarm*/, void* self) noexcept {
  guarded("late registration", [&] {
    auto& displacement = *static_cast<Displacement*>(self);
    displacement.alarm_ = 0;  // a single alarm ends by itself
    displacement.run();
  });
}

}  // namespace Snmp
