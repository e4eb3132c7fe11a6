/// @file
/// Files by handle: open, read, write, seek and size over POSIX.
///
/// Paths are looked up as platform/file_lookup.h says; the name of a new file is written in UTF-8. Only regular files
/// and block devices open for reading. Opening a folder or a FIFO fails at once.
///
/// Functions that fail leave the reason for GetLastError.
#pragma once

#include <string>

#include "platform/file_lookup.h"
#include "platform/last_error.h"

/// An open file. The number is the descriptor of the file operations in use.
enum class HANDLE : std::int32_t {};
inline constexpr HANDLE INVALID_HANDLE_VALUE{-1}; ///< No file.

inline constexpr DWORD GENERIC_READ = 0x80000000U;  ///< Access to read.
inline constexpr DWORD GENERIC_WRITE = 0x40000000U; ///< Access to write.

/// @name Sharing
/// A regular file that is open for writing without sharing cannot be opened for reading, or for writing without
/// sharing. A file that is open for reading cannot be opened for writing without sharing. This holds for all processes.
/// File systems without locks enforce nothing.
/// @{
inline constexpr DWORD FILE_SHARE_NONE = 0;  ///< Excludes readers, and writers without sharing.
inline constexpr DWORD FILE_SHARE_READ = 1;  ///< Excludes nobody. Readers always share.
inline constexpr DWORD FILE_SHARE_WRITE = 2; ///< As FILE_SHARE_READ.
/// @}

inline constexpr DWORD CREATE_ALWAYS = 2; ///< Creates the file, or empties the one that exists.
inline constexpr DWORD OPEN_EXISTING = 3; ///< Fails if the file does not exist.

inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80; ///< No attributes. Not read.

inline constexpr DWORD FILE_BEGIN = 0;   ///< From the start of the file.
inline constexpr DWORD FILE_CURRENT = 1; ///< From the current position.
inline constexpr DWORD FILE_END = 2;     ///< From the end of the file.

/// Opens or creates a file. Access is GENERIC_READ or GENERIC_WRITE; attributes are ignored.
HANDLE CreateFileA(const std::string& path, DWORD access, DWORD sharing, DWORD disposition, DWORD attributes) noexcept;

/// Closes a file. @return false for a handle that is not open.
bool CloseHandle(HANDLE file) noexcept;

/// Returns a second handle of the same open file. Both share one position.
HANDLE DuplicateHandle(HANDLE file) noexcept;

/// Reads until `count` bytes are read or the file ends, which is no failure. `*bytesRead` is set also on failure.
bool ReadFile(HANDLE file, void* buffer, DWORD count, DWORD* bytesRead) noexcept;

/// Writes all bytes, or fails. `*bytesWritten` is set also on failure.
bool WriteFile(HANDLE file, const void* buffer, DWORD count, DWORD* bytesWritten) noexcept;

/// Moves the position. `*position`, which may be null, receives the new one.
bool SetFilePointerEx(HANDLE file, std::int64_t distance, UHYPER* position, DWORD origin) noexcept;

/// Stores the size in bytes in `*size`. For a block device it is the position of its end.
bool GetFileSize(HANDLE file, UHYPER* size) noexcept;

/// Reads a file from its position to its end. If the file shrinks meanwhile, `*bytes` has fewer bytes.
/// @param file The open file. @param limit Most bytes that are read. @param bytes Receives them; empty on failure.
/// @return false, with ERROR_FILE_TOO_LARGE, if more than `limit` bytes or 4 GiB are left.
bool ReadToEnd(HANDLE file, UHYPER limit, std::string* bytes) noexcept;

/// Opens a file and reads all of it, as ReadToEnd.
bool ReadWholeFile(const std::string& path, UHYPER limit, std::string* bytes) noexcept;

/// Owns an open file and closes it.
class UniqueHandle {
public:
  UniqueHandle() = default;
  /// Owns an open file, or INVALID_HANDLE_VALUE.
  explicit UniqueHandle(HANDLE file) noexcept : m_file(file) {}
  UniqueHandle(const UniqueHandle&) = delete;
  UniqueHandle& operator=(const UniqueHandle&) = delete;
  ~UniqueHandle() { Reset(); }

  /// Returns the file, which remains owned by this object.
  HANDLE Get() const noexcept { return m_file; }
  /// Whether a file is open.
  explicit operator bool() const noexcept { return m_file != INVALID_HANDLE_VALUE; }
  /// Closes the file and owns another.
  void Reset(HANDLE file = INVALID_HANDLE_VALUE) noexcept {
    if (m_file != INVALID_HANDLE_VALUE) {
      CloseHandle(m_file);
    }
    m_file = file;
  }

private:
  HANDLE m_file = INVALID_HANDLE_VALUE;
};
