/// @file
/// Failures as the user sees them: the file, what is wrong, and the result code.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include <fmt/format.h>

#include "disc/result_codes.h"
#include "platform/last_error.h"

/// Exit statuses of the tool.
inline constexpr int kExitFailure = 1;     ///< The command failed; standard error has the reason.
inline constexpr int kExitUsage = 2;       ///< The command line was not understood.
inline constexpr int kExitCancelled = 130; ///< Ctrl-C: 128 + SIGINT, as in shells.

inline constexpr HRESULT kFileExists = MakeResult(0x80070050); ///< The output file exists.
inline constexpr HRESULT kCancelled = MakeResult(0x80004004);  ///< The user cancelled the command.

/// A failure that ends a command.
class Failure : public std::runtime_error {
public:
  /// @param file Narrow text; empty if no file is involved. @param words UTF-8: what is wrong and, if known, what
  /// to do.
  Failure(std::string_view file, std::string_view words, HRESULT code);
  /// Makes a failure with the result code of a system error.
  Failure(std::string_view file, std::string_view words, DWORD error);

  const std::string& File() const noexcept { return m_file; }
  const std::string& Words() const noexcept { return m_words; }
  HRESULT Code() const noexcept { return m_code; }

  /// Prints what() on standard error: "zsimage: disc.cue: no such file (ZSE_CANNOTOPENIMAGE, 0x809F001A)".
  /// @return the exit status.
  int Report() const;

private:
  std::string m_file;
  std::string m_words;
  HRESULT m_code;
};

/// Throws a Failure with formatted words. @param code A result code or the number of a system error.
template <class Code, class... T>
[[noreturn]] void Fail(std::string_view file, Code code, fmt::format_string<T...> words, T&&... values) {
  throw Failure(file, fmt::format(words, std::forward<T>(values)...), code);
}

/// Returns the name of a result code, "ZSE_BADIMAGE", or its number if it has no name.
std::string CodeName(HRESULT code);
/// Returns the number of a result code, "0x809F001B".
std::string CodeNumber(HRESULT code);
/// Returns the meaning of a result code, as a part of a sentence.
std::string_view CodeWords(HRESULT code);

/// Throws a Failure for every code but S_OK. S_FALSE means that nothing was done.
void Check(HRESULT code, std::string_view file, std::string_view words = {});

/// Prints a note on standard error. `words` is UTF-8 without a full stop.
void Note(std::string_view words);
