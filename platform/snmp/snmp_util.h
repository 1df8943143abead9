#pragma once
// How a handler unit finds the entity that it serves: by its path in the agent's directory. On
// snmpd's thread.

#include <string_view>

#include "platform/mav/directory.h"
#include "platform/mav/trace_handle.h"

namespace RootPathBase {

/// Of those who resolve paths: each unit that includes this has a handle of its own.
static Mav::TraceHandle const mavTraceHandle("RootPathBase::Mav");

}  // namespace RootPathBase

namespace SnmpUtil {

/// The entity mounted at `path` below the agent's root, such as "Kelbase/routing/config", or null.
/// Test its class with Mav::objectCast.
Mav::Ptr<Mav::Entity> getEntityRelative(std::string_view path);

}  // namespace SnmpUtil
