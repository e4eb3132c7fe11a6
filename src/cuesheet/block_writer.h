/// @file
/// Writer of small pieces to a file in whole blocks.
///
/// Each block is written with one call, because file systems store it in one piece then. A byte has the same offset
/// within a page in the buffer and in the file, because the kernel copies faster then. An example with blocks of 4
/// bytes and pieces of up to 3 bytes:
///
///     appended     buffer           written
///     abc          abc.........     -
///     def          abcdef......     abcd
///     ghi          abcdefghi...     efgh
///     jk           ijk.........     -              "ijk" was moved to the start: a piece must always fit
///     Finish       ijk.........     ijk
#pragma once

#include <cstring>

#include "foundation/file.h"

class alignas(4096) BlockWriter {
public:
  static constexpr ULONG kMinFreeSpace = 65535; ///< Bytes that the buffer always has room for.

  /// Returns the free space of the buffer, at least kMinFreeSpace bytes.
  BYTE* FreeSpace() noexcept { return m_bytes + m_end; }

  /// Appends the first bytes of the free space.
  void Append(CZSFile* target, ULONG count) noexcept {
    m_end += count;
    Write(target, (m_end - m_begin) / kBlock * kBlock);
    if (sizeof(m_bytes) - m_end < kMinFreeSpace) {
      m_end -= m_begin;
      std::memmove(m_bytes, m_bytes + m_begin, m_end);
      m_begin = 0;
    }
  }

  /// Writes the remaining bytes.
  void Finish(CZSFile* target) noexcept { Write(target, m_end - m_begin); }

private:
  static constexpr ULONG kBlock = 128 * 1024;

  void Write(CZSFile* target, ULONG count) noexcept {
    target->Write(m_bytes + m_begin, count);
    m_begin += count;
  }

  // Cleared, so that a stream which delivers fewer bytes than it reports does not write memory of the process to a
  // file.
  BYTE m_bytes[4 * kBlock] = {};
  ULONG m_begin = 0; ///< Index of the first byte that is not written yet.
  ULONG m_end = 0;   ///< Index of the first free byte.
};
