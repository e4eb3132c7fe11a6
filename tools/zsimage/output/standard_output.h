/// @file
/// Standard output whose failures are reported.
#pragma once

#include <string_view>

#include "platform/base_types.h"

/// The names of standard output and standard input in messages.
inline constexpr std::string_view kStandardOutput = "standard output";
inline constexpr std::string_view kStandardInput = "standard input";

/// Returns whether a path means standard output or standard input: "-".
inline bool IsStandardStream(std::string_view path) { return path == "-"; }
/// Returns whether a path means standard output: "-", or a name of the system such as /dev/stdout.
bool IsStandardOutput(std::string_view path);

/// Prints text. @throws Failure if not all of it can be written.
void Print(std::string_view text);

/// Writes bytes. @throws Failure as Print does, and if they would go to a terminal.
void WriteStandardOutput(const BYTE* data, std::size_t size);

/// Writes the buffered output. @throws Failure if this write or an earlier one failed.
void FlushStandardOutput();
