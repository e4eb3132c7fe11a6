/// @file
/// Two ways to do one thing, timed in rounds of one process.
#pragma once

#include <functional>

/// Does both `rounds` times, each round in an order of chance, and prints a line: what, the median of each in
/// microseconds, and theirs / ours.
void CompareRounds(const char* what, int rounds, const std::function<void()>& ours,
                   const std::function<void()>& theirs);

/// Ends the program with a message.
[[noreturn]] void EndWith(const char* message);
