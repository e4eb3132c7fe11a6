/// @file
/// Media Descriptor descriptions.
#pragma once

#include <string>
#include <vector>

#include "builders/sectors.h"

/// A track block and its length block.
struct MdsBlock {
  unsigned point = 1;
  unsigned mode = 0xA9; ///< 0xA9 audio, 0xAA mode 1, 0xAC mode 2.
  unsigned control = 0; ///< 0x04 for data.
  unsigned format = 0;  ///< Format of the session, in its first block.
  ULONG size = 2352;
  ULONG lba = 0;
  UHYPER offset = 0; ///< In the .MDF file.
  ULONG pregap = 0;  ///< Sectors, in the length block.
  ULONG length = 0;  ///< Sectors, in the length block; in the track block on a DVD.
};

/// The fields of a description. Tests change them one by one.
struct MdsBuilder {
  std::string signature = "MEDIA DESCRIPTOR";
  unsigned major = 1;
  unsigned minor = 3;
  unsigned medium = 0; ///< 0 for a CD, 0x10 for a DVD.
  std::vector<unsigned> lastTracks;
  std::vector<MdsBlock> blocks;
  ULONG lengthsMoved = 0; ///< Added to the offset of each length block.

  /// Returns the description: header, session blocks, track blocks, length blocks.
  std::vector<BYTE> Build() const;
};

/// Returns the description of a CD or of a DVD with one track. Its .MDF file is DiscSectors of the same disc.
MdsBuilder MdsOf(const DiscPlan& disc);
MdsBuilder MdsOfDvd(ULONG sectors);
