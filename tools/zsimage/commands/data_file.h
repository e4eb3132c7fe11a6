/// @file
/// The data file of a new description, made of the sectors of another image.
#pragma once

#include <string>
#include <vector>

#include "files/output_file.h"
#include "image/open_image.h"
#include "image/sector_run.h"

/// The content of a data file. Sector n of the file is position n of the description; where the image has no sectors,
/// the file has silence.
struct DataFilePlan {
  struct Piece {
    UHYPER silence; ///< Sectors of zeros before the run.
    SectorRun run;
  };

  std::vector<Piece> pieces;
  UHYPER sectors = 0;   ///< Sectors of all pieces.
  UINT storedSize = 0;  ///< Bytes of one sector in the image.
  UINT blockSize = 0;   ///< Bytes of one sector in the new file: a raw sector at most.
  std::string conflict; ///< Why no file can contain the tracks as they are described; empty if one can.
  std::string shortage; ///< Which sectors the image lacks; empty if it has all.

  UHYPER Bytes() const noexcept { return sectors * blockSize; }
  UHYPER StoredBytes() const noexcept { return sectors * storedSize; }
};

/// Plans the data file for the first sessions of an image. The file has no sub-channel: sectors above 2352 bytes are
/// cut to 2352, since neither a CUE sheet nor a TOC file can state one in the sectors. @throws Failure if the tracks
/// differ in block size.
DataFilePlan PlanDataFile(const imagefile::Image& image, unsigned sessions);

/// Writes the data file. @throws Failure if a sector cannot be read or written, or the user cancels.
void WriteDataFile(const imagefile::Image& image, const DataFilePlan& plan, OutputFile* file);
