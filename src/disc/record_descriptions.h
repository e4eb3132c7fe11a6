/// @file
/// The type library that describes the records for arrays of them.
#pragma once

#include "disc/record_ids.h"
#include "disc/records.h"

/// Returns the type library, version 1.0. It is registered with the process while the module is loaded.
TypeLibraryDescription* SharedTypeLibrary() noexcept;
