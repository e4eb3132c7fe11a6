/// @file
/// Scanner of the words and numbers of a line, by the rules of scanf.
#pragma once

#include <string_view>

#include "platform/base_types.h"

/// Scans a line from its start. Once a number or a character is missing, nothing more is found.
class LineScanner {
public:
  explicit LineScanner(std::string_view line) noexcept : m_rest(line) {}

  /// Returns the next word, up to a blank; empty at the end of the line.
  std::string_view NextWord() noexcept;
  /// Returns whether the next word, in any case, is `upper`. Skips the blanks before the word, but not the word.
  bool NextWordIs(std::string_view upper) noexcept;
  /// Reads a decimal number with an optional sign, after any blanks. Larger numbers wrap to 32 bits.
  /// @return false, with `*number` unchanged, if there is no number.
  bool NextNumber(LONG* number) noexcept;
  /// Skips one character. Returns false if any other is next.
  bool Skip(char c) noexcept;

private:
  void SkipBlanks() noexcept;
  bool Fail() noexcept;

  std::string_view m_rest;
};
