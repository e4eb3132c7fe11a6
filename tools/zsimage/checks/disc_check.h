/// @file
/// Whether an image can be trusted: its description against itself, against its data file, and the sectors against
/// what they say of themselves.
#pragma once

#include "checks/findings.h"
#include "image/host.h"

struct TrackReport {
  unsigned session; ///< From 1, as the number.
  unsigned number;
  std::string mode;   ///< In words.
  ULONG sectors;      ///< From index 1 to the end.
  ULONG looked;       ///< How many of them were looked at.
  bool canBeLookedAt; ///< False when they hold nothing to check.
  Findings findings;
};

struct DiscReport {
  Findings findings; ///< Of the disc as a whole.
  std::vector<TrackReport> tracks;

  /// Number of faults, of the tracks and the disc.
  std::size_t Faults() const;
};

/// Checks an image. @param full Whether every sector is looked at, or a sample of each track.
/// @throws Failure when the user cancels it, or the data file is not there or cannot be read.
DiscReport CheckDisc(const Host& host, const ImageRecord& image, bool full);
