/// @file
/// What the file and path functions share: system errors and the lookup of components.
#pragma once

#include <sys/stat.h>

#include <cerrno>
#include <string>

#include "platform/base_types.h"
#include "platform/environment.h"

namespace platform {

/// The system calls in use.
inline FileOperations& Files() noexcept { return *ProcessEnvironment().files; }

/// Stores the system error of `errno` as this thread's last error.
void KeepSystemError() noexcept;

/// Whether `errno` says that a path names nothing. A name that is too long for the system is none either: with
/// `\` read as `/` it may be several.
bool NamesNothing() noexcept;

/// Finds a path on disk and its status, retrying interrupted calls.
bool FindOnDisk(const std::string& path, std::string* resolved, struct stat* status);

/// The same for a path whose exact spelling `errno` has just told to fail.
bool FindRespelled(const std::string& path, std::string* resolved, struct stat* status);

/// Where a file goes that no path on disk names yet: into the folder that is found on disk, with its own name in
/// UTF-8, as other programs read names. Without such a folder the path stays as it is.
std::string PathOfNewFile(const std::string& path);

/// The first name, in byte order, that a folder holds for a pattern with `*` and `?`. Empty when none fits.
std::string FirstMatch(const std::string& folder, const std::string& pattern);

/// Repeats a system call as long as a signal interrupts it.
template <class Call> auto Uninterrupted(Call call) noexcept {
  auto result = call();
  while (result == -1 && errno == EINTR) {
    result = call();
  }
  return result;
}

} // namespace platform
