/// @file
/// The reason of the last failure of a file or path function, per thread.
#pragma once

#include "platform/base_types.h"

/// @name System errors
/// Values of GetLastError. HRESULT_FROM_WIN32 converts them to result codes.
/// @{
inline constexpr DWORD ERROR_SUCCESS = 0;                  ///< No error.
inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;           ///< The path names no file.
inline constexpr DWORD ERROR_PATH_NOT_FOUND = 3;           ///< A folder of the path is missing or is not a folder.
inline constexpr DWORD ERROR_TOO_MANY_OPEN_FILES = 4;      ///< The process or the system has no descriptor left.
inline constexpr DWORD ERROR_ACCESS_DENIED = 5;            ///< No permission, or not a regular file or block device.
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;           ///< The handle is not open.
inline constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;        ///< Out of memory.
inline constexpr DWORD ERROR_WRITE_PROTECT = 19;           ///< The file system is mounted read-only.
inline constexpr DWORD ERROR_GEN_FAILURE = 31;             ///< Any error without a number of its own here.
inline constexpr DWORD ERROR_SHARING_VIOLATION = 32;       ///< The file is open elsewhere, without sharing.
inline constexpr DWORD ERROR_HANDLE_EOF = 38;              ///< The file ends before the bytes that are needed.
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;       ///< An argument is null or out of its range.
inline constexpr DWORD ERROR_DISK_FULL = 112;              ///< No space is left, or the user's quota is used up.
inline constexpr DWORD ERROR_INVALID_NAME = 123;           ///< The path cannot name a file.
inline constexpr DWORD ERROR_NEGATIVE_SEEK = 131;          ///< The position would be before the start.
inline constexpr DWORD ERROR_FILENAME_EXCED_RANGE = 206;   ///< The path is longer than the system allows.
inline constexpr DWORD ERROR_FILE_TOO_LARGE = 223;         ///< Larger than the file system or a limit allows.
inline constexpr DWORD ERROR_IO_DEVICE = 1117;             ///< The device failed.
inline constexpr DWORD ERROR_CANT_RESOLVE_FILENAME = 1921; ///< Links in the path lead in a circle.
/// @}

/// Returns the reason of this thread's last failure. Success does not reset it.
DWORD GetLastError() noexcept;
/// Sets the reason, which may be ERROR_SUCCESS.
void SetLastError(DWORD error) noexcept;

namespace platform {

/// Returns the system error that corresponds to a value of `errno`.
DWORD SystemError(int error) noexcept;

} // namespace platform
