/// @file
/// Albums: CUE sheets of any number of files, and the one data file that each becomes.
#pragma once

#include <deque>
#include <set>
#include <string>
#include <vector>

#include "files/output_file.h"
#include "image/disc_text.h"
#include "imagefile/disc_image.h"
#include "sound/sound_file.h"

/// Sectors of one track that follow each other in one file, or silence.
struct AlbumPiece {
  const ZSTRACK* track;     ///< The track that they belong to in the data file.
  const SampleSource* file; ///< Null for silence.
  UHYPER offset;            ///< In the file.
  UHYPER bytes;             ///< Bytes that are read. Silence fills up the last sector.
  UINT storedSize;          ///< Bytes of one sector in the file. If the data file has larger ones, sectors are widened.
  UHYPER sectors;
};

struct Album {
  std::deque<SampleSource> files; ///< With paths in the spelling of the disk.
  std::vector<AlbumPiece> pieces;
  imagefile::Image image = imagefile::DecodeCdText({}, 99); ///< Its record describes the data file.
  std::set<std::string> notes; ///< What the image will lack, as sentences without a full stop.
  UHYPER sectors = 0;

  ZSCUESHEET& Sheet() const noexcept { return *image.Record().pZSCueSheet[0]; }
  UINT BlockSize() const noexcept { return static_cast<UINT>(Sheet().pZSTracks[0].BlockSize); }
  UHYPER Bytes() const noexcept { return sectors * BlockSize(); }
};

/// Reads a sheet and opens its files. Texts of a .cdt file in the same folder replace those of the sheet.
/// @param pad Whether files that end inside a sector are filled up with silence. @throws Failure if a line cannot be
/// parsed, a file is missing or has the wrong format, or the tracks cannot be in one file.
Album ReadAlbum(const std::string& path, bool pad);

/// Writes the data file. If it has raw sectors, data sectors without headers are widened. @throws Failure if a file
/// cannot be read, its sectors cannot be widened, or the user cancels.
void WriteAlbum(const Album& album, OutputFile* output);
