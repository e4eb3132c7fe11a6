/// @file
/// Checks of an image: whether its description is consistent and matches its data file, and whether the sectors match
/// their own headers and codes.
#pragma once

#include "checks/findings.h"
#include "image/open_image.h"

struct TrackReport {
  unsigned session;  ///< From 1.
  unsigned number;   ///< Of the track in the session, from 1.
  std::string mode;  ///< In words.
  ULONG sectors;     ///< From index 1 to the end.
  ULONG checked;     ///< Sectors that were checked.
  bool canBeChecked; ///< False if nothing in its sectors can be checked.
  Findings findings;
};

struct DiscReport {
  Findings findings; ///< About the disc as a whole.
  std::vector<TrackReport> tracks;

  std::size_t Faults() const;
};

/// Checks an image. @param full Whether to check every sector instead of a sample of each track.
/// @throws Failure if the user cancels, or the data file is missing or cannot be read.
DiscReport CheckDisc(const imagefile::Image& image, bool full);
