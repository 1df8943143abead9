#include "platform/state/mirrors.h"

#include <algorithm>

#include "platform/state/forwarding_mirror.h"
#include "platform/state/link_mirror.h"

namespace State {

namespace {

std::vector<std::unique_ptr<Mirror>> allMirrors(Mav::Directory& directory,
                                                Mav::Ptr<Interface::AllIntfStatusDir> const& dir) {
  std::vector<std::unique_ptr<Mirror>> mirrors;
  mirrors.push_back(std::make_unique<ForwardingMirror>(directory));
  mirrors.push_back(std::make_unique<LinkMirror>(dir));
  return mirrors;
}

}  // namespace

Mirrors::Mirrors(MountObserver& observer, Mav::Ptr<Interface::AllIntfStatusDir> dir,
                 std::vector<std::unique_ptr<Mirror>> mirrors)
    : observer_(observer), dir_(std::move(dir)), mirrors_(std::move(mirrors)) {
  for (auto const& mirror : mirrors_) tables_.push_back(mirror->table());
  Intf::intfDetailsProviderIs(this);
}

Mirrors::~Mirrors() {
  if (Intf::intfDetailsProvider() == this) Intf::intfDetailsProviderIs(nullptr);
}

Mirrors::Mirrors(Mav::Directory& directory, MountObserver& observer)
    : Mirrors(directory, observer, Mav::makeObject<Interface::AllIntfStatusDir>()) {}

Mirrors::Mirrors(Mav::Directory& directory, MountObserver& observer,
                 Mav::Ptr<Interface::AllIntfStatusDir> const& dir)
    : Mirrors(observer, dir, allMirrors(directory, dir)) {}

void Mirrors::onChanges(Pondo::Snapshot const& snapshot, std::span<Pondo::Change const> changes) {
  read(snapshot, changes);
  apply();
}

void Mirrors::read(Pondo::Snapshot const& snapshot, std::span<Pondo::Change const> changes) {
  for (auto const& mirror : mirrors_) mirror->begin();
  for (auto const& change : changes) {
    if (auto* const mirror = this->mirror(change.table)) mirror->read(snapshot, change.key);
  }
  for (auto const& source : mirrors_) {
    for (auto const& intfId : source->leaving()) {
      for (auto const& mirror : mirrors_) mirror->interfaceLeaves(snapshot, intfId);
    }
  }
}

void Mirrors::apply() {
  bool const mounts = std::any_of(mirrors_.begin(), mirrors_.end(),
                                  [](auto const& mirror) { return mirror->changesMounts(); });
  if (mounts) observer_.mountsWillChange();
  for (auto const phase :
       {Phase::withdraw, Phase::interfacesGo, Phase::interfacesCome, Phase::announce}) {
    for (auto const& mirror : mirrors_) mirror->apply(phase);
  }
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
