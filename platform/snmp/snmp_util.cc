#include "platform/snmp/snmp_util.h"

namespace SnmpUtil {

Mav::Ptr<Mav::Entity> getEntityRelative(std::string_view path) {
  // Looked up once, at registration: a request follows the plain pointer that the registration has.
  auto entity = Mav::Directory::root().entity(path);
  if (!entity) MAV_TRACE(RootPathBase::mavTraceHandle, 8, "nothing is mounted at " << path);
  return entity;
}

}  // namespace SnmpUtil
