#pragma once

#include <string_view>

#include "platform/mav/directory.h"
#include "platform/snmp/root_path.h"

namespace SnmpUtil {

/// The entity mounted at `path` below the agent's root, such as "Kelbase/routing/config", or null.
/// Test its class with Mav::objectCast.
Mav::Ptr<Mav::Entity> getEntityRelative(std::string_view path);

}  // namespace SnmpUtil
