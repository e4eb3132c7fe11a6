/// @file
/// Failures as the user sees them: the file, what is wrong, and the result code.
#pragma once

#include <string>
#include <string_view>

#include <fmt/format.h>

#include "imagefile/error.h"

/// Exit statuses of the tool.
inline constexpr int kExitFailure = 1;     ///< The command failed; standard error has the reason.
inline constexpr int kExitUsage = 2;       ///< The command line was not understood.
inline constexpr int kExitCancelled = 130; ///< Ctrl-C: 128 + SIGINT, as in shells.

inline constexpr HRESULT kCancelled = imagefile::kStopped;
using imagefile::CodeName, imagefile::CodeNumber, imagefile::MeaningOf, imagefile::kFileExists;

/// A failure that ends a command.
class Failure : public imagefile::Error {
public:
  /// @param file Narrow text; empty if no file is involved. @param words UTF-8: what is wrong and, if known, what
  /// to do.
  Failure(std::string_view file, std::string_view words, HRESULT code) : Error(code, std::string(file), words) {}
  /// Makes a failure with the result code of a system error.
  Failure(std::string_view file, std::string_view words, DWORD error)
      : Failure(file, words, HRESULT_FROM_WIN32(static_cast<std::int32_t>(error))) {}
};

/// Returns the text of a failure for a terminal: "disc.cue: no such file (ZSE_CANNOTOPENIMAGE, 0x809F001A)".
std::string MessageOf(const imagefile::Error& failure);

/// Prints the text of a failure on standard error, after "zsimage: ". @return the exit status.
int Report(const imagefile::Error& failure);

/// Throws a Failure with formatted words. @param code A result code or the number of a system error.
template <class Code, class... T>
[[noreturn]] void Fail(std::string_view file, Code code, fmt::format_string<T...> words, T&&... values) {
  throw Failure(file, fmt::format(words, std::forward<T>(values)...), code);
}

/// Throws a Failure with formatted words if a condition holds. The values of the words are evaluated in any case.
template <class Code, class... T>
void FailIf(bool isWrong, std::string_view file, Code code, fmt::format_string<T...> words, T&&... values) {
  if (isWrong) {
    Fail(file, code, words, std::forward<T>(values)...);
  }
}

/// Throws a Failure for every code but S_OK. S_FALSE means that nothing was done.
void Check(HRESULT code, std::string_view file, std::string_view words = {});

/// Prints a note on standard error. `words` is UTF-8 without a full stop.
void Note(std::string_view words);
