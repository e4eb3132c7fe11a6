/// @file
/// Look-up of paths on disk.
///
/// A path is looked up in these spellings, until one names a file or folder:
///
/// 1. converted to UTF-8;
/// 2. by its bytes as they are;
/// 3. component by component, with `\` read as `/`. Each component is looked up in the spellings above, then as a name
///    in its folder with the same characters in another encoding, then as a name with the same letters in any case. If
///    several names match, the first in byte order is used.
///
/// Functions that fail leave the reason for GetLastError.
#pragma once

#include <string>

#include "platform/base_types.h"

/// Finds a file or folder. `*resolved` receives its path on disk. @return false, with `*resolved` unchanged, if there
/// is none.
bool ResolveFilePath(const std::string& path, std::string* resolved) noexcept;

/// Returns whether a path leads to a file or folder.
bool PathFileExistsA(const std::string& path) noexcept;

/// A file or folder that was found.
struct FoundFile {
  UHYPER size = 0;  ///< Bytes of a file; 0 for a folder, and for a block device that does not open.
  std::string name; ///< Name without folder, as spelled on disk.
};

/// Finds a file or folder by its path. If there is none, the last component is a pattern: `*` matches any
/// characters and `?` one. Of several matches, the first in byte order is used.
/// @return false, with `*found` unchanged, if there is none.
bool FindFirstFileA(const std::string& pattern, FoundFile* found) noexcept;
