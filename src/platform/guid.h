/// @file
/// Identifiers of classes, interfaces, records and libraries.
#pragma once

#include <string>
#include <string_view>

#include "platform/base_types.h"

/// A 128-bit identifier in its usual four parts.
struct GUID {
  std::uint32_t Data1;
  std::uint16_t Data2;
  std::uint16_t Data3;
  BYTE Data4[8];

  friend bool operator==(const GUID&, const GUID&) = default;
};
static_assert(sizeof(GUID) == 16);

using CLSID = GUID;
using IID = GUID;
using REFGUID = const GUID&;
using REFCLSID = const GUID&;
using REFIID = const GUID&;

/// The text form with braces, upper case: "{AE7CB71D-5121-409C-AEA7-4A9EACB3C354}".
std::string StringFromGUID(REFGUID guid);

/// Reads the text form, in either case. False, with `guid` unchanged, for any other text.
bool GUIDFromString(std::string_view text, GUID* guid) noexcept;
