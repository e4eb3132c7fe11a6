/// @file
/// Standard output, with failures that are noticed.
#pragma once

#include <string_view>

#include "platform/base_types.h"

/// The name of standard output and standard input in messages.
inline constexpr std::string_view kStandardOutput = "standard output";
inline constexpr std::string_view kStandardInput = "standard input";

/// Whether a path means standard output or standard input: "-".
inline bool IsStandardStream(std::string_view path) { return path == "-"; }
/// Whether a path means standard output: also a name that the system has for it.
bool IsStandardOutput(std::string_view path);

/// Prints text. @throws Failure if not all of it can be written.
void Print(std::string_view text);

/// Writes bytes. @throws Failure as Print does, and if they would go to a terminal.
void WriteStandardOutput(const BYTE* data, std::size_t size);

/// Writes what is buffered. @throws Failure if that fails, or an earlier write failed.
void FlushStandardOutput();
