/// @file
/// Media Descriptor descriptions.
#pragma once

#include <string>
#include <vector>

#include "builders/sectors.h"

/// One track block.
struct MdsBlock {
  unsigned point = 1;
  unsigned mode = 0xA9; ///< 0xA9 audio, 0xAA mode 1, 0xAC mode 2.
  unsigned control = 0; ///< 0x04 for data.
  unsigned format = 0;  ///< Of the session, in the block that opens one.
  ULONG size = 2352;
  ULONG lba = 0;
  UHYPER position = 0;
  ULONG pregap = 0; ///< Of the length block.
  ULONG length = 0; ///< Sectors; in the block itself on a DVD, else in the length block.
};

/// A description, field by field; each test changes one.
struct MdsBuilder {
  std::string signature = "MEDIA DESCRIPTOR";
  unsigned major = 1;
  unsigned minor = 3;
  unsigned medium = 0; ///< 0x10 is a DVD.
  std::vector<unsigned> lastTracks;
  std::vector<MdsBlock> blocks;
  ULONG lengthsMoved = 0; ///< Added to the position of each length block.

  /// The description: header, session blocks, track blocks, length blocks.
  std::vector<BYTE> Build() const;
};

/// A CD description of a disc, or the description of a DVD. Its .MDF file is DiscSectors of the same disc.
MdsBuilder MdsOf(const DiscPlan& disc);
MdsBuilder MdsOfDvd(ULONG sectors);
