#pragma once
// The tree in which entities are mounted by path, such as "Kelbase/routing/config", relative to
// its root. A mount keeps its entity alive. One thread.

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

  /// As entity(), with a type test: null when absent or of another class.
  template <class T>
  Ptr<T> entityAs(std::string_view path) const {
    return objectCast<T>(entity(path));
  }

  /// NameInUseException when another entity is mounted there; the same again is a no-op. A null
  /// entity is a RangeException.
  void mount(std::string_view path, Ptr<Entity> entity);
  /// No effect when nothing is mounted there.
  void unmount(std::string_view path);
  void unmountAll();

 private:
  std::map<std::string, Ptr<Entity>, std::less<>> entities_;
};

}  // namespace Mav
