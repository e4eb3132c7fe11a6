/// @file
/// Implementation of IZSCueSheet.
#pragma once

#include "cuesheet/cue_sheet_interface.h"

/// Creates a cue sheet service, plain or aggregated. @return As CreateObject (foundation/com_object.h).
HRESULT CreateCueSheetService(IUnknown* outer, REFIID iid, void** object) noexcept;
