/// @file
/// Mutexes by name, which the processes of one user share.
///
/// A mutex is a file in `$XDG_RUNTIME_DIR/ImageFile`, or in a private folder in `/tmp`, that programs lock with
/// `flock`. The file remains after its programs end.
#pragma once

#include <string>

#include "platform/files.h"

/// Creates a mutex that nobody owns, or opens the one that exists. CloseHandle closes it.
/// @param name Name of a file, without a folder.
/// @return INVALID_HANDLE_VALUE on failure.
HANDLE CreateMutexA(const std::string& name) noexcept;
