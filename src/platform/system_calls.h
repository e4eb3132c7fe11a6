/// @file
/// System calls through the environment.
#pragma once

#include <cerrno>

#include "platform/environment.h"
#include "platform/last_error.h"

namespace platform {

/// Returns the file operations in use.
inline FileOperations& Files() noexcept { return *ProcessEnvironment().files; }

/// Repeats a system call while signals interrupt it.
template <class Call> auto Uninterrupted(Call call) noexcept {
  auto result = call();
  while (result == -1 && errno == EINTR) {
    result = call();
  }
  return result;
}

} // namespace platform
