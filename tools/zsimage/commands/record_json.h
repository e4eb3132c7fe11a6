/// @file
/// Records as JSON: objects with the records' own field names, in their order.
///
/// Strings are strings or null, enumerations and integers are numbers, truth values are true or false.
#pragma once

#include "disc/records.h"

/// Prints the whole record. `pZSCueSheet` is the array of its `nSessions` sheets.
void PrintRecordJson(const zsimagefileinfo& info, bool isLine);

/// Prints one session. `pZSTracks` is the array of its `nTracks` tracks.
void PrintSheetJson(const ZSCUESHEET& sheet);
