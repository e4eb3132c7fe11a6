/// @file
/// From a path as a description spells it to the file on disk.
///
/// A path is looked for in UTF-8 first, then by its bytes as they are. If neither names a file, `\` is read as `/`, and
/// each component is looked for in its folder: the same characters in another encoding, then the same letters in any
/// case. Of several names that match, the first in byte order is taken.
///
/// Functions that fail leave the reason for GetLastError.
#pragma once

#include <string>

#include "platform/base_types.h"

/// Finds the file or folder that a path leads to. @return false, with `*resolved` unchanged, if there is none.
bool ResolveFilePath(const std::string& path, std::string* resolved) noexcept;

/// Whether a path leads to a file or folder.
bool PathFileExistsA(const std::string& path) noexcept;

/// A file or folder that was found.
struct FoundFile {
  UHYPER size = 0;  ///< Bytes of a file; 0 for a folder, and for a block device that does not open.
  std::string name; ///< Name without folder, as spelled on disk.
};

/// Finds a file or folder by its path or, if no file has that very name, by a pattern with `*` and `?` in the last
/// component. Of several matches of a pattern, the first in byte order is taken.
/// @return false, with `*found` unchanged, if there is none.
bool FindFirstFileA(const std::string& pattern, FoundFile* found) noexcept;
