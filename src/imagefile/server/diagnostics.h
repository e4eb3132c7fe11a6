/// @file
/// The diagnostics of the library.
#pragma once

#include "platform/files.h"

/// Values for debuggers and tracing programs, which look for them in the loaded library. The component does not use
/// them.
struct Diagnostics {
  /// Reads the level and opens the mutex. A failure has no other effect than the values below.
  Diagnostics() noexcept;

  /// The number `DebugLevel` of the registry key `Software\Zentora\Zentora Scribe\MMC` below HKEY_CURRENT_USER; -1 if
  /// there is none.
  LONG level;
  /// The mutex `ZSModuleTrace`, which tracing programs share. It is created if it does not exist.
  UniqueHandle mutex;
};
