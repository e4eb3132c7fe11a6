/// @file
/// From the wide strings of the interfaces to narrow text and back.
#pragma once

#include <string>
#include <string_view>

#include "platform/bstr.h"

/// Narrow text of a string, up to its first zero unit.
std::string NarrowText(BSTR text);

/// A new string of narrow text, up to its first zero byte, that the caller frees; null for empty text. Throws
/// std::bad_alloc.
BSTR NewBstr(std::string_view narrow);

/// The same, cut to at most so many wide units, between two characters.
BSTR NewBstr(std::string_view narrow, std::size_t limit);

/// A copy of a string that the caller frees; null for null. Throws std::bad_alloc.
BSTR CopyBstr(BSTR text);

/// The longest start of the text that has at most `limit` bytes and ends between two characters.
std::string_view CutAtCharacter(std::string_view narrow, std::size_t limit);
