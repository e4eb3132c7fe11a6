/// @file
/// Failure of a check.
#pragma once

namespace fuzz {

/// Aborts the program with a message unless a condition holds.
void Require(bool holds, const char* what) noexcept;

} // namespace fuzz
