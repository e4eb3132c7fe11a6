/// @file
/// Files by handle: open, read, write, seek, size and lookup over POSIX.
///
/// A path is looked for in UTF-8 first, then by its bytes as they are. If neither names a file, `\` is read as `/`
/// and each component is found without regard to case (platform/paths.h). A new file gets its name in UTF-8. Only
/// regular files and block devices open for reading; a folder or a FIFO does not, and nothing ever waits for one.
///
/// Every function that fails leaves the reason for GetLastError, per thread.
#pragma once

#include <string>

#include "platform/base_types.h"

/// An open file. The number is the descriptor of the file operations in use.
enum class HANDLE : std::int32_t {};
inline constexpr HANDLE INVALID_HANDLE_VALUE{-1}; ///< No file.

inline constexpr DWORD GENERIC_READ = 0x80000000U;  ///< Access to read.
inline constexpr DWORD GENERIC_WRITE = 0x40000000U; ///< Access to write.

/// @name Sharing
/// A regular file that is open for writing without sharing cannot be opened for reading, nor for writing without
/// sharing, and the other way round, in any process. File systems without locks cannot enforce this.
/// @{
inline constexpr DWORD FILE_SHARE_NONE = 0;  ///< Excludes readers and other writers that do not share.
inline constexpr DWORD FILE_SHARE_READ = 1;  ///< Shares. A reader shares whatever the value.
inline constexpr DWORD FILE_SHARE_WRITE = 2; ///< The same.
/// @}

inline constexpr DWORD CREATE_ALWAYS = 2; ///< Makes the file, or empties the one that exists.
inline constexpr DWORD OPEN_EXISTING = 3; ///< Fails when there is no file.

inline constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x10; ///< A folder.
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;    ///< Anything else.

inline constexpr DWORD FILE_BEGIN = 0;   ///< Distances count from the start of the file.
inline constexpr DWORD FILE_CURRENT = 1; ///< From the current position.
inline constexpr DWORD FILE_END = 2;     ///< From the end of the file.

/// @name System errors
/// What GetLastError answers. HRESULT_FROM_WIN32 makes result codes of them.
/// @{
inline constexpr DWORD ERROR_SUCCESS = 0;                ///< No error.
inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;         ///< The path names no file.
inline constexpr DWORD ERROR_PATH_NOT_FOUND = 3;         ///< A folder of the path is missing, or is none.
inline constexpr DWORD ERROR_TOO_MANY_OPEN_FILES = 4;    ///< The process or the system has no descriptor left.
inline constexpr DWORD ERROR_ACCESS_DENIED = 5;          ///< No permission, or neither a file nor a block device.
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;         ///< The handle is not open.
inline constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;      ///< Memory cannot be had.
inline constexpr DWORD ERROR_WRITE_PROTECT = 19;         ///< The file system is mounted for reading only.
inline constexpr DWORD ERROR_GEN_FAILURE = 31;           ///< Any error without a number of its own here.
inline constexpr DWORD ERROR_SHARING_VIOLATION = 32;     ///< The file is open elsewhere, without sharing.
inline constexpr DWORD ERROR_HANDLE_EOF = 38;            ///< The file ends before the bytes that are needed.
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;     ///< An argument is null or out of its range.
inline constexpr DWORD ERROR_DISK_FULL = 112;            ///< No space is left, or the user's share of it is used up.
inline constexpr DWORD ERROR_INVALID_NAME = 123;         ///< The path cannot name a file.
inline constexpr DWORD ERROR_NEGATIVE_SEEK = 131;        ///< The position would be before the start.
inline constexpr DWORD ERROR_FILENAME_EXCED_RANGE = 206; ///< The path is longer than the system takes.
inline constexpr DWORD ERROR_FILE_TOO_LARGE = 223; ///< Larger than the file system or the limit of the process takes.
inline constexpr DWORD ERROR_IO_DEVICE = 1117;     ///< The device failed.
inline constexpr DWORD ERROR_CANT_RESOLVE_FILENAME = 1921; ///< Links in the path lead in a circle.
/// @}

