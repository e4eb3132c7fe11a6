/// @file
/// The library's entries in the registry: two classes and two type libraries, each one atomic change.
#pragma once

#include "platform/guid.h"
#include "platform/result_codes.h"

/// The component's own type library, version 1.0: its two classes. The records are in the shared type library
/// (disc/record_descriptions.h).
inline constexpr GUID kComponentTypeLibrary{
    0x473D376B, 0xF22A, 0x4B8D, {0xAD, 0x03, 0xC6, 0x88, 0x2F, 0x71, 0x5D, 0x4B}};

/// Writes the entries. Implements DllRegisterServer (imagefile/server/exports.h).
HRESULT WriteRegistration() noexcept;

/// Removes the entries. Implements DllUnregisterServer. A key remains if other programs have keys below it.
HRESULT RemoveRegistration() noexcept;
