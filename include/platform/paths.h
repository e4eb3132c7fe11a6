/// @file
/// Path strings. Both `/` and `\` separate components. Paths are narrow text (platform/text.h) of any length.
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
