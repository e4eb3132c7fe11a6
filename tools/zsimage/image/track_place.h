/// @file
/// Offsets of tracks in the sector file.
///
/// A track's `dwLBA` is its position on the disc. It is its position in the file, too, unless the file leaves out
/// sectors before the track (later sessions, recording track by track, PREGAP lines) or has other block sizes there.
#pragma once

#include <functional>
#include <optional>

#include "disc/records.h"

/// A run of sectors, from index 1 to the end of a track.
struct TrackPlace {
  UHYPER begin;   ///< Byte in the sector file.
  ULONG sectors;  ///< 0 for a track that ends before it begins.
  UINT blockSize; ///< Bytes of one sector in the file.
  ULONG pregap;   ///< Sectors of the pregap that are in the file, before `begin`.
  ULONG missing;  ///< Sectors that the file lacks: of the track, or before one whose end follows from the file's size.

  UHYPER End() const noexcept { return begin + UHYPER{sectors} * blockSize; }
};

/// Index 1 of a track in the file's own sectors. A sheet's PREGAP lines move `dwLBA` alone; its index table keeps
/// what the file has.
ULONG FileSector(const zsimagefileinfo& info, const ZSTRACK& track);

using PlaceVisitor = std::function<void(const ZSTRACK& track, const TrackPlace& place)>;

/// Visits the tracks of a session, with its index from 0. Numbers of the image are not checked: places outside the file
/// come out for records that claim them.
/// @param fileSize Bytes of the sector file; none when there is no such file, and then nothing counts as missing.
void VisitPlaces(const zsimagefileinfo& info, unsigned session, std::optional<UHYPER> fileSize,
                 const PlaceVisitor& visit);

/// Offset in a sector of its block of `size` bytes: 2048 bytes are the user data after header and sub-header, 2352 the
/// raw sector. Together with the size it may be outside; then the sector has no such block.
UINT OffsetInSector(const zsimagefileinfo& info, const ZSTRACK& track, UINT size);
