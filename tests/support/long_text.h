/// @file
/// Texts that go on and on.
#pragma once

#include <string>

/// A piece again and again, `#` in it replaced by its number from 0, `@` by the one from 1.
inline std::string Times(std::size_t count, const std::string& piece) {
  std::string text;
  text.reserve(count * piece.size());
  for (std::size_t i = 0; i < count; ++i) {
    std::size_t from = 0;
    for (std::size_t at = 0; (at = piece.find_first_of("#@", from)) != std::string::npos; from = at + 1) {
      text.append(piece, from, at - from) += std::to_string(piece[at] == '@' ? i + 1 : i);
    }
    text.append(piece, from);
  }
  return text;
}
