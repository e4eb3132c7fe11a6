/// @file
/// Text between the command line, the component and the terminal: paths and arguments are narrow text
/// (platform/text.h), the component has wide strings, and a terminal shows UTF-8.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "platform/bstr.h"

/// Returns wide text as narrow text; empty for null.
std::string Narrow(BSTR text);

/// Returns narrow text as a string for the component; never null.
UniqueBstr Wide(std::string_view narrow);

/// Returns text as UTF-8 without control characters, so that no name or title in an image can control the terminal.
std::string TerminalText(std::string_view narrow);
inline std::string TerminalText(BSTR text) { return TerminalText(Narrow(text)); }

/// Returns the columns that UTF-8 text occupies on a terminal.
std::size_t TerminalWidth(std::string_view utf8);

/// Returns the bytes of the character of UTF-8 text that begins at an offset.
std::string_view CharacterAt(std::string_view utf8, std::size_t offset);

/// Returns UTF-8 text that fits into `room`: longer text is cut and ends in an ellipsis.
/// @param widthOf Returns the width of one character.
std::string CutToFit(std::string_view utf8, double room, const std::function<double(std::string_view)>& widthOf);

/// Returns a size for a person, in powers of 1000: "698.3 MB".
std::string ReadableSize(UHYPER bytes);

/// Returns a number of things: "1 sector", "2 sectors".
std::string Counted(UHYPER count, std::string_view noun);
