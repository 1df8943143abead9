#include "platform/mav/directory.h"

#include <typeinfo>
#include <utility>

#include <boost/core/demangle.hpp>
#include <fmt/format.h>

namespace Mav {

Directory& Directory::root() {
  static Directory directory;
  return directory;
}

Ptr<Entity> Directory::entity(std::string_view path) const {
  auto const found = entities_.find(path);
  return found == entities_.end() ? nullptr : found->second;
}

void Directory::mount(std::string_view path, Ptr<Entity> entity) {
  auto const mounted = validPtr(std::move(entity));
  auto const [place, isNew] = entities_.try_emplace(std::string(path), mounted);
  if (isNew || place->second == mounted) return;
  Entity const& other = *place->second;
  throw NameInUseException(fmt::format("another {} is mounted at '{}'",
                                       boost::core::demangle(typeid(other).name()), path));
}

void Directory::unmount(std::string_view path) {
  auto const found = entities_.find(path);
  if (found != entities_.end()) entities_.extract(found);  // destroyed when it has left the tree
}

// The directory is empty by the time that the entities are destroyed, which may look into it.
void Directory::unmountAll() { std::exchange(entities_, {}); }

}  // namespace Mav
