/// @file
/// Text on its way between the command line, the component and the terminal.
///
/// The command line and paths are narrow text (platform/text.h), the component takes wide strings, and a terminal
/// shows UTF-8.
#pragma once

#include <string>
#include <string_view>

#include "platform/bstr.h"

/// Wide text as narrow text. Null gives the empty text.
std::string Narrow(BSTR text);

/// Narrow text as a string for the component. Empty text gives an empty string that is not null.
UniqueBstr Wide(std::string_view narrow);

/// Narrow text as UTF-8 for a terminal: a control character becomes '?', so that no name or title in an image can
/// steer the terminal.
std::string TerminalText(std::string_view narrow);
inline std::string TerminalText(BSTR text) { return TerminalText(Narrow(text)); }

/// Columns that UTF-8 text takes on a terminal.
std::size_t TerminalWidth(const std::string& utf8);

/// Bytes as a person reads them: "698.3 MB", in powers of 1000.
std::string ReadableSize(UHYPER bytes);

/// printf into a string. For short texts without user-given parts.
[[gnu::format(printf, 1, 2)]] std::string Format(const char* format, ...);
