/// @file
/// Disc identifiers in the manner of CDDB.
#pragma once

#include "disc/records.h"

/// Computes `dwDiscID` and `dwDiscID2` of a record, unless it has no session. `dwDiscID` covers the tracks of the first
/// two sessions, from the start of each with its pregap to the end of the last. `dwDiscID2` covers those of the first
/// session, if there are several; else it is 0.
void ComputeDiscIDs(zsimagefileinfo* info) noexcept;
