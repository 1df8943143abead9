#pragma once
// The module's entry points, which `dlmod OvoSnmp PATH` calls by name.

#define OVO_EXPORT __attribute__((visibility("default")))

extern "C" {

/// Called while snmpd.conf is read: before the daemon forks and drops its privileges, and again at
/// every SIGHUP. Only makes its own token known, and arms an alarm, which starts the work in the
/// final process.
OVO_EXPORT void init_OvoSnmp() noexcept;

/// Called before the module is unmapped. Leaves nothing behind: no registration, no descriptor, no
/// alarm, no memory.
OVO_EXPORT void deinit_OvoSnmp() noexcept;
}
