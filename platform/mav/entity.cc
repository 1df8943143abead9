#include "platform/mav/entity.h"

namespace Mav {

void Entity::isNondestructingIs(bool value) {
  store(isNondestructing_, value, isNondestructingAttributeId, &NotifieeBase::onIsNondestructing);
}

std::string_view Entity::attributeString(AttributeId id) const {
  auto const names = attributeNames();
  if (id < firstAttributeId || id - firstAttributeId >= names.size()) return "unknown";
  return names[id - firstAttributeId];
}

}  // namespace Mav
