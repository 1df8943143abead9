#pragma once
// The tree in which entities are mounted by path, such as "Kelbase/routing/config", relative to its
// root. A mount holds a reference to its entity. What the module mounts: the forwarding flags'
// entities, by their mirror, the two caches, the health. Nobody is told of a mount: who keeps plain
// pointers to mounted entities is told by whoever changes the mounts (State::MountObserver). One
// thread.

#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "platform/mav/entity.h"

namespace Mav {

class Directory {
 public:
  /// The process's directory.
  static Directory& root();

  /// The entity mounted at `path`, or null.
  Ptr<Entity> entity(std::string_view path) const;

  /// As entity(), with a type test: null when there is none, or one of another class.
  template <class T>
  Ptr<T> entityAs(std::string_view path) const {
    return objectCast<T>(entity(path));
  }

  /// Mounts the entity. The same entity again does nothing; another one raises NameInUseException,
  /// a null one RangeException.
  void mount(std::string_view path, Ptr<Entity> entity);
  /// No effect when nothing is mounted there.
  void unmount(std::string_view path);
  void unmountAll();

 private:
  std::map<std::string, Ptr<Entity>, std::less<>> entities_;
};

}  // namespace Mav
