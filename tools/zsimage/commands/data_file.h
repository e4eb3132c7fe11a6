/// @file
/// The data file of a description that is written anew, made of the sectors of another image.
#pragma once

#include <string>
#include <vector>

#include "files/output_file.h"
#include "image/sector_source.h"

/// What a data file consists of. Sector n of the file is position n of the description: silence fills the positions for
/// which the image has no sectors.
struct DataFilePlan {
  struct Piece {
    UHYPER silence; ///< Sectors of zeros before the run.
    SectorRun run;
  };

  std::vector<Piece> pieces;
  UINT storedSize = 0;  ///< Bytes of one sector in the image.
  UINT blockSize = 0;   ///< Bytes of one sector in the new file: a raw sector at the most.
  std::string conflict; ///< Why no file can hold the tracks as they are described; empty when one can.
  std::string shortage; ///< What the image lacks; empty when it has all sectors.

  UHYPER Sectors() const noexcept;
  UHYPER Bytes() const noexcept { return Sectors() * blockSize; }
};

/// Plans the data file for the first sessions of an image. Sectors above 2352 bytes lose the sub-channel after their
/// raw sector, which no description written here can state. @throws Failure when the tracks differ in their block size.
DataFilePlan PlanDataFile(const ImageRecord& image, unsigned sessions);

/// Fills the file. @throws Failure when that fails or is cancelled.
void WriteDataFile(const Host& host, const std::string& source, const DataFilePlan& plan, const std::string& target,
                   OutputFile* file);
