/// @file
/// Whether an image can be trusted: its description against itself and against its data file, and the sectors against
/// what they state about themselves.
#pragma once

#include "checks/findings.h"
#include "image/image_record.h"

struct TrackReport {
  unsigned session; ///< From 1, as the number.
  unsigned number;
  std::string mode;  ///< In words.
  ULONG sectors;     ///< From index 1 to the end.
  ULONG checked;     ///< Sectors that were checked.
  bool canBeChecked; ///< False if its sectors have nothing to check.
  Findings findings;
};

struct DiscReport {
  Findings findings; ///< About the disc as a whole.
  std::vector<TrackReport> tracks;

  std::size_t Faults() const;
};

/// Checks an image. @param full Whether to check every sector instead of a sample of each track.
/// @throws Failure if the user cancels, or the data file is missing or cannot be read.
DiscReport CheckDisc(const Host& host, const ImageRecord& image, bool full);
