/// @file
/// A file with exact reads and a 64-bit position.
#pragma once

#include <string>

#include "platform/files.h"

/// Returned by Seek64 on failure.
inline constexpr UHYPER kSeekFailed = ~UHYPER{0};

/// One open file. The destructor closes it.
class CZSFile {
public:
  /// Closes the open file and opens another. For the arguments see CreateFileA.
  bool Open(const std::string& path, DWORD access, DWORD sharing, DWORD disposition, DWORD attributes) noexcept;
  /// Opens an existing file for reading, shared with other readers.
  bool OpenForReading(const std::string& path) noexcept;
  void Close() noexcept { m_file.Reset(); }

  /// Reads exactly `count` bytes. Returns false if the file ends before. A count of 0 succeeds without a system call.
  bool Read(void* buffer, DWORD count) noexcept;
  /// Does the same. `*bytesRead` receives the number of bytes that were read, also on failure.
  bool ReadCount(void* buffer, DWORD count, DWORD* bytesRead) noexcept;
  /// Writes exactly `count` bytes. A count of 0 succeeds without a system call.
  bool Write(const void* buffer, DWORD count) noexcept;

  /// Moves the position. @return The new position or kSeekFailed.
  UHYPER Seek64(std::int64_t distance, DWORD origin) noexcept;
  /// Determines the size in bytes.
  bool Size(UHYPER* size) const noexcept { return GetFileSize(m_file.Get(), size); }

  HANDLE Handle() const noexcept { return m_file.Get(); }

private:
  UniqueHandle m_file;
};

/// Finds a file's name on disk and its size.
class CZSFindFile {
public:
  /// Finds a file or folder by path or pattern (platform/file_lookup.h).
  bool FindFile(const std::string& path) noexcept;
  /// Returns the path of the file, with its last component spelled as on disk. A pattern with wildcards is returned
  /// unchanged: a file must be opened by its name, not by a pattern. Empty if nothing was found.
  const std::string& Path() const noexcept { return m_path; }
  /// Returns the size in bytes; 0 if nothing was found.
  UHYPER GetFileSize() const noexcept { return m_file.size; }
  /// Forgets the file.
  void Close() noexcept;

private:
  FoundFile m_file;
  std::string m_path;
};
