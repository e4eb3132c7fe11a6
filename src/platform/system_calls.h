/// @file
/// System calls through the environment, and what their failures become.
#pragma once

#include <cerrno>

#include "platform/environment.h"
#include "platform/last_error.h"

namespace platform {

/// The file operations in use.
inline FileOperations& Files() noexcept { return *ProcessEnvironment().files; }

/// Stores the system error of `errno` as this thread's last error.
void KeepSystemError() noexcept;

/// Repeats a system call while signals interrupt it.
template <class Call> auto Uninterrupted(Call call) noexcept {
  auto result = call();
  while (result == -1 && errno == EINTR) {
    result = call();
  }
  return result;
}

} // namespace platform
