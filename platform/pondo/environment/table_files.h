#pragma once
// The files of RUNDIR/tables, looked at before LMDB opens them: for what LMDB does not check
// itself, and would answer with a crash (a truncated file, SIGBUS) or a wrong result in silence.

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include <sys/types.h>

#include "platform/mav/descriptor.h"
#include "platform/pondo/environment/file_identity.h"

namespace Pondo {

/// Throws an EnvironmentException unless `tables` is a directory whose data.mdb and lock.mdb are
/// regular files (no symbolic links), and data.mdb is an LMDB file that has all pages it uses. It
/// reads the two meta pages and no other, so that it costs the same for a million routes.
void checkFiles(std::filesystem::path const& tables);

/// As throwCode(), for the side that publishes: who may not make or open a file is told to choose
/// another place, not to start a publisher.
[[noreturn]] void throwNotMine(int code, std::filesystem::path const& path, std::string_view what);

/// Gives the group's number. EnvironmentException when there is no group of that name.
gid_t groupByName(std::string const& name);

/// Gives a file or directory its mode, whatever the umask, and its group where there is one; never
/// the target of a symbolic link. Where the group may not be given, a log line tells so.
void ownershipIs(std::filesystem::path const& path, mode_t mode, std::optional<gid_t> group);

/// Removes a directory of table files. It leaves files of other names alone; the directory stays
/// then, and the result is false.
bool removeTableDirectory(std::filesystem::path const& directory) noexcept;

}  // namespace Pondo
