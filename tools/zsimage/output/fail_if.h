/// @file
/// Conditions under which a command fails.
#pragma once

#include "output/failure.h"

/// Throws a Failure with formatted words if a condition holds. The values of the words are evaluated in any case.
/// @param code A result code or the number of a system error.
template <class Code, class... T>
void FailIf(bool isWrong, std::string_view file, Code code, fmt::format_string<T...> words, T&&... values) {
  if (isWrong) {
    Fail(file, code, words, std::forward<T>(values)...);
  }
}
