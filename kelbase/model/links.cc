#include "kelbase/model/links.h"

#include <utility>

#include <fmt/format.h>

#include "kelbase/model/trace.h"

namespace Kelbase {

void Links::is(Link const& link) {
  auto const [known, isNew] = links_.mark(link.index);
  // Before anyone hears of it: who is told of a name asks linkName() for it, and gets what is now.
  Link const before = std::exchange(known, link);
  // The old name goes before the new one comes: a rename is one link leaving and another coming.
  if (!isNew && before.name != link.name) nameDel(before.name, link.index);
  // Of a link that is as it was, too: another may have taken its name meanwhile, and the kernel's
  // last word counts.
  nameIs(link);
  if (isNew || before != link) {
    MAV_TRACE(traceHandle(), 2,
              "link " << link.name << " index " << link.index << " adminUp " << link.isUp
                      << " operUp " << (link.isUp && link.isRunning));
  }
  // Last: whoever hears of the link may ask for it by the name that it has by now.
  for (auto* observer : observers_) observer->onLink(isNew ? nullptr : &before, link);
}

/// Whoever had the name before has lost it, even if the kernel's word on that was lost.
void Links::nameIs(Link const& link) {
  auto const [owner, isFree] = indexByName_.try_emplace(link.name, link.index);
  auto const earlier = std::exchange(owner->second, link.index);
  // Nobody is told twice: each telling marks all rows of the link.
  if (!isFree && earlier == link.index) return;
  // Both are told: the rows that the loser had under that name go, and the winner's come.
  if (!isFree) tellName(earlier, link.name);
  tellName(link.index, link.name);
}

void Links::nameDel(Dovel::IntfId const& name, std::int32_t index) {
  auto const owner = indexByName_.find(name);
  if (owner == indexByName_.end() || owner->second != index) return;  // another link took it over
  indexByName_.erase(owner);
  tellName(index, name);
}

void Links::tellName(std::int32_t index, Dovel::IntfId const& name) const {
  for (auto* observer : observers_) observer->onLinkName(index, name);
}

void Links::del(std::int32_t index) {
  if (auto const* known = links_.find(index)) {
    auto const name = known->name;
    MAV_TRACE(traceHandle(), 2, "link " << name << " index " << index << " is gone");
    // The name goes while what hangs on the link is still known: views mark its rows under that
    // name.
    nameDel(name, index);
    links_.del(index);
  }
  // Of a link that was not known, too: routes through it may have been heard of before it.
  for (auto* observer : observers_) observer->onLinkGone(index);
}

void Links::dumpEnd(bool whole) {
  if (!whole) return;
  // Observers hear of each as if the kernel had told it; what hung on it goes with it.
  for (auto const index : links_.unmarked()) del(index);
}

std::optional<Dovel::IntfId> Links::linkName(std::int32_t index) const {
  auto const* link = links_.find(index);
  if (!link || linkIndex(link->name) != index) return std::nullopt;
  return link->name;
}

std::optional<std::int32_t> Links::linkIndex(Dovel::IntfId const& name) const {
  auto const owner = indexByName_.find(name);
  if (owner == indexByName_.end()) return std::nullopt;
  return owner->second;
}

Link const* Links::find(Dovel::IntfId const& name) const {
  auto const index = linkIndex(name);
  return index ? links_.find(*index) : nullptr;
}

std::string Links::summary() const {
  return fmt::format("{} link{}", size(), size() == 1 ? "" : "s");
}

}  // namespace Kelbase
