/// @file
/// Words and numbers of one line, with the rules of formatted input that CUE sheets were written against.
#pragma once

#include <string_view>

#include "platform/base_types.h"

/// Takes items from the front of a line. After an item that is not there, nothing more is found.
class LineScanner {
public:
  explicit LineScanner(std::string_view line) noexcept : m_rest(line) {}

  /// The next word, up to a blank; empty at the end of the line.
  std::string_view Word() noexcept;
  /// Skips blanks and tells whether the next word is this one, given in upper case, without regard to the case of its
  /// own letters. Takes nothing else.
  bool WordIs(std::string_view upper) noexcept;
  /// Skips blanks and reads a decimal number with an optional sign. False, with `*number` unchanged, if none
  /// stands there. Larger numbers wrap to 32 bits.
  bool Number(LONG* number) noexcept;
  /// Takes one character that must come next.
  bool Literal(char c) noexcept;

private:
  void SkipBlanks() noexcept;
  bool Fail() noexcept;

  std::string_view m_rest;
};
