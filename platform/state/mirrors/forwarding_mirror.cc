#include "platform/state/mirrors/forwarding_mirror.h"

#include <algorithm>

#include "platform/state/entities/routing_config.h"

namespace State {

namespace {

template <class Config>
void serve(Mav::Directory& directory, std::optional<Pondo::ForwardingTable::Record> record) {
  // State that is not known is not made up: without its entity the object answers genErr.
  if (!record) return directory.unmount(Config::path);
  auto config = directory.entityAs<Config>(Config::path);
  bool const known = config != nullptr;
  if (!known) config = Mav::makeObject<Config>();
  config->routingIs(record->routing);  // before the mount: nobody may find the default
  if (!known) directory.mount(Config::path, config);
}

}  // namespace

ForwardingMirror::~ForwardingMirror() {
  // The module has undone its registrations before it lets go of the mirrors (plugin.cc).
  serve<Routing::Config>(directory_, std::nullopt);
  serve<Routing6::Config>(directory_, std::nullopt);
}

bool ForwardingMirror::changesMounts() const {
  return std::any_of(deltas().begin(), deltas().end(),
                     [](Delta const& d) { return d.before.has_value() != d.after.has_value(); });
}

void ForwardingMirror::apply(Phase phase) {
  // A flag hangs on no interface: any phase would do.
  if (phase != Phase::announce) return;
  for (auto const& [family, before, after] : deltas()) {
    if (family == Pondo::Family::ipv4) {
      serve<Routing::Config>(directory_, after);
    } else {
      serve<Routing6::Config>(directory_, after);
    }
  }
}

}  // namespace State
