/// @file
/// View of a block of a file, whose fields are read by their offsets.
#pragma once

#include <span>
#include <string_view>

#include "platform/base_types.h"

/// The bytes of one block, not owned. ByteView::Block checks once that the whole block is in the file, so reading a
/// field cannot fail. A field that is not wholly inside the block reads as 0 or as empty text.
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

  /// Returns the text of a field, up to its first zero byte.
  std::string_view Text(std::size_t offset, std::size_t width) const noexcept {
    const std::span<const BYTE> bytes = Field(offset, width);
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return text.substr(0, text.find('\0'));
  }

private:
  std::span<const BYTE> Field(std::size_t offset, std::size_t width) const noexcept {
    const bool inside = offset <= m_bytes.size() && width <= m_bytes.size() - offset;
    return inside ? m_bytes.subspan(offset, width) : std::span<const BYTE>();
  }
  UHYPER Big(std::size_t offset, std::size_t width) const noexcept {
    UHYPER number = 0;
    for (const BYTE byte : Field(offset, width)) {
      number = number << 8 | byte;
    }
    return number;
  }
  UHYPER Little(std::size_t offset, std::size_t width) const noexcept {
    UHYPER number = 0;
    int shift = 0;
    for (const BYTE byte : Field(offset, width)) {
      number |= UHYPER{byte} << shift;
      shift += 8;
    }
    return number;
  }

  std::span<const BYTE> m_bytes;
};
