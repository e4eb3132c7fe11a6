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
  /// Opens a file after it closes the one that is open. For the arguments see CreateFileA.
  bool Open(const std::string& path, DWORD access, DWORD sharing, DWORD disposition, DWORD attributes) noexcept;
  /// Opens an existing file for reading, shared with other readers.
  bool OpenForReading(const std::string& path) noexcept;
  void Close() noexcept { m_file.Reset(); }

  /// Reads exactly `count` bytes. False if fewer are left. A count of 0 succeeds without a system call.
  bool Read(void* buffer, DWORD count) noexcept;
  /// Does the same and sets `*bytesRead`, also if fewer are left.
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
  /// Returns the path of the file, its last component spelled as on disk. A path with wildcards is returned unchanged,
  /// because a file is opened by its name and not by a pattern. Empty if nothing was found.
  const std::string& Path() const noexcept { return m_path; }
  /// Returns the size in bytes; 0 if nothing was found.
  UHYPER GetFileSize() const noexcept { return m_file.size; }
  /// Forgets the file.
  void Close() noexcept;

private:
  FoundFile m_file;
  std::string m_path;
};
