/// @file
/// A disc as a list of segments from the inside to the outside, with their coordinates in a picture.
#pragma once

#include <string>
#include <vector>

#include "image/open_image.h"

struct DiscSegment {
  enum class Kind { LeadIn, Pregap, Track, LeadOut };

  Kind kind;
  unsigned session;     ///< Index, from 0.
  UINT track;           ///< Index, from 0. For a pregap, of the track after it; 0 for leads.
  std::int64_t first;   ///< Sector on the disc.
  std::int64_t sectors; ///< 0 for leads: an image does not state their length.
  ULONG missing;        ///< Sectors of a track that the data file lacks.
  std::string title;    ///< Of a track; UTF-8 without control characters, as the performer.
  std::string performer;
  double begin = 0; ///< Coordinate in the picture, from 0 to its width.
  double width = 0;
};

/// Lays out all sessions in `width`. The widths of tracks and pregaps are proportional to their playing time, plus a
/// small width that keeps each visible; leads have a small fixed width.
std::vector<DiscSegment> LayOutDisc(const imagefile::Image& image, double width);
