/// @file
/// Failures as the user sees them: the file, what is wrong in words, and the result code.
#pragma once

#include <exception>
#include <string>
#include <string_view>

#include "disc/result_codes.h"

/// Exit statuses of the tool.
inline constexpr int kExitFailure = 1;     ///< The operation failed; standard error says why.
inline constexpr int kExitUsage = 2;       ///< The command line was not understood.
inline constexpr int kExitCancelled = 130; ///< Ctrl-C, as shells count it.

/// A file is in the way.
inline constexpr HRESULT kFileExists = MakeResult(0x80070050);

/// The user ended the command.
inline constexpr HRESULT kCancelled = MakeResult(0x80004004);

/// Ends a command. `file` is narrow text; `words` is UTF-8 and says what is wrong and, where it helps, what to do.
class Failure : public std::exception {
public:
  Failure(std::string_view file, std::string_view words, HRESULT code);

  const std::string& File() const noexcept { return m_file; }
  const std::string& Words() const noexcept { return m_words; }
  HRESULT Code() const noexcept { return m_code; }
  /// Prints the message on standard error. @return the exit status.
  int Report() const;
  /// One line, UTF-8: "disc.cue: no such file (ZSE_CANNOTOPENIMAGE, 0x809F001A)".
  const char* what() const noexcept override { return m_message.c_str(); }

private:
  std::string m_file;
  std::string m_words;
  std::string m_message;
  HRESULT m_code;
};

/// The exception that is handled, as the failure of an image or, with an empty name, of the command.
Failure CurrentFailure(const std::string& image);

/// A result code by its name, "ZSE_BADIMAGE", or its number where it has none; by its number, "0x809F001B"; and what it
/// means, as the part of a sentence.
std::string CodeName(HRESULT code);
std::string CodeNumber(HRESULT code);
std::string_view CodeWords(HRESULT code);

/// Prints something to know on standard error. `words` is UTF-8 without a full stop.
void Note(const std::string& words);

/// Throws a Failure for every code but 0. S_FALSE is one too: what was asked for has not been done.
void Check(HRESULT code, std::string_view file, std::string_view words = {});