/// Reason of this thread's last failure. Success does not reset it.
DWORD GetLastError() noexcept;
/// Sets it, also to ERROR_SUCCESS.
void SetLastError(DWORD error) noexcept;

/// Opens or creates a file. Access is one of GENERIC_READ and GENERIC_WRITE; attributes play no part here.
HANDLE CreateFileA(const std::string& path, DWORD access, DWORD sharing, DWORD disposition, DWORD attributes) noexcept;

/// False for a handle that is not open.
bool CloseHandle(HANDLE file) noexcept;

/// A second handle of the same open file. Both share one position.
HANDLE DuplicateHandle(HANDLE file) noexcept;

/// Reads until `count` bytes came or the file ends; the end is no failure, `*done` tells it. On a failure in the
/// middle `*done` counts what came before it.
bool ReadFile(HANDLE file, void* buffer, DWORD count, DWORD* done) noexcept;

/// Writes all of the bytes, or fails; `*done` tells how many went out.
bool WriteFile(HANDLE file, const void* buffer, DWORD count, DWORD* done) noexcept;

/// Moves the position and gives the new one in `*position`, which may be null.
bool SetFilePointerEx(HANDLE file, std::int64_t distance, UHYPER* position, DWORD origin) noexcept;

/// The same with 32-bit numbers: the low half of the new position, or 0xFFFFFFFF on failure.
DWORD SetFilePointer(HANDLE file, LONG distance, DWORD origin) noexcept;

/// Size in bytes: the low half, with the high half in `*high`, which may be null. 0xFFFFFFFF on failure.
DWORD GetFileSize(HANDLE file, DWORD* high) noexcept;

/// Reads a file from its position to its end. A file that shrinks meanwhile gives the bytes that are left.
/// @param bytes Receives them; empty on failure.
/// @return false with ERROR_FILE_TOO_LARGE for more than `limit` bytes, ERROR_NOT_ENOUGH_MEMORY, or the reason of the
/// read that failed.
bool ReadToEnd(HANDLE file, UHYPER limit, std::string* bytes) noexcept;

/// Reads a whole file. @return As ReadToEnd; false if the file does not open.
bool ReadWholeFile(const std::string& path, UHYPER limit, std::string* bytes) noexcept;

/// What a lookup tells of a file.
struct WIN32_FIND_DATAA {
  DWORD dwFileAttributes; ///< FILE_ATTRIBUTE_DIRECTORY or FILE_ATTRIBUTE_NORMAL.
  DWORD nFileSizeHigh;    ///< High half of the size in bytes.
  DWORD nFileSizeLow;     ///< Low half. Folders have size 0.
  std::string cFileName;  ///< Name without folder, as it is spelled on disk.
};

/// Looks up a file or folder by path, or by a pattern with `*` and `?` in its last component when no file has
/// that very name. Only the first find, in byte order, is offered.
HANDLE FindFirstFileA(const std::string& pattern, WIN32_FIND_DATAA* data) noexcept;

/// Ends a lookup.
bool FindClose(HANDLE find) noexcept;

/// Owns an open file and closes it.
class UniqueHandle {
public:
  UniqueHandle() = default;
  /// Takes over an open file, or INVALID_HANDLE_VALUE.
  explicit UniqueHandle(HANDLE file) noexcept : m_file(file) {}
  UniqueHandle(const UniqueHandle&) = delete;
  UniqueHandle& operator=(const UniqueHandle&) = delete;
  ~UniqueHandle() { Reset(); }

  /// The file, which stays owned.
  HANDLE Get() const noexcept { return m_file; }
  /// Whether a file is open.
  explicit operator bool() const noexcept { return m_file != INVALID_HANDLE_VALUE; }
  /// Closes the file and takes over another.
  void Reset(HANDLE file = INVALID_HANDLE_VALUE) noexcept {
    if (m_file != INVALID_HANDLE_VALUE) {
      CloseHandle(m_file);
    }
    m_file = file;
  }

private:
  HANDLE m_file = INVALID_HANDLE_VALUE;
};
