#include "platform/snmp/registrations.h"

#include <algorithm>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "platform/mav/trace_handle.h"
#include "platform/snmp/displacement.h"

namespace Snmp {

namespace {

struct Registration {
  netsnmp_handler_registration* registration;
  std::unique_ptr<IteratorTable> table;  // null of a scalar
};

// Function-local: it is built at its first use, not while the library is loaded.
std::vector<Registration>& remembered() {
  static std::vector<Registration> registrations;
  return registrations;
}

/// `registerIt` is net-snmp's function, and says its status.
template <class Register>
int registerAndRemember(netsnmp_handler_registration* registration,
                        std::unique_ptr<IteratorTable> table, Register const& registerIt) {
  remembered().reserve(remembered().size() + 1);  // nothing may fail once net-snmp has it
  // A copy: net-snmp frees a registration that it refuses, and its name with it.
  std::string const name = registration->handlerName;
  // What the daemon has registered below this place would cut the registration into slices.
  takeOut(placeOf(*registration));
  int const status = registerIt();
  if (status == MIB_REGISTERED_OK) {
    remembered().push_back({registration, std::move(table)});
  } else {
    Mav::log(Mav::Severity::error, "net-snmp refuses to register " + name + " (status " +
                                       std::to_string(status) + "): it is not served");
  }
  return status;
}

/// In front of the handlers that it has. A null handler is one that net-snmp had no memory for.
void inject(netsnmp_handler_registration* registration, netsnmp_mib_handler* handler) {
  if (!handler) throw std::bad_alloc();
  if (netsnmp_inject_handler(registration, handler) == SNMPERR_SUCCESS) return;
  Mav::log(Mav::Severity::error,
           std::string("net-snmp takes no further handler of ") + registration->handlerName);
}

/// Where a subagent, or a module of the daemon, has registered a part before, net-snmp has cut the
/// registration into slices, and each has a copy of its handlers.
template <class Call>
void forEachSlice(netsnmp_handler_registration const& registration, Call const& call) {
  forEachEntry([&](netsnmp_subtree const& entry) {
    bool const isOne = entry.priority == registration.priority &&
                       std::equal(entry.name_a, entry.name_a + entry.namelen, registration.rootoid,
                                  registration.rootoid + registration.rootoid_len);
    if (isOne) call(entry.reginfo);
  });
}

/// The copy that a slice has of the registration lacks what that points to
/// (netsnmp_handler_registration_dup of 5.9.3), whenever it is cut: a subagent may come at any
/// time, and leaves the slices behind. The copy of a handler has it.
int withPointer(netsnmp_mib_handler* handler, netsnmp_handler_registration* registration,
                netsnmp_agent_request_info* info, netsnmp_request_info* requests) noexcept {
  registration->my_reg_void = handler->myvoid;
  return netsnmp_call_next_handler(handler, registration, info, requests);
}

}  // namespace

int registerScalar(netsnmp_handler_registration* registration) {
  auto* const keeper = netsnmp_create_handler("kept_pointer", withPointer);
  if (keeper) keeper->myvoid = registration->my_reg_void;
  inject(registration, keeper);
  return registerAndRemember(registration, nullptr,
                             [&] { return netsnmp_register_scalar(registration); });
}

int registerTable(netsnmp_handler_registration* registration,
                  std::unique_ptr<IteratorTable> table) {
  auto& iterator = table->iterator();
  auto& server = table->server();
  int const status = registerAndRemember(registration, std::move(table), [&] {
    return netsnmp_register_table_iterator(registration, &iterator);
  });
  if (status != MIB_REGISTERED_OK) return status;
  forEachSlice(*registration, [&server](netsnmp_handler_registration* slice) {
    inject(slice, netsnmp_get_serialize_handler());
    // In front: the requests for several columns of a row come in one list, and share its search.
    inject(slice, server.createHandler());
  });
  return status;
}

void unregisterAll() noexcept {
  auto& registrations = remembered();
  if (!registrations.empty()) endWaitingRequests();
  while (!registrations.empty()) {
    // What it points to goes after it.
    netsnmp_unregister_handler(registrations.back().registration);
    registrations.pop_back();
  }
}

void endWaitingRequests() noexcept {
  // A SET that fails has further phases, and may wait once more: for what undoes it.
  constexpr int roundsMax = 3;
  for (int round = 0; round < roundsMax; ++round) {
    // What is registered in this process has no session. 0: nobody waits who points there.
    if (netsnmp_remove_delegated_requests_for_session(nullptr) == 0) return;
    // These names have their error by now, and wait for the others of their requests alone.
    forEachEntry([](netsnmp_subtree const& entry) {
      if (entry.session) netsnmp_remove_delegated_requests_for_session(entry.session);
    });
  }
}

std::vector<netsnmp_handler_registration const*> registrations() {
  std::vector<netsnmp_handler_registration const*> all;
  for (auto const& one : remembered()) all.push_back(one.registration);
  return all;
}

bool isRegistered(std::span<oid const> name, int priority) noexcept {
  return std::any_of(remembered().begin(), remembered().end(), [&](auto const& one) {
    auto const& ours = *one.registration;
    return ours.priority == priority &&
           std::equal(name.begin(), name.end(), ours.rootoid, ours.rootoid + ours.rootoid_len);
  });
}

}  // namespace Snmp
