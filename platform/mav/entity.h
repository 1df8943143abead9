#pragma once
// Entities: named, counted objects whose attributes others listen to (notifiee.h). An entity can be
// mounted in a Directory. Its attributes are numbered, from firstAttributeId on: a notification is
// told by the number of what has changed. One thread.

#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "platform/mav/notifiee.h"
#include "platform/mav/object.h"

namespace Mav {

using Name = std::string;

/// What every entity has; `name`, which is fixed, would be 256.
inline constexpr AttributeId isNondestructingAttributeId = 257;
inline constexpr AttributeId firstAttributeId = 258;

class Entity : public Object {
 public:
  explicit Entity(Name name) : name_(std::move(name)) {}

  Name const& name() const { return name_; }

  /// An attribute that every entity has, for whoever listens. Nothing here acts by it.
  bool isNondestructing() const { return isNondestructing_; }
  void isNondestructingIs(bool value) {
    store(isNondestructing_, value, isNondestructingAttributeId, &NotifieeBase::onIsNondestructing);
  }

  /// The attributes that the class adds, in the order of their numbers, where it names them.
  virtual std::span<std::string_view const> attributeNames() const { return {}; }
  /// The attribute's name, for trace lines; "unknown" where the class has none of that number.
  std::string_view attributeString(AttributeId id) const {
    auto const names = attributeNames();
    if (id < firstAttributeId || id - firstAttributeId >= names.size()) return "unknown";
    return names[id - firstAttributeId];
  }

  /// For Notifiee, which registers itself: listening does not change an entity.
  void addNotifiee(NotifieeBase* notifiee) const { notifiees_.add(notifiee); }
  void removeNotifiee(NotifieeBase* notifiee) const { notifiees_.remove(notifiee); }

 protected:
  /// Calls the handler of every notifiee, as notifiee.h says. N is the entity's own NotifieeConst:
  /// there is no other kind among its notifiees.
  template <class N>
  void notify(AttributeId attribute, void (N::*handler)()) const {
    notifiees_.notify(attribute, [handler](NotifieeBase& n) { (static_cast<N&>(n).*handler)(); });
  }
  template <class N, class Key>
  void notify(AttributeId attribute, void (N::*handler)(Key const&), Key const& key) const {
    notifiees_.notify(attribute,
                      [&, handler](NotifieeBase& n) { (static_cast<N&>(n).*handler)(key); });
  }
  /// Whether anybody would hear a notification now. Spares whoever would have to compute what to
  /// announce.
  bool isHeard() const { return notifiees_.anyActive(); }

  /// Stores a value that differs, and announces it; the same again does nothing.
  template <class Value, class N>
  void store(Value& attribute, Value const& value, AttributeId id, void (N::*handler)()) {
    if (attribute == value) return;
    attribute = value;
    notify(id, handler);
  }

 private:
  template <class Map, class N, AttributeId id, void (N::*onMember)(typename Map::Key const&)>
  friend class AnnouncedMap;

  // Fixed for life: a mount, a member's key and messages may refer to it.
  Name const name_;
  bool isNondestructing_ = false;
  mutable NotifieeList<NotifieeBase> notifiees_;
};

}  // namespace Mav
