/// @file
/// The diagnostics of the library.
#pragma once

#include "platform/files.h"

/// What a debugger or a tracing program finds in a loaded library. The component itself traces nothing.
struct Diagnostics {
  /// Reads the level and opens the mutex. No failure has an effect beyond the values below.
  Diagnostics() noexcept;

  /// The number `DebugLevel` of the registry key `Software\Zentora\Zentora Scribe\MMC` below HKEY_CURRENT_USER; -1 if
  /// there is none.
  LONG level;
  /// The mutex `ZSModuleTrace`, which tracing programs share. It is created if it does not exist.
  UniqueHandle mutex;
};
