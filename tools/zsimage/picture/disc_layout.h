/// @file
/// A disc as stretches that follow each other from the inside out, with the room that each takes in a picture.
#pragma once

#include <string>
#include <vector>

#include "image/host.h"

struct DiscStretch {
  enum class Kind { LeadIn, Pregap, Track, LeadOut };

  Kind kind;
  unsigned session;     ///< From 0, as the track's place in it.
  UINT track;           ///< Of a pregap the track behind it; 0 of leads.
  std::int64_t first;   ///< Sector on the disc.
  std::int64_t sectors; ///< 0 of leads, whose length an image does not tell.
  ULONG missing;        ///< Sectors of a track that the data file lacks.
  std::string title;    ///< Of a track, for a terminal, as the next.
  std::string performer;
  double begin = 0; ///< Place in the picture, from 0 to the width.
  double width = 0;
};

/// Lays out all sessions in `width`. Tracks and pregaps have room in proportion to their playing time, yet never so
/// little that they are not seen; lead-ins and lead-outs have some room of their own.
std::vector<DiscStretch> LayOutDisc(const ImageRecord& image, double width);
