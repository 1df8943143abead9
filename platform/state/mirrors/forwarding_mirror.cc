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

void serve(Mav::Directory& directory, Pondo::Family family,
           std::optional<Pondo::ForwardingTable::Record> record) {
  switch (family) {
    case Pondo::Family::ipv4:
      return serve<Routing::Config>(directory, record);
    case Pondo::Family::ipv6:
      return serve<Routing6::Config>(directory, record);
  }
}

}  // namespace

ForwardingMirror::~ForwardingMirror() {
  // The module has undone its registrations before it lets go of the mirrors (plugin.cc).
  serve(directory_, Pondo::Family::ipv4, std::nullopt);
  serve(directory_, Pondo::Family::ipv6, std::nullopt);
}

bool ForwardingMirror::changesMounts() const {
  return std::any_of(deltas().begin(), deltas().end(),
                     [](Delta const& d) { return d.before.has_value() != d.after.has_value(); });
}

void ForwardingMirror::apply(Phase phase) {
  // A flag hangs on no interface: any phase would do.
  if (phase != Phase::announce) return;
  for (auto const& delta : deltas()) serve(directory_, delta.key, delta.after);
}

}  // namespace State
