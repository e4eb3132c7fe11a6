/// @file
/// Text files, line by line.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "foundation/file.h"

/// Reads the lines of a file through a buffer. LF or CR LF ends a line.
class TextFile {
public:
  /// Longer lines are returned in pieces of this many bytes.
  static constexpr std::size_t kLineLimit = 254;

  bool Open(const std::string& path) noexcept;
  /// Starts over from the first line.
  bool Rewind() noexcept;
  /// Reads the next line, without its line end and cut at its first zero byte. The line is valid until the next call.
  /// Returns false at the end of the file or after a failed read.
  bool NextLine(std::string_view* line) noexcept;
  /// Returns whether a read has failed since Open. Then lines may be missing.
  bool Failed() const noexcept { return m_failed; }

private:
  void Clear() noexcept;
  void Fill() noexcept;

  CZSFile m_file;
  std::array<char, 16384> m_buffer;
  std::size_t m_next = 0;   ///< Offset of the next line in the buffer.
  std::size_t m_end = 0;    ///< Bytes that the buffer holds.
  bool m_holdsStart = true; ///< The buffer begins with the first byte of the file.
  bool m_holdsEnd = false;  ///< No bytes follow those in the buffer.
  bool m_failed = false;
};
