/// @file
/// The module's diagnostics.
#pragma once

#include "platform/files.h"

/// Holds the level of diagnostics that the user has set and the mutex that tracing programs share. Nothing in the
/// component traces yet; both are there for those who look into a running program.
class Diagnostics {
public:
  /// Reads the number `DebugLevel` of the key `Software\Zentora\Zentora Scribe\MMC` below HKEY_CURRENT_USER, and makes
  /// the mutex `ZSModuleTrace` or opens the one that exists. No failure has an effect.
  Diagnostics() noexcept;

  /// -1 when it is not set.
  LONG Level() const noexcept { return m_level; }
  /// The mutex; INVALID_HANDLE_VALUE where there can be none.
  HANDLE Mutex() const noexcept { return m_mutex.Get(); }

private:
  UniqueHandle m_mutex;
  LONG m_level = -1;
};
