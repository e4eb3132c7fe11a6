/// @file
/// The library's entries in the registry: two classes and two type libraries, each one atomic change.
#pragma once

#include "platform/guid.h"
#include "platform/result_codes.h"

/// The component's own type library, version 1.0: its two classes. The records are in the shared type library
/// (disc/record_descriptions.h).
inline constexpr GUID kComponentTypeLibrary{
    0x473D376B, 0xF22A, 0x4B8D, {0xAD, 0x03, 0xC6, 0x88, 0x2F, 0x71, 0x5D, 0x4B}};

/// Writes the entries, with the path that this library was loaded from. A failure of the shared type library, which is
/// the first step, is ignored.
/// @return The code of the first other step that fails. The steps before it keep their entries.
HRESULT WriteRegistration() noexcept;

/// Removes what WriteRegistration wrote, and of the shared keys above it those that became empty.
/// @return As WriteRegistration. Entries that are missing are no failure.
HRESULT RemoveRegistration() noexcept;
