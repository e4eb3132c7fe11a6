/// @file
/// What the file and path functions share: system errors and the lookup of components.
#pragma once

#include <sys/stat.h>

#include <cerrno>
#include <string>

#include "platform/base_types.h"

namespace platform {

/// Stores the system error of `errno` as this thread's last error.
void KeepSystemError() noexcept;

/// Whether `errno` says that a path names nothing.
bool NamesNothing() noexcept;

/// Finds a path on disk and its status, retrying interrupted calls.
bool FindOnDisk(const std::string& path, std::string* resolved, struct stat* status);

/// Replaces the folder of a path by the folder on disk, when that can be found and is spelled otherwise. The
/// last component stays as it is.
std::string ResolveFolder(const std::string& path);

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
