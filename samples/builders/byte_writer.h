/// @file
/// Writer of the bytes of a file, field by field.
#pragma once

#include <string_view>
#include <vector>

#include "platform/base_types.h"

/// Appends fields to its bytes. Each function returns the writer, so that calls can be chained.
class ByteWriter {
public:
  ByteWriter& Byte(unsigned value) { return Big(value, 1); }
  ByteWriter& Big16(ULONG value) { return Big(value, 2); }
  ByteWriter& Big32(ULONG value) { return Big(value, 4); }
  ByteWriter& Big64(UHYPER value) { return Big(value, 8); }
  ByteWriter& Little16(ULONG value) { return Little(value, 2); }
  ByteWriter& Little32(ULONG value) { return Little(value, 4); }
  ByteWriter& Little64(UHYPER value) { return Little(value, 8); }
  ByteWriter& Zeros(std::size_t count) {
    m_bytes.resize(m_bytes.size() + count);
    return *this;
  }
  /// Appends a text of `width` bytes, cut or padded with zeros.
  ByteWriter& Text(std::string_view text, std::size_t width) {
    for (std::size_t i = 0; i < width; ++i) {
      m_bytes.push_back(i < text.size() ? static_cast<BYTE>(text[i]) : BYTE{0});
    }
    return *this;
  }
  ByteWriter& Bytes(const std::vector<BYTE>& bytes) {
    m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
    return *this;
  }
  /// Pads the bytes with zeros to a total size.
  ByteWriter& PadTo(std::size_t size) { return Zeros(size > Size() ? size - Size() : 0); }

  std::size_t Size() const { return m_bytes.size(); }
  const std::vector<BYTE>& Get() const { return m_bytes; }

private:
  ByteWriter& Big(UHYPER value, int width) {
    for (int i = width - 1; i >= 0; --i) {
      m_bytes.push_back(static_cast<BYTE>(value >> (8 * i)));
    }
    return *this;
  }
  ByteWriter& Little(UHYPER value, int width) {
    for (int i = 0; i < width; ++i) {
      m_bytes.push_back(static_cast<BYTE>(value >> (8 * i)));
    }
    return *this;
  }

  std::vector<BYTE> m_bytes;
};
