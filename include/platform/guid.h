/// @file
/// Identifiers of classes, interfaces, records and libraries.
#pragma once

#include <string>
#include <string_view>

#include "platform/base_types.h"

/// A 128-bit identifier.
struct GUID {
  std::uint32_t Data1; ///< First group of the text form.
  std::uint16_t Data2; ///< Second group.
  std::uint16_t Data3; ///< Third group.
  BYTE Data4[8];       ///< Fourth and fifth groups, in the order of the text.

  /// Equal in all 128 bits.
  friend bool operator==(const GUID&, const GUID&) = default;
};
static_assert(sizeof(GUID) == 16);

using CLSID = GUID;           ///< Identifies a class.
using IID = GUID;             ///< Identifies an interface.
using REFGUID = const GUID&;  ///< As an argument.
using REFCLSID = const GUID&; ///< As an argument.
using REFIID = const GUID&;   ///< As an argument.

/// Returns the text form in upper case: "{AE7CB71D-5121-409C-AEA7-4A9EACB3C354}".
std::string StringFromGUID(REFGUID guid);

/// Parses the text form, in either case. @return false, with `*guid` unchanged, for any other text.
bool GUIDFromString(std::string_view text, GUID* guid) noexcept;
