/// @file
/// Narrow and wide text, and the code page between them.
///
/// Narrow text holds two encodings at once. Bytes that form valid UTF-8 are UTF-8; any other byte of 0x80 and
/// above is one character of Windows-1252. So names of any file system and texts of either encoding can be
/// read. On the way to narrow text a character of Windows-1252 becomes its one byte, as the 8-bit formats want
/// it, unless that byte and what follows would read back as something else; then, and for every other
/// character, it becomes UTF-8. Wide to narrow to wide is the identity for all well-formed text.
#pragma once

#include <string>
#include <string_view>

#include "platform/base_types.h"

/// Wide text as narrow text. A lone surrogate becomes '?'.
std::string WideCharToMultiByte(std::u16string_view wide);

/// Narrow text as wide text. Every byte sequence can be read.
std::u16string MultiByteToWideChar(std::string_view narrow);

/// Whether all bytes are below 0x80: then narrow text, UTF-8 and wide text have the same numbers.
bool IsAscii(std::string_view narrow) noexcept;

/// Narrow text as UTF-8, which is how file systems and terminals want to see it.
std::string NarrowToUtf8(std::string_view narrow);

/// Upper-cases the text in place, character by character, in all scripts that have simple cases. The result is
/// narrow text again and may have another length in bytes.
void CharUpperA(std::string* narrow);

/// One wide unit in upper case.
char16_t UpperUnit(char16_t unit) noexcept;

/// Compares without regard to case: below 0, 0, above 0 as in `strcmp`.
int lstrcmpiA(std::string_view left, std::string_view right);

namespace platform {

/// Space, tab and the line ends, the vertical ones included.
constexpr bool IsBlank(char c) noexcept { return c <= ' ' && (c == ' ' || (c >= '\t' && c <= '\r')); }

/// Value of a hexadecimal digit in either case; -1 for any other character.
int HexDigit(char c) noexcept;

/// A copy in upper case (CharUpperA).
std::string Upper(std::string_view narrow);

/// The text without the blanks around it.
std::string_view Trim(std::string_view narrow) noexcept;

} // namespace platform
