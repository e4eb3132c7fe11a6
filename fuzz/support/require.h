/// @file
/// How a check of the fuzzers fails.
#pragma once

namespace fuzz {

/// Ends the program with a message when something does not hold that must.
void Require(bool holds, const char* what) noexcept;

} // namespace fuzz
