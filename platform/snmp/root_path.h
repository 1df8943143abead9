#pragma once
// Where the paths of SnmpUtil::getEntityRelative start, and the trace handle of those who resolve
// them. Each unit that includes this has a handle of its own.

#include "platform/mav/directory.h"
#include "platform/mav/trace_handle.h"

namespace RootPathBase {

static Mav::TraceHandle const mavTraceHandle("RootPathBase::Mav");

}  // namespace RootPathBase
