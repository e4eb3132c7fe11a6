/// @file
/// Parsers of numbers in text.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/text.h"

namespace platform {

/// Digits that were parsed.
struct Digits {
  bool found = false;      ///< Whether there was any digit.
  bool overflows = false;  ///< Whether the number has more than 64 bits.
  std::uint64_t value = 0; ///< The number, modulo 2^64.
};

/// Removes a sign from the start of a text. Returns whether it was a minus.
inline bool ParseSign(std::string_view* text) noexcept {
  const bool negative = text->starts_with('-');
  text->remove_prefix(negative || text->starts_with('+') ? 1 : 0);
  return negative;
}

/// Removes the digits of base 10 or 16 from the start of a text. Returns the number that they form.
inline Digits ParseDigits(std::string_view* text, unsigned base) noexcept {
  Digits digits;
  for (; !text->empty(); text->remove_prefix(1)) {
    const int digit = HexDigit(text->front());
    if (digit < 0 || static_cast<unsigned>(digit) >= base) {
      break;
    }
    digits.overflows = digits.overflows || digits.value > (UINT64_MAX - static_cast<unsigned>(digit)) / base;
    digits.value = digits.value * base + static_cast<unsigned>(digit);
    digits.found = true;
  }
  return digits;
}

} // namespace platform
