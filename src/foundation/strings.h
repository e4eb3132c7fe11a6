/// @file
/// Conversion between the wide strings of the interfaces and narrow text.
#pragma once

#include <string>
#include <string_view>

#include "platform/bstr.h"

/// Converts a string to narrow text, up to its first zero.
std::string NarrowText(BSTR text);

/// Converts narrow text, up to its first zero, to a new string that the caller frees. Null for empty text.
/// @throws std::bad_alloc.
BSTR NewBstr(std::string_view narrow);

/// Does the same with at most `limit` wide units, and splits no character.
BSTR NewBstr(std::string_view narrow, std::size_t limit);

/// Copies a string. The caller frees the copy. Null for null. @throws std::bad_alloc.
BSTR CopyBstr(BSTR text);

/// Returns the longest prefix of the text that has at most `limit` bytes and splits no character.
std::string_view CutAtCharacter(std::string_view narrow, std::size_t limit);

/// Returns a text with each `from` replaced by `to`. Replacements are not searched again.
std::string Replaced(std::string_view text, std::string_view from, std::string_view to);
