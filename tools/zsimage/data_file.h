/// @file
/// The data file of a description that is written anew, made of the sectors of another image.
#pragma once

#include <string>
#include <vector>

#include "sector_source.h"

/// What a data file consists of. Sector n of the file is position n of the description, so that silence takes the
/// place of positions for which the image has no sectors.
struct DataFilePlan {
  struct Piece {
    UHYPER silence; ///< Sectors of zeros before the run.
    SectorRun run;
  };

  std::vector<Piece> pieces;
  UINT blockSize = 0; ///< Bytes of one sector in the new file.
  std::string whyNot; ///< Why there can be no such file, in words; empty when there can.

  UHYPER Bytes() const noexcept;
};

/// Plans the data file for the first sessions of an image. Sectors above 2352 bytes lose the sub-channel behind
/// their raw sector, which no description written here can state.
DataFilePlan PlanDataFile(const ImageRecord& image, unsigned sessions);

/// Writes the file. When it cannot be written whole, or is cancelled, it goes away again. @throws Failure.
void WriteDataFile(const Host& host, const std::string& source, const DataFilePlan& plan, const std::string& target);
