#include "platform/mav/entity.h"

#include <algorithm>

#include <boost/core/demangle.hpp>
#include <fmt/format.h>

namespace Mav {

namespace {
auto findAttribute(std::vector<AttributeInfo> const& attributes, std::string_view name) {
  return std::find_if(attributes.begin(), attributes.end(),
                      [name](AttributeInfo const& info) { return info.name == name; });
}

/// What every entity has.
AttributeInfo const* commonAttribute(std::string_view name) {
  static std::vector<AttributeInfo> const attributes{
      plainAttribute<&Entity::name>("name"),
      plainAttribute<&Entity::isNondestructing, &Entity::isNondestructingIs>("isNondestructing")};
  // A list of two, and tables of a handful: this way is for wiring and tools (entity.h).
  auto const found = findAttribute(attributes, name);
  return found == attributes.end() ? nullptr : &*found;
}

AttributeInfo const& attributeInfo(Entity const& entity, std::string_view name) {
  // No class has these in its own table.
  if (auto const* common = commonAttribute(name)) return *common;
  return entity.attributeTable().info(entity.typeName(), name);
}

[[noreturn]] void throwAttribute(Entity const& entity, std::string_view name,
                                 std::string_view what) {
  throw RangeException(fmt::format("{} attribute '{}' {}", entity.typeName(), name, what));
}
}  // namespace

std::string_view AttributeTable::attributeString(AttributeId id) const {
  if (id < firstAttributeId || id - firstAttributeId >= attributes_.size()) return "unknown";
  return attributes_[id - firstAttributeId].name;
}

AttributeInfo const& AttributeTable::info(std::string_view entityType,
                                          std::string_view name) const {
  auto const found = findAttribute(attributes_, name);
  if (found != attributes_.end()) return *found;
  throw RangeException(fmt::format("{} has no attribute '{}'", entityType, name));
}

AttributeId AttributeTable::id(std::string_view name) const {
  auto const found = findAttribute(attributes_, name);
  if (found == attributes_.end()) return 0;
  // The place in the table is the number, and has to agree with the constant that the class
  // declares.
  return firstAttributeId + static_cast<AttributeId>(found - attributes_.begin());
}

void Detail::throwAttributeType(Entity const& entity, std::string_view expected,
                                std::any const& given) {
  auto const givenName = given.has_value() ? boost::core::demangle(given.type().name()) : "nothing";
  throw RangeException(
      fmt::format("{} '{}' takes a value of type {} here, not {}", entity.typeName(), entity.name(),
                  boost::core::demangle(std::string(expected).c_str()), givenName));
}

void Entity::isNondestructingIs(bool value) {
  store(isNondestructing_, value, isNondestructingAttributeId, &NotifieeBase::onIsNondestructing);
}

std::string_view Entity::attributeString(AttributeId id) const {
  return attributeTable().attributeString(id);
}

std::any Entity::attribute(std::string_view attributeName) const {
  auto const& info = attributeInfo(*this, attributeName);
  if (!info.get) throwAttribute(*this, attributeName, "is a collection, which has no one value");
  return info.get(*this);
}

void Entity::attributeIs(std::string_view attributeName, std::any const& value) {
  auto const& info = attributeInfo(*this, attributeName);
  if (!info.set) throwAttribute(*this, attributeName, "cannot be set by name");
  info.set(*this, value);
}

void Entity::memberIs(std::string_view collectionName, std::any const& key) {
  auto const& info = attributeInfo(*this, collectionName);
  if (!info.memberIs) throwAttribute(*this, collectionName, "has no members to be made by key");
  info.memberIs(*this, key);
}

void Entity::memberDel(std::string_view collectionName, std::any const& key) {
  auto const& info = attributeInfo(*this, collectionName);
  if (!info.memberDel) throwAttribute(*this, collectionName, "has no members to be removed by key");
  info.memberDel(*this, key);
}

}  // namespace Mav
