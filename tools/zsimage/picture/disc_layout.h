/// @file
/// A disc as stretches that follow each other from the inside to the outside, and their coordinates in a picture.
#pragma once

#include <string>
#include <vector>

#include "image/image_record.h"

struct DiscStretch {
  enum class Kind { LeadIn, Pregap, Track, LeadOut };

  Kind kind;
  unsigned session;     ///< Index, from 0, as the track's.
  UINT track;           ///< Of a pregap, the track after it; 0 for leads.
  std::int64_t first;   ///< Sector on the disc.
  std::int64_t sectors; ///< 0 for leads: an image does not state their length.
  ULONG missing;        ///< Sectors of a track that the data file lacks.
  std::string title;    ///< Of a track, for a terminal, as the next.
  std::string performer;
  double begin = 0; ///< Coordinate in the picture, from 0 to its width.
  double width = 0;
};

/// Lays out all sessions in `width`. Tracks and pregaps have widths in proportion to their playing time, but are always
/// visible; leads have a small width of their own.
std::vector<DiscStretch> LayOutDisc(const ImageRecord& image, double width);
