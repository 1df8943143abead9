#pragma once
// Entities: named, counted objects whose attributes others listen to (notifiee.h). An entity can be
// mounted in a Directory, and its attributes can be read and written by name.
//
// A class lists its attributes once, in a table made of its own accessors:
//
//   Mav::AttributeTable const& Config::attributeTable() const {
//     static Mav::AttributeTable const table{
//         Mav::plainAttribute<&Config::routing, &Config::routingIs>("routing")};
//     return table;
//   }
//
// The order of the table gives the attributes their numbers, from firstAttributeId on. Handlers and
// state machines call the accessors themselves; the way by name is for wiring and for tools, and
// allocates. One thread.

#include <any>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

#include "platform/mav/notifiee.h"
#include "platform/mav/object.h"

namespace Mav {

using Name = std::string;

/// `name` and `isNondestructing`, which every entity has.
inline constexpr AttributeId nameAttributeId = 256;
inline constexpr AttributeId isNondestructingAttributeId = 257;
inline constexpr AttributeId firstAttributeId = 258;

class Entity;

/// One attribute, whose accessors take and give std::any. The types in it are those of the
/// accessors, without const and reference; another type raises a RangeException that names the
/// entity, the expected type and the given one.
struct AttributeInfo {
  std::string_view name;
  /// Null for collections.
  std::any (*get)(Entity const&) = nullptr;
  /// Null for read-only attributes.
  void (*set)(Entity&, std::any const&) = nullptr;
  /// Collections: creates the member with this key; null otherwise.
  void (*memberIs)(Entity&, std::any const& key) = nullptr;
  /// Collections: removes the member with this key; null otherwise.
  void (*memberDel)(Entity&, std::any const& key) = nullptr;
};

class AttributeTable {
 public:
  AttributeTable(std::initializer_list<AttributeInfo> attributes) : attributes_(attributes) {}

  /// The name of attribute `id`, or "unknown".
  std::string_view attributeString(AttributeId id) const;
  /// RangeException "ENTITYTYPE has no attribute 'NAME'" when there is none.
  AttributeInfo const& info(std::string_view entityType, std::string_view name) const;
  /// 0 when there is none.
  AttributeId id(std::string_view name) const;

 private:
  std::vector<AttributeInfo> attributes_;
};

class Entity : public Object {
 public:
  explicit Entity(Name name) : name_(std::move(name)) {}

  Name const& name() const { return name_; }

  /// An attribute that every entity has, for whoever listens. Nothing here acts by it.
  bool isNondestructing() const { return isNondestructing_; }
  void isNondestructingIs(bool value);

  /// The full type name, such as "Routing::Config": for messages.
  virtual std::string_view typeName() const = 0;
  /// The attributes that the class adds; `name` and `isNondestructing` are in no table. Valid for
  /// ever.
  virtual AttributeTable const& attributeTable() const = 0;
  /// The attribute's name, for trace lines; "unknown" where the class has none of that number.
  std::string_view attributeString(AttributeId id) const;

  /// The generic attribute interface, by name. It raises RangeException when the entity has no
  /// attribute of that name, when the attribute does not allow the operation (it is read-only, a
  /// collection, or none), and when value or key is of another type than the accessor's.
  std::any attribute(std::string_view attributeName) const;
  void attributeIs(std::string_view attributeName, std::any const& value);
  void memberIs(std::string_view collectionName, std::any const& key);
  void memberDel(std::string_view collectionName, std::any const& key);

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

namespace Detail {
[[noreturn]] void throwAttributeType(Entity const& entity, std::string_view expected,
                                     std::any const& given);
// From the type of a member function pointer: the class, and the type that stands in std::any.
template <class T>
struct Accessor;
template <class E, class R>
struct Accessor<R (E::*)() const> {
  using Class = E;
  using Value = std::remove_cvref_t<R>;
};
template <class E, class R, class A>
struct Accessor<R (E::*)(A)> {
  using Class = E;
  using Value = std::remove_cvref_t<A>;
};
// No conversion: an int where a std::uint32_t is asked for is the caller's error, and is told.
template <class V>
V const& cast(Entity const& entity, std::any const& value) {
  if (auto const* v = std::any_cast<V>(&value)) return *v;
  throwAttributeType(entity, typeid(V).name(), value);
}
}  // namespace Detail

/// An attribute with a getter and a setter (or a getter alone).
template <auto Get, auto Set = nullptr>
AttributeInfo plainAttribute(std::string_view name) {
  using Getter = Detail::Accessor<decltype(Get)>;
  AttributeInfo info{name};
  // The cast is safe: a table is asked of its own entity alone (attributeInfo).
  info.get = [](Entity const& e) -> std::any {
    return typename Getter::Value((static_cast<typename Getter::Class const&>(e).*Get)());
  };
  if constexpr (!std::is_same_v<decltype(Set), std::nullptr_t>) {
    using Setter = Detail::Accessor<decltype(Set)>;
    info.set = [](Entity& e, std::any const& value) {
      (static_cast<typename Setter::Class&>(e).*
       Set)(Detail::cast<typename Setter::Value>(e, value));
    };
  }
  return info;
}

/// A keyed collection. With Is and Del its members are created and removed by key through the
/// generic interface; without them that interface only names it.
template <auto Is = nullptr, auto Del = nullptr>
AttributeInfo collectionAttribute(std::string_view name) {
  AttributeInfo info{name};
  if constexpr (!std::is_same_v<decltype(Is), std::nullptr_t>) {
    using Creator = Detail::Accessor<decltype(Is)>;
    info.memberIs = [](Entity& e, std::any const& key) {
      (static_cast<typename Creator::Class&>(e).*Is)(Detail::cast<typename Creator::Value>(e, key));
    };
  }
  if constexpr (!std::is_same_v<decltype(Del), std::nullptr_t>) {
    using Deleter = Detail::Accessor<decltype(Del)>;
    info.memberDel = [](Entity& e, std::any const& key) {
      (static_cast<typename Deleter::Class&>(e).*
       Del)(Detail::cast<typename Deleter::Value>(e, key));
    };
  }
  return info;
}

}  // namespace Mav
