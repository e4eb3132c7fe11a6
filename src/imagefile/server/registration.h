/// @file
/// The library's entries in the registry.
#pragma once

#include "imagefile/server/registrar.h"
#include "platform/guid.h"

/// The component's own type library, version 1.0: its two classes. The records stand in the shared one
/// (disc/record_descriptions.h).
inline constexpr GUID kComponentTypeLibrary{
    0x473D376B, 0xF22A, 0x4B8D, {0xAD, 0x03, 0xC6, 0x88, 0x2F, 0x71, 0x5D, 0x4B}};

/// Writes the entries of both type libraries and both classes, or removes them. A failure of the shared type library,
/// which comes first, has no effect; after it, the first step that fails ends it.
/// @return The code of that step; what went before it stays.
HRESULT RunRegistration(RegistrarMode mode) noexcept;
