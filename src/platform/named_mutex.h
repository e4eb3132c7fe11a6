/// @file
/// Mutexes by name, which the processes of one user share.
///
/// A mutex is a locked file in `$XDG_RUNTIME_DIR/ImageFile`, or in a private folder in `/tmp`. The system unlocks it
/// when its owner closes the handle or ends, however that comes about, so a dead process keeps nobody out. The name
/// outlives the processes that use it, until the system empties that folder.
#pragma once

#include <string>

#include "platform/files.h"

inline constexpr DWORD INFINITE = 0xFFFFFFFFU; ///< Waits as long as it takes.

inline constexpr DWORD WAIT_OBJECT_0 = 0;
inline constexpr DWORD WAIT_TIMEOUT = 258;
inline constexpr DWORD WAIT_FAILED = 0xFFFFFFFFU;

inline constexpr DWORD ERROR_ALREADY_EXISTS = 183;

/// Makes a mutex, owned by nobody, or opens the one that exists; then the last error is ERROR_ALREADY_EXISTS, else 0.
/// CloseHandle closes it. Names are told apart by case.
/// @return INVALID_HANDLE_VALUE on failure; ERROR_INVALID_NAME for a name that is empty, has more than 200 bytes or
/// one of `/`, `\` and zero.
HANDLE CreateMutexA(const std::string& name) noexcept;

/// Opens a mutex that exists. @return INVALID_HANDLE_VALUE on failure; ERROR_FILE_NOT_FOUND when there is none.
HANDLE OpenMutexA(const std::string& name) noexcept;

/// Takes a mutex for this handle, which may have it already. @param milliseconds 0 or INFINITE.
/// @return WAIT_OBJECT_0; WAIT_TIMEOUT when another handle has it; WAIT_FAILED.
DWORD WaitForSingleObject(HANDLE mutex, DWORD milliseconds) noexcept;

/// Lets the next one take a mutex. False on failure.
bool ReleaseMutex(HANDLE mutex) noexcept;
