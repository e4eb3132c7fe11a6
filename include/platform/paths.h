/// @file
/// Path strings, and the way from a path as a description spells it to the file on disk.
///
/// Both `/` and `\` separate components. Paths are narrow text (platform/text.h) of any length.
#pragma once

#include <string>
#include <string_view>

#include "platform/base_types.h"

/// Both kinds of separator.
inline constexpr std::string_view kPathSeparators = "/\\";

/// Where the extension begins, its dot included; the length of the path when it has none. A dot that has a blank
/// behind it begins no extension.
std::size_t PathFindExtensionA(std::string_view path) noexcept;

/// Replaces the extension, dot included, or adds it to a path that has none.
void PathRenameExtensionA(std::string* path, std::string_view extension);

/// Cuts the last component and the separator before it. A path of one component becomes empty; the root stays.
void PathRemoveFileSpecA(std::string* path);

/// Adds a component behind one separator. Separators at the start of `more` are dropped.
void PathAppendA(std::string* path, std::string_view more);

/// Where the last component begins. A separator at the very end belongs to it.
std::size_t PathFindFileNameA(std::string_view path) noexcept;

/// Whether a file or folder of this path exists, as the file layer finds it.
bool PathFileExistsA(const std::string& path) noexcept;

/// Finds the file or folder that the file layer would open for a path: by exact spelling first; if there is none,
/// with `\` read as `/` and each component looked up by its exact name, then by the same characters in another
/// encoding, then without regard to case (the first match in byte order).
/// @return false when nothing is found, with the reason for GetLastError and `*resolved` unchanged.
bool ResolveFilePath(const std::string& path, std::string* resolved) noexcept;
