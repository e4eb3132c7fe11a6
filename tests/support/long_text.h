/// @file
/// Long texts that repeat a piece.
#pragma once

#include <string>

/// Repeats a piece `count` times. In each copy, `#` becomes the number of the copy from 0, and `@` the number from 1.
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
