/// @file
/// Texts of many equal pieces.
#pragma once

#include <string>

/// Repeats a piece. Replaces `#` in it by the number of the copy from 0, and `@` by the number from 1.
inline std::string Times(std::size_t count, const std::string& piece) {
  std::string text;
  text.reserve(count * piece.size());
  for (std::size_t i = 0; i < count; ++i) {
    for (const char c : piece) {
      if (c == '#' || c == '@') {
        text += std::to_string(c == '@' ? i + 1 : i);
      } else {
        text += c;
      }
    }
  }
  return text;
}
