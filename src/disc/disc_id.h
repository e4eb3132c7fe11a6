/// @file
/// Disc identifiers as in CDDB, but counted from index 0 of each track.
#pragma once

#include "disc/records.h"

/// Computes `dwDiscID` and `dwDiscID2` of a record, unless it has no session. `dwDiscID` covers the tracks of the first
/// two sessions, from the start of each with its pregap to the end of the last. If there are several sessions,
/// `dwDiscID2` covers the tracks of the first; else it is 0.
void ComputeDiscIDs(zsimagefileinfo* info) noexcept;
