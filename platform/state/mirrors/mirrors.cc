#include "platform/state/mirrors/mirrors.h"

#include <algorithm>

#include "platform/state/mirrors/address4_mirror.h"
#include "platform/state/mirrors/address6_mirror.h"
#include "platform/state/mirrors/forwarding_mirror.h"
#include "platform/state/mirrors/link_mirror.h"
#include "platform/state/mirrors/neighbour4_mirror.h"

namespace State {

namespace {

std::vector<std::unique_ptr<Mirror>> allMirrors(Mav::Directory& directory,
                                                DeviceState const& state) {
  std::vector<std::unique_ptr<Mirror>> mirrors;
  mirrors.push_back(std::make_unique<ForwardingMirror>(directory));
  // The links stand first: the mirrors of addresses ask them in each phase what there is by now.
  auto links = std::make_unique<LinkMirror>(state.intfStatusDir);
  LinkMirror const& link = *links;
  mirrors.push_back(std::move(links));
  mirrors.push_back(
      std::make_unique<Address4Mirror>(link, state.intfStatusDir, state.ipConfig, state.ipStatus));
  mirrors.push_back(std::make_unique<Address6Mirror>(link, state.ip6Config, state.ip6Status));
  mirrors.push_back(std::make_unique<Neighbour4Mirror>(state.arpStatus));
  return mirrors;
}

}  // namespace

Mirrors::Mirrors(MountObserver& observer, DeviceState state,
                 std::vector<std::unique_ptr<Mirror>> mirrors)
    : observer_(observer), state_(std::move(state)), mirrors_(std::move(mirrors)) {
  for (auto const& mirror : mirrors_) tables_.push_back(mirror->table());
  Intf::intfDetailsProviderIs(this);
}

Mirrors::~Mirrors() {
  // Unless somebody else has come in its place.
  if (Intf::intfDetailsProvider() == this) Intf::intfDetailsProviderIs(nullptr);
}

Mirrors::Mirrors(Mav::Directory& directory, MountObserver& observer)
    : Mirrors(directory, observer, DeviceState{}) {}

Mirrors::Mirrors(Mav::Directory& directory, MountObserver& observer, DeviceState const& state)
    : Mirrors(observer, state, allMirrors(directory, state)) {}

void Mirrors::onChanges(Pondo::Snapshot const& snapshot, std::span<Pondo::Change const> changes) {
  read(snapshot, changes);
  apply();
}

void Mirrors::read(Pondo::Snapshot const& snapshot, std::span<Pondo::Change const> changes) {
  // In all of them: a slice that failed may have left differences in any.
  for (auto const& mirror : mirrors_) mirror->begin();
  for (auto const& change : changes) {
    if (auto* const mirror = this->mirror(change.table)) mirror->read(snapshot, change.key);
  }
  // All changes of links have been read before anybody looks at what hangs on links: in one slice
  // two may have swapped their names.
  for (auto const& source : mirrors_) {
    for (auto const& change : source->interfaceChanges()) {
      for (auto const& mirror : mirrors_) mirror->interfaceChanged(snapshot, change);
    }
  }
}

void Mirrors::apply() {
  bool const mounts = std::any_of(mirrors_.begin(), mirrors_.end(),
                                  [](auto const& mirror) { return mirror->changesMounts(); });
  // Registrations with net-snmp hold plain pointers to what is mounted, and are undone before it
  // goes.
  if (mounts) observer_.mountsWillChange();
  for (auto const phase :
       {Phase::withdraw, Phase::interfacesGo, Phase::interfacesCome, Phase::announce}) {
    for (auto const& mirror : mirrors_) mirror->apply(phase);
  }
  // When all phases of all mirrors have gone well: before that the slice can be taken again.
  for (auto const& mirror : mirrors_) mirror->end();
  if (mounts) observer_.mountsHaveChanged();
}

std::optional<std::string> Mirrors::filedKey(Pondo::TableId table, std::string_view from) const {
  auto const* const mirror = this->mirror(table);
  return mirror ? mirror->filedKey(from) : std::nullopt;
}

std::int32_t Mirrors::ifIndex(Interface::IntfStatus const& status) const {
  return status.ifIndex();
}

Mirror* Mirrors::mirror(Pondo::TableId table) const {
  for (auto const& mirror : mirrors_) {
    if (mirror->table() == table) return mirror.get();
  }
  return nullptr;
}

}  // namespace State
