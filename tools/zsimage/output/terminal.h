/// @file
/// The terminal: its width and its colours.
#pragma once

#include <unistd.h>

#include <string>

/// Colours and weights. The values are those of the escape sequence that selects them (ECMA-48).
enum class Colour { None = 0, Bold = 1, Dim = 2, Red = 31, Green = 32, Yellow = 33, Magenta = 35, Cyan = 36 };

/// Returns whether standard output or standard error is a terminal that can rewrite a line: TERM is set, and not to
/// "dumb".
bool CanRewriteLines(int descriptor);

/// Returns the columns of the terminal; 80 if they are unknown.
std::size_t TerminalColumns(int descriptor);

/// Returns text in a colour if `descriptor` is a terminal that has colours and NO_COLOR is not set.
std::string Coloured(const std::string& text, Colour colour, int descriptor = STDOUT_FILENO);
