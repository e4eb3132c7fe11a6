#include "platform/guid.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "platform/digits.h"

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
  const auto fits = [](char c, char shape) { return shape == 'x' ? platform::HexDigit(c) >= 0 : c == shape; };
  if (!std::ranges::equal(text, kShape, fits)) {
    return false;
  }
  const auto number = [&](std::size_t offset, std::size_t digits) {
    std::string_view group = text.substr(offset, digits);
    return static_cast<std::uint32_t>(platform::ParseDigits(&group, 16).value);
  };
  *guid = {number(1, 8), static_cast<std::uint16_t>(number(10, 4)), static_cast<std::uint16_t>(number(15, 4)), {}};
  constexpr std::size_t kByteOffsets[] = {20, 22, 25, 27, 29, 31, 33, 35};
  for (std::size_t i = 0; i < std::size(guid->Data4); ++i) {
    guid->Data4[i] = static_cast<BYTE>(number(kByteOffsets[i], 2));
  }
  return true;
}
