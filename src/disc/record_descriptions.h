/// @file
/// Type library with the descriptions of the records, which arrays of records need.
#pragma once

#include "disc/record_ids.h"
#include "disc/records.h"

/// Returns the type library, version 1.0. It is registered with the process while the module is loaded.
TypeLibraryDescription* SharedTypeLibrary() noexcept;
