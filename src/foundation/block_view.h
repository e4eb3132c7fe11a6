/// @file
/// Fields of a block of a file whose length was checked.
#pragma once

#include <span>
#include <string_view>

#include "platform/base_types.h"

/// The bytes of one block, not owned. ByteView::Block makes a view only if the block is whole, so its fields are read
/// by their offsets without further checks. A field outside of the block reads as 0 or as empty text.
class BlockView {
public:
  BlockView() = default;
  explicit BlockView(std::span<const BYTE> bytes) noexcept : m_bytes(bytes) {}

  BYTE Byte(std::size_t offset) const noexcept { return static_cast<BYTE>(Big(offset, 1)); }
  USHORT Little16(std::size_t offset) const noexcept { return static_cast<USHORT>(Little(offset, 2)); }
  ULONG Little32(std::size_t offset) const noexcept { return static_cast<ULONG>(Little(offset, 4)); }
  UHYPER Little64(std::size_t offset) const noexcept { return Little(offset, 8); }
  USHORT Big16(std::size_t offset) const noexcept { return static_cast<USHORT>(Big(offset, 2)); }
  ULONG Big32(std::size_t offset) const noexcept { return static_cast<ULONG>(Big(offset, 4)); }
  UHYPER Big64(std::size_t offset) const noexcept { return Big(offset, 8); }

  /// Text of a field, up to its first zero byte.
  std::string_view Text(std::size_t offset, std::size_t width) const noexcept {
    if (!Holds(offset, width)) {
      return {};
    }
    const std::string_view field(reinterpret_cast<const char*>(m_bytes.data()) + offset, width);
    return field.substr(0, field.find('\0'));
  }

private:
  bool Holds(std::size_t offset, std::size_t width) const noexcept {
    return offset <= m_bytes.size() && width <= m_bytes.size() - offset;
  }
  UHYPER Big(std::size_t offset, std::size_t width) const noexcept {
    UHYPER number = 0;
    for (std::size_t i = 0; Holds(offset, width) && i < width; ++i) {
      number = number << 8 | m_bytes[offset + i];
    }
    return number;
  }
  UHYPER Little(std::size_t offset, std::size_t width) const noexcept {
    UHYPER number = 0;
    for (std::size_t i = 0; Holds(offset, width) && i < width; ++i) {
      number |= UHYPER{m_bytes[offset + i]} << (8 * i);
    }
    return number;
  }

  std::span<const BYTE> m_bytes;
};
