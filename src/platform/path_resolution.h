/// @file
/// Look-up of paths on disk, as platform/file_lookup.h describes it, for the functions that open files.
#pragma once

#include <sys/stat.h>

#include <string>

namespace platform {

/// Whether `errno` says that a path names nothing. So does a name that is too long for the system: with `\` read as
/// `/` it may be several names.
bool NamesNothing() noexcept;

/// Finds a path on disk and its status. Throws std::bad_alloc.
bool FindOnDisk(const std::string& path, std::string* resolved, struct stat* status);

/// Finds a path in another spelling. `errno` says how the look-up of its own spellings has failed.
bool FindRespelled(const std::string& path, std::string* resolved, struct stat* status);

/// Returns where a new file of a path goes: into the folder as found on disk, under its own name in UTF-8. If there is
/// no such folder, the path stays as it is.
std::string PathOfNewFile(const std::string& path);

/// Returns the first name, in byte order, that a folder has for a pattern with `*` and `?`; empty if none matches.
std::string FirstMatch(const std::string& folder, const std::string& pattern);

} // namespace platform
