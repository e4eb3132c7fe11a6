/// @file
/// Files of the host: what the tool looks at before and after the component worked, and what it writes itself.
///
/// Paths are narrow text and found as the platform layer finds them.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "failure.h"
#include "platform/files.h"

/// Far above what any disc's lead-in holds of CD-Text.
inline constexpr UHYPER kLargestPackFile = 16U << 20;
inline constexpr std::size_t kPackBytes = 18; ///< Of one CD-Text pack (MMC).

/// Whether a path ends in an extension, dot included, in any case.
bool EndsWith(std::string_view path, std::string_view extension);

/// Bytes of a file; none when there is no regular file or block device of this path.
std::optional<UHYPER> FileSize(const std::string& path);

/// Whether a path names an existing file that one of the others names as well.
bool IsOneOf(const std::string& path, const std::vector<std::string>& files);

/// Whether both paths name one existing file.
bool SameFile(const std::string& left, const std::string& right);

/// Removes a regular file. Devices of all kinds stay.
void RemoveFile(const std::string& path);

/// Whether a path stands for standard output or standard input.
inline bool IsStandardStream(std::string_view path) { return path == "-"; }

/// Prints text on standard output. @throws Failure when not all of it goes out.
void Print(std::string_view text);

/// Writes bytes to standard output. @throws Failure when not all of it goes out, and when a terminal would show it.
void WriteStandardOutput(const BYTE* data, std::size_t size);

/// The whole file, or standard input for "-". @throws Failure when it cannot be read or is larger than `limit`.
std::vector<BYTE> ReadWholeFile(const std::string& path, UHYPER limit);

/// Another name in the folder of a path.
std::string Beside(const std::string& path, std::string_view name);

/// The name behind the folder of a path.
std::string FileName(const std::string& path);

/// Why a file could not be made or filled: missing folder, no permission, full disk. Looks at the system as it is
/// now, so a partial file must still be there.
/// @param written Bytes that are in the file. @param wanted Bytes that should be.
/// @param error What GetLastError gave at the open or write that failed; ERROR_SUCCESS when nothing told.
Failure WriteFailure(const std::string& path, UHYPER written, UHYPER wanted, DWORD error);

/// Why standard output took not all. @param error errno at the write that failed, 0 when it is not known any more.
Failure OutputFailure(int error);

/// A file that the tool writes, or standard output for "-". A file goes away again unless it is kept.
class OutputFile {
public:
  /// @throws Failure when it cannot be created.
  OutputFile(const std::string& path, UHYPER size);
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();

  /// @throws Failure when not all of it goes out.
  void Write(const BYTE* data, std::size_t size);

  void Keep() noexcept { m_keep = true; }

private:
  std::string m_path;
  UniqueHandle m_file;
  UHYPER m_size;
  UHYPER m_written = 0;
  bool m_keep = false;
};

/// A new folder that goes away with what is in it.
class ScratchFolder {
public:
  /// @throws Failure when it cannot be made.
  ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  ~ScratchFolder();

  std::string Path(const std::string& name) const { return m_path + "/" + name; }

private:
  std::string m_path;
};
