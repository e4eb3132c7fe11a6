/// @file
/// Look-up of paths on disk (platform/file_lookup.h) for functions that open files.
#pragma once

#include <sys/stat.h>

#include <string>

namespace platform {

/// Returns whether `errno` says that a path names nothing. ENAMETOOLONG does as well: if `\` is read as `/`, the name
/// can be several names.
bool NamesNothing() noexcept;

/// Finds a path on disk and its status. Throws std::bad_alloc.
bool FindOnDisk(const std::string& path, std::string* resolved, struct stat* status);

/// Finds a path in another spelling. `errno` is the reason why the look-up as spelled has failed.
bool FindRespelled(const std::string& path, std::string* resolved, struct stat* status);

/// Returns the path on disk of a new file: the folder as found on disk and the name in UTF-8. Returns the path
/// unchanged if there is no such folder.
std::string PathOfNewFile(const std::string& path);

/// Returns the first name, in byte order, that a folder has for a pattern with `*` and `?`; empty if none matches.
std::string FirstMatch(const std::string& folder, const std::string& pattern);

} // namespace platform
