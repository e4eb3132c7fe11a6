/// @file
/// Disc identifiers in the manner of CDDB.
#pragma once

#include "disc/records.h"

/// Computes `dwDiscID` and `dwDiscID2` from the starts of the tracks, their pregaps included, and the end of the
/// last; writes nothing else. With one session the second is 0. With more, the first is taken over the tracks of
/// the first two sessions, the second over those of the first alone. Without a session nothing is written.
void ComputeDiscIDs(zsimagefileinfo* info) noexcept;
