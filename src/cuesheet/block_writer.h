/// @file
/// Writer of small pieces to a file in whole blocks.
///
/// File systems store a block that is written with one call in one piece, and the kernel copies faster if bytes have
/// the same offset in a page of the buffer and of the file. With blocks of 4 and pieces of up to 3 bytes, the buffer is
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
  static constexpr ULONG kFree = 65535; ///< Bytes that are always free.

  /// Returns free space of at least kFree bytes.
  BYTE* Free() noexcept { return m_bytes + m_end; }

  /// Appends the first bytes of the free space.
  void Append(CZSFile* target, ULONG count) noexcept {
    m_end += count;
    Write(target, (m_end - m_begin) / kBlock * kBlock);
    if (sizeof(m_bytes) - m_end < kFree) {
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

  // Zeroed: if a stream delivers fewer bytes than it reports, zeros are written instead of memory of the process.
  BYTE m_bytes[4 * kBlock] = {};
  ULONG m_begin = 0; ///< Index of the first byte that is not written yet.
  ULONG m_end = 0;   ///< Index of the first free byte.
};
