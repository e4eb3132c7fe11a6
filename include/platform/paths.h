/// @file
/// Path strings. Both `/` and `\` separate components. Paths are narrow text (platform/text.h) of any length.
#pragma once

#include <string>
#include <string_view>

#include "platform/base_types.h"

/// The separators.
inline constexpr std::string_view kPathSeparators = "/\\";

/// Returns the offset of the extension, which begins with its dot; the length of the path if it has none. An extension
/// contains no space.
std::size_t PathFindExtensionA(std::string_view path) noexcept;

/// Replaces the extension, dot included, or adds it to a path that has none.
void PathRenameExtensionA(std::string* path, std::string_view extension);

/// Removes the last component and the separator before it. A path of one component becomes empty; the root is kept.
void PathRemoveFileSpecA(std::string* path);

/// Appends a component after one separator. Separators at the start of `more` are dropped.
void PathAppendA(std::string* path, std::string_view more);

/// Returns the offset of the last component. A separator at the end of the path belongs to it.
std::size_t PathFindFileNameA(std::string_view path) noexcept;
