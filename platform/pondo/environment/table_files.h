#pragma once
// The files of RUNDIR/tables, before and around LMDB: what LMDB itself does not check, and would
// answer with a crash or a silent wrong result.

#include <filesystem>
#include <optional>
#include <string>

#include <sys/types.h>

#include "platform/pondo/environment/descriptor.h"

namespace Pondo {

/// Throws an EnvironmentException unless `tables` is a directory whose data.mdb and lock.mdb are
/// regular files (no symbolic links), and data.mdb is an LMDB file that has all pages it uses.
void checkFiles(std::filesystem::path const& tables);

/// What a path leads to now, symbolic links not followed; nothing when absent or out of reach.
std::optional<FileIdentity> identityAt(std::filesystem::path const& path);

/// The group's number. EnvironmentException when there is none of that name.
gid_t groupByName(std::string const& name);

/// Gives a file or directory (never a symbolic link's target) its mode, whatever the umask, and
/// its group where given. A group that may not be given is said once, in the log.
void ownershipIs(std::filesystem::path const& path, mode_t mode, std::optional<gid_t> group);

/// Removes a directory of table files. Files of other names are left alone, and then it stays:
/// false.
bool removeTableDirectory(std::filesystem::path const& directory) noexcept;

}  // namespace Pondo
