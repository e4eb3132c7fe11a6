/// @file
/// Files of the host: what the tool looks at before and after the component worked, and what it writes itself.
///
/// Paths are narrow text and found as the platform layer finds them.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "output/failure.h"
#include "platform/files.h"

/// Far above what any disc's lead-in holds of CD-Text.
inline constexpr UHYPER kLargestPackFile = 16U << 20;
inline constexpr std::size_t kPackBytes = 18; ///< Of one CD-Text pack (MMC).

/// Whether a path ends in an extension, dot included, in any case.
bool EndsWith(std::string_view path, std::string_view extension);

/// Bytes of a file; none when there is no regular file or block device of this path.
std::optional<UHYPER> FileSize(const std::string& path);

/// Whether a path names an existing file that another path, or one of several, names as well.
bool IsOneOf(const std::string& path, const std::vector<std::string>& files);
bool SameFile(const std::string& left, const std::string& right);

/// Whether a path stands for standard output or standard input.
inline bool IsStandardStream(std::string_view path) { return path == "-"; }

/// The whole file, or standard input for "-". @throws Failure when it cannot be read or is larger than `limit`.
std::vector<BYTE> ReadWholeFile(const std::string& path, UHYPER limit);

/// Bytes of a file from an offset; fewer, or none, when they cannot be read.
std::string BytesAt(const std::string& path, UHYPER offset, std::size_t count);

/// The mark of a sound file: RIFF, FORM or fLaC. Empty for any other file.
std::string SoundMark(const std::string& path);

/// The folder of a path, "." where it names none, and the name after it.
std::string FolderOf(const std::string& path);
std::string FileName(const std::string& path);

/// A path with another name after its folder, or with another extension, dot included.
std::string Beside(const std::string& path, std::string_view name);
std::string WithExtension(std::string path, std::string_view extension);

/// A path as it is spelt on disk; as it is when there is no such file.
std::string OnDisk(const std::string& path);

/// The number of a system error as GetLastError gives it.
DWORD SystemError(int error);

/// Why a file could not be made or filled: missing folder, no permission, full disk. Looks at the system as it is now.
/// @param written Bytes that are in the file. @param wanted Bytes that should be.
/// @param error Number of the error of the open or write that failed; ERROR_SUCCESS when none is known.
Failure WriteFailure(const std::string& path, UHYPER written, UHYPER wanted, DWORD error);

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
