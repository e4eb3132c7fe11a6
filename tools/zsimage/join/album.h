/// @file
/// The data file that a sheet of several files becomes: which bytes of which file, and where there is silence.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "join/sheet_of_files.h"

/// A file of the album.
struct AlbumFile {
  std::string path; ///< As the disk spells it.
  bool isSound;
  bool isSwapped; ///< The two bytes of each sample are in the other order.
  UHYPER bytes;   ///< Of the samples of a sound file; of all else the whole file.
};

inline constexpr std::size_t kNoTrack = SIZE_MAX; ///< Of the silence before a track.

/// Sectors of one track that follow each other in one file, or silence.
struct AlbumPiece {
  std::size_t track;     ///< Index of the track that they belong to, or kNoTrack.
  const AlbumFile* file; ///< Null for silence.
  UHYPER offset;         ///< In the bytes of the file.
  UHYPER bytes;          ///< In the file. If they are not whole sectors, silence follows.
  UINT storedSize;       ///< Bytes of one sector in the file.
  ULONG sectors;
};

struct Album {
  std::vector<AlbumFile> files;
  std::vector<AlbumPiece> pieces;
  UINT blockSize = 0; ///< Bytes of one sector in the data file.
  ULONG sectors = 0;

  UHYPER Bytes() const noexcept { return UHYPER{sectors} * blockSize; }
};

/// Plans the data file, and completes the record of the sheet (positions, lengths, pregaps, sizes of sectors) and its
/// notes.
/// @param path The sheet. @param pad Whether files that end inside a sector are filled up with silence.
/// @throws Failure if a file is missing or has another form than it should, or tracks cannot be in one file.
Album PlanAlbum(const std::string& path, bool pad, SheetOfFiles* sheet);
