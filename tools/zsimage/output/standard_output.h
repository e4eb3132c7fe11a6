/// @file
/// Standard output, with failures that are noticed.
#pragma once

#include <string_view>

#include "output/failure.h"

/// Prints text on standard output. @throws Failure when not all of it goes out.
void Print(std::string_view text);

/// Writes bytes to standard output. @throws Failure when not all of it goes out, and when a terminal would show it.
void WriteStandardOutput(const BYTE* data, std::size_t size);

/// Why standard output took not all. @param error errno at the write that failed, 0 when it is not known any more.
Failure OutputFailure(int error);
