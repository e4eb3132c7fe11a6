/// @file
/// Tracks of an image in its data file (disc/track_extents.h), and what the file lacks of them.
#pragma once

#include <functional>

#include "disc/track_extents.h"

struct TrackExtent : imagefile::TrackExtent {
  ULONG missing; ///< Sectors that the file lacks: of the track, or before one whose end follows from the file's size.
};

using TrackVisitor = std::function<void(const ZSTRACK& track, const TrackExtent& extent)>;
