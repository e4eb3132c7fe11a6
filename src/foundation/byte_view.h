/// @file
/// The one way from bytes of a file to numbers: every access tests the bounds and says false outside them.
#pragma once

#include <bit>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

#include "foundation/block_view.h"

/// A stretch of bytes, not owned. Offsets may have any value: an access that does not lie wholly inside is
/// refused, with the target unchanged.
class ByteView {
public:
  ByteView() = default;
  explicit ByteView(std::span<const BYTE> bytes) noexcept : m_bytes(bytes) {}
  explicit ByteView(std::string_view text) noexcept : ByteView(text.data(), text.size()) {}
  ByteView(const void* bytes, std::size_t size) noexcept : m_bytes(static_cast<const BYTE*>(bytes), size) {}

  std::size_t Size() const noexcept { return m_bytes.size(); }
  const BYTE* Data() const noexcept { return m_bytes.data(); }

  /// Whether `count` bytes stand at `offset`.
  bool Holds(UHYPER offset, UHYPER count) const noexcept {
    return offset <= m_bytes.size() && count <= m_bytes.size() - offset;
  }

  bool Byte(UHYPER offset, BYTE* value) const noexcept { return Number<std::endian::little>(offset, value); }
  bool Little16(UHYPER offset, std::uint16_t* value) const noexcept {
    return Number<std::endian::little>(offset, value);
  }
  bool Little32(UHYPER offset, std::uint32_t* value) const noexcept {
    return Number<std::endian::little>(offset, value);
  }
  bool Little64(UHYPER offset, std::uint64_t* value) const noexcept {
    return Number<std::endian::little>(offset, value);
  }
  bool Big16(UHYPER offset, std::uint16_t* value) const noexcept { return Number<std::endian::big>(offset, value); }
  bool Big32(UHYPER offset, std::uint32_t* value) const noexcept { return Number<std::endian::big>(offset, value); }
  bool Big64(UHYPER offset, std::uint64_t* value) const noexcept { return Number<std::endian::big>(offset, value); }

  /// Finds the block of `size` bytes at `offset`. False, with `*block` unchanged, if it is not wholly inside.
  bool Block(UHYPER offset, std::size_t size, BlockView* block) const noexcept {
    if (!Holds(offset, size)) {
      return false;
    }
    *block = BlockView(m_bytes.subspan(static_cast<std::size_t>(offset), size));
    return true;
  }

  /// Whether exactly this text stands at `offset`.
  bool HasText(UHYPER offset, std::string_view text) const noexcept {
    return Holds(offset, text.size()) && std::memcmp(At(offset), text.data(), text.size()) == 0;
  }

  /// Text of a fixed field, up to its first zero byte. Empty where the field does not lie wholly inside.
  std::string_view Text(UHYPER offset, std::size_t width) const noexcept {
    if (!Holds(offset, width)) {
      return {};
    }
    const std::string_view field(reinterpret_cast<const char*>(At(offset)), width);
    return field.substr(0, field.find('\0'));
  }

  /// The part from `offset` on, at most `count` bytes of it; empty behind the end.
  ByteView Part(UHYPER offset, UHYPER count) const noexcept {
    if (offset >= m_bytes.size()) {
      return {};
    }
    const auto start = static_cast<std::size_t>(offset);
    const std::size_t rest = m_bytes.size() - start;
    return ByteView(m_bytes.subspan(start, count < rest ? static_cast<std::size_t>(count) : rest));
  }

private:
  const BYTE* At(UHYPER offset) const noexcept { return m_bytes.data() + static_cast<std::size_t>(offset); }

  template <std::endian Order, class T> bool Number(UHYPER offset, T* value) const noexcept {
    if (!Holds(offset, sizeof(T))) {
      return false;
    }
    T number = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i) {
      const std::size_t place = Order == std::endian::big ? i : sizeof(T) - 1 - i;
      number = static_cast<T>((UHYPER{number} << 8) | At(offset)[place]);
    }
    *value = number;
    return true;
  }

  std::span<const BYTE> m_bytes;
};
