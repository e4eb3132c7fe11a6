/// @file
/// Timing of two alternatives in one process.
#pragma once

#include <functional>

/// Runs both alternatives `rounds` times, each round in random order. Prints `what`, the two medians in microseconds
/// and the ratio theirs / ours.
void CompareRounds(const char* what, int rounds, const std::function<void()>& ours,
                   const std::function<void()>& theirs);

/// Ends the program with exit status 1 and a message.
[[noreturn]] void ExitWithError(const char* message);
