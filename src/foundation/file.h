/// @file
/// A file with exact reads and a 64-bit position.
#pragma once

#include <string>

#include "platform/files.h"

/// What Seek64 returns on failure.
inline constexpr UHYPER kSeekFailed = ~UHYPER{0};

/// One open file; the destructor closes it.
class CZSFile {
public:
  /// Opens a file, after closing the one that was open. Arguments as those of CreateFileA.
  bool Open(const std::string& path, DWORD access, DWORD sharing, DWORD disposition, DWORD attributes) noexcept;
  /// Opens an existing file for reading, shared with other readers.
  bool OpenForReading(const std::string& path) noexcept;
  /// Harmless when nothing is open.
  void Close() noexcept { m_file.Reset(); }

  /// True only when all `count` bytes came. A count of 0 is true, with no system call.
  bool Read(void* buffer, DWORD count) noexcept;
  /// The same; `*done` is how many came, also when that is fewer.
  bool ReadCount(void* buffer, DWORD count, DWORD* done) noexcept;
  /// True only when all `count` bytes went out. A count of 0 is true, with no system call.
  bool Write(const void* buffer, DWORD count) noexcept;

  /// Moves the position. @return The new one, or kSeekFailed.
  UHYPER Seek64(std::int64_t distance, DWORD origin) noexcept;
  /// Size in bytes.
  bool Size(UHYPER* size) const noexcept { return GetFileSize(m_file.Get(), size); }

  HANDLE Handle() const noexcept { return m_file.Get(); }

private:
  UniqueHandle m_file;
};

/// Looks up a file's name on disk and its size.
class CZSFindFile {
public:
  /// Finds a file or folder by path or pattern (platform/file_lookup.h).
  bool FindFile(const std::string& path) noexcept;
  /// Path that opens what was found, its last name spelled as on disk. A path with wildcards stays as it was given:
  /// a file opens by its name, not by a pattern. Empty if nothing was found.
  const std::string& Path() const noexcept { return m_path; }
  /// Bytes of what was found; 0 if nothing was.
  UHYPER GetFileSize() const noexcept { return m_file.size; }
  /// Forgets what was found.
  void Close() noexcept;

private:
  FoundFile m_file;
  std::string m_path;
};
