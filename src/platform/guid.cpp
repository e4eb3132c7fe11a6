#include "platform/guid.h"

#include <array>
#include <cstdio>

#include "platform/text.h"

namespace {

constexpr std::string_view kShape = "{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}";

} // namespace

std::string StringFromGUID(REFGUID guid) {
  std::array<char, kShape.size() + 1> text{};
  static_cast<void>(std::snprintf(text.data(), text.size(), "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                                  guid.Data1, static_cast<unsigned>(guid.Data2), static_cast<unsigned>(guid.Data3),
                                  static_cast<unsigned>(guid.Data4[0]), static_cast<unsigned>(guid.Data4[1]),
                                  static_cast<unsigned>(guid.Data4[2]), static_cast<unsigned>(guid.Data4[3]),
                                  static_cast<unsigned>(guid.Data4[4]), static_cast<unsigned>(guid.Data4[5]),
                                  static_cast<unsigned>(guid.Data4[6]), static_cast<unsigned>(guid.Data4[7])));
  return text.data();
}

bool GUIDFromString(std::string_view text, GUID* guid) noexcept {
  if (text.size() != kShape.size()) {
    return false;
  }
  std::array<BYTE, sizeof(GUID)> bytes{};
  std::size_t digits = 0;
  for (std::size_t i = 0; i < kShape.size(); ++i) {
    if (kShape[i] != 'x') {
      if (text[i] != kShape[i]) {
        return false;
      }
      continue;
    }
    const int digit = platform::HexDigit(text[i]);
    if (digit < 0) {
      return false;
    }
    BYTE& byte = bytes[digits++ / 2];
    byte = static_cast<BYTE>((byte << 4) | digit);
  }
  GUID read{};
  read.Data1 = (std::uint32_t{bytes[0]} << 24) | (std::uint32_t{bytes[1]} << 16) | (std::uint32_t{bytes[2]} << 8) |
               std::uint32_t{bytes[3]};
  read.Data2 = static_cast<std::uint16_t>((bytes[4] << 8) | bytes[5]);
  read.Data3 = static_cast<std::uint16_t>((bytes[6] << 8) | bytes[7]);
  for (std::size_t i = 0; i < 8; ++i) {
    read.Data4[i] = bytes[8 + i];
  }
  *guid = read;
  return true;
}
