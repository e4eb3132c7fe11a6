/// @file
/// The data file that a sheet of several files becomes: which bytes of which file, and where there is silence.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "join/sheet_of_files.h"

/// A file of the album.
struct AlbumFile {
  std::string path; ///< In the spelling of the disk.
  bool isSound;
  bool isSwapped; ///< The two bytes of each sample are in the other order.
  UHYPER bytes;   ///< Size of all samples for a sound file; size of the file for all others.
};

inline constexpr std::size_t kNoTrack = SIZE_MAX; ///< Track of the silence before a track.

/// Sectors of one track that follow each other in one file, or silence.
struct AlbumPiece {
  std::size_t track;     ///< Index of the track that they belong to, or kNoTrack.
  const AlbumFile* file; ///< Null for silence.
  UHYPER offset;         ///< Bytes from the start of the file, or of the samples of a sound file.
  UHYPER bytes;          ///< Bytes that are read. Silence fills up the last sector.
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
/// @throws Failure if a file is missing or has the wrong format, or the tracks cannot be in one file.
Album PlanAlbum(const std::string& path, bool pad, SheetOfFiles* sheet);
