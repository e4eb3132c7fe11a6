/// @file
/// Parts of paths, which are narrow text.
#pragma once

#include <string>
#include <string_view>

#include "platform/file_lookup.h"
#include "platform/paths.h"
#include "platform/text.h"

/// Returns whether a path ends with an extension, dot included. Upper and lower case are equal.
inline bool HasExtension(std::string_view path, std::string_view extension) {
  return path.size() >= extension.size() && lstrcmpiA(path.substr(path.size() - extension.size()), extension) == 0;
}

using platform::FileName, platform::SpelledOnDisk, platform::WithExtension;

/// Returns the path of a name in the folder of `path`.
inline std::string Beside(const std::string& path, std::string_view name) {
  return platform::FolderOf(path).append(name);
}
