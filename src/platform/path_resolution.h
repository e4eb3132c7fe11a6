/// @file
/// Look-up of paths on disk (platform/file_lookup.h) for functions that open files.
#pragma once

#include <sys/stat.h>

#include <string>

namespace platform {

/// Returns whether `errno` means that a path names no file. ENAMETOOLONG is included: a name that is too long can
/// become several names when `\` is read as `/`.
bool ErrnoMeansMissing() noexcept;

/// Finds a path on disk and its status. Throws std::bad_alloc.
bool FindOnDisk(const std::string& path, std::string* resolved, struct stat* status);

/// Finds a path in another spelling. Call it after the look-up as spelled has failed, with its error in `errno`.
bool FindRespelled(const std::string& path, std::string* resolved, struct stat* status);

/// Returns the path on disk of a new file: the folder as it is found on disk, and the name in UTF-8. Returns the path
/// unchanged if the folder is not found.
std::string PathOfNewFile(const std::string& path);

/// Returns the first name in a folder, in byte order, that matches a pattern with `*` and `?`; empty if no name
/// matches.
std::string FirstMatch(const std::string& folder, const std::string& pattern);

} // namespace platform
