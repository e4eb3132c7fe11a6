/// @file
/// View of the bytes of a file. Every access checks the bounds, so offsets and sizes may be numbers from the file.
#pragma once

#include <algorithm>
#include <span>
#include <string_view>

#include "foundation/block_view.h"

/// A range of bytes, not owned. An access that is not wholly inside the range fails and leaves its target unchanged.
class ByteView {
public:
  ByteView() = default;
  explicit ByteView(std::span<const BYTE> bytes) noexcept : m_bytes(bytes) {}
  explicit ByteView(std::string_view text) noexcept : ByteView(text.data(), text.size()) {}
  ByteView(const void* bytes, std::size_t size) noexcept : m_bytes(static_cast<const BYTE*>(bytes), size) {}

  std::size_t Size() const noexcept { return m_bytes.size(); }
  const BYTE* Data() const noexcept { return m_bytes.data(); }

  /// Finds the block of `size` bytes at `offset`.
  bool Block(UHYPER offset, std::size_t size, BlockView* block) const noexcept {
    const ByteView part = Part(offset, size);
    if (part.Size() != size) {
      return false;
    }
    *block = BlockView(part.m_bytes);
    return true;
  }

  bool Byte(UHYPER offset, BYTE* value) const noexcept {
    BlockView block;
    const bool inside = Block(offset, 1, &block);
    *value = inside ? block.Byte(0) : *value;
    return inside;
  }

  /// Returns whether the bytes at `offset` are `text`.
  bool HasText(UHYPER offset, std::string_view text) const noexcept {
    const ByteView part = Part(offset, text.size());
    return std::ranges::equal(part.m_bytes, text,
                              [](BYTE byte, char letter) { return byte == static_cast<BYTE>(letter); });
  }

  /// Returns at most `count` bytes from `offset` on: fewer at the end of the range, and none after it.
  ByteView Part(UHYPER offset, UHYPER count) const noexcept {
    const auto start = static_cast<std::size_t>(std::min<UHYPER>(offset, m_bytes.size()));
    return ByteView(m_bytes.subspan(start, static_cast<std::size_t>(std::min<UHYPER>(count, m_bytes.size() - start))));
  }

private:
  std::span<const BYTE> m_bytes;
};
