/// @file
/// What a terminal can be shown beyond plain lines.
#pragma once

#include <unistd.h>

#include <string>

enum class Colour { None, Bold, Dim, Red, Green, Yellow, Cyan, Magenta };

/// Whether a line that was written to standard output or standard error can be written over: there is a terminal, and
/// TERM does not call it dumb.
bool CanRewriteLines(int descriptor);

/// Columns of a line on the terminal; 80 when it does not tell.
std::size_t TerminalColumns(int descriptor);

/// Text in a colour, when `descriptor` leads to a terminal that has colours and the user did not set NO_COLOR.
std::string Coloured(const std::string& text, Colour colour, int descriptor = STDOUT_FILENO);
