/// @file
/// Text files by line, through a buffer.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "foundation/file.h"

/// Reads lines of at most a given length. CR LF and LF both end a line; what lies beyond the limit arrives as a
/// line of its own.
class TextFile {
public:
  /// Bytes of one line, its end included: longer lines arrive in pieces of this length.
  static constexpr std::size_t kLineLimit = 254;

  bool Open(const std::string& path) noexcept;
  /// Starts over from the first line.
  bool Rewind() noexcept;
  /// The next line without its end, cut at its first zero byte, which stands until the next call. False at the end of
  /// the file, or where it cannot be read.
  bool NextLine(std::string_view* line) noexcept;

private:
  void Clear() noexcept {
    m_next = m_end = 0;
    m_whole = true;
    m_zeros = m_ended = false;
  }
  void Fill() noexcept;

  CZSFile m_file;
  std::array<char, 16384> m_buffer; ///< Filled up to m_end.
  std::size_t m_next = 0;
  std::size_t m_end = 0;
  bool m_whole = true;  ///< Nothing came before what is in the buffer.
  bool m_ended = false; ///< Nothing comes behind it.
  bool m_zeros = false; ///< A zero byte was among what came.
};
