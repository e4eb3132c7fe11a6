/// @file
/// Descriptions of the records for arrays of them, and the type library that hands them out.
#pragma once

#include "disc/record_ids.h"
#include "disc/records.h"

/// The shared type library, version 1.0. Registered with the process when the module starts.
TypeLibraryDescription* SharedTypeLibrary() noexcept;
