/// @file
/// Narrow and wide text, and conversion between them.
///
/// Narrow text mixes two encodings, so that names of any file system and texts in either encoding can be read. When it
/// is read, bytes that form valid UTF-8 are UTF-8, and any other byte of 0x80 and above is one character of
/// Windows-1252. When it is written, a character of Windows-1252 becomes its one byte, because 8-bit formats such as
/// CD-Text need it. If that byte and the bytes after it would be read as UTF-8, the character is written in UTF-8, as
/// are all characters that Windows-1252 lacks. Wide to narrow to wide is the identity for all well-formed text.
#pragma once

#include <string>
#include <string_view>

#include "platform/base_types.h"

/// Converts wide text to narrow text. A lone surrogate becomes '?'.
std::string WideCharToMultiByte(std::u16string_view wide);

/// Converts narrow text to wide text. Every sequence of bytes is valid.
std::u16string MultiByteToWideChar(std::string_view narrow);

/// Returns whether all bytes are below 0x80. Such text is the same in narrow text, UTF-8 and wide text.
bool IsAscii(std::string_view narrow) noexcept;

/// Converts narrow text to UTF-8, the encoding of file systems and terminals.
std::string NarrowToUtf8(std::string_view narrow);

/// Converts narrow text to upper case, character by character, in the Latin, Greek, Cyrillic and Armenian scripts. Its
/// length in bytes can change.
void CharUpperA(std::string* narrow);

/// Returns a wide unit in upper case.
char16_t UpperUnit(char16_t unit) noexcept;

/// Compares without regard to case. Returns a number below 0, 0 or above 0, as `strcmp`.
int lstrcmpiA(std::string_view left, std::string_view right);

namespace platform {

/// Returns whether a character is a space, tab, line end, vertical tab or form feed.
constexpr bool IsBlank(char c) noexcept { return c <= ' ' && (c == ' ' || (c >= '\t' && c <= '\r')); }

/// Returns the value of a hexadecimal digit in either case; -1 for any other character.
int HexDigit(char c) noexcept;

/// Returns a copy in upper case, as CharUpperA.
std::string Upper(std::string_view narrow);

/// Returns the text without the blanks around it.
std::string_view Trim(std::string_view narrow) noexcept;

} // namespace platform
