/// @file
/// Offsets of tracks in the data file.
///
/// A track's `dwLBA` is its position on the disc. It is its position in the data file, too, unless the file leaves out
/// sectors before the track (later sessions, recording track by track, PREGAP lines) or has other block sizes there.
#pragma once

#include <functional>
#include <optional>

#include "disc/records.h"

/// The sectors of a track from index 1 to its end.
struct TrackExtent {
  UHYPER begin;   ///< Byte in the data file.
  ULONG sectors;  ///< 0 for a track that ends before it begins.
  UINT blockSize; ///< Bytes of one sector in the file.
  ULONG pregap;   ///< Sectors of the pregap that are in the file, before `begin`.
  ULONG missing;  ///< Sectors that the file lacks: of the track, or before a last track whose length is not stated.

  UHYPER End() const noexcept { return begin + UHYPER{sectors} * blockSize; }
};

/// Returns index 1 of a track as a position in the data file. PREGAP lines of a sheet move `dwLBA` alone; its index
/// table has the positions in the file.
ULONG FilePosition(const zsimagefileinfo& info, const ZSTRACK& track);

using TrackVisitor = std::function<void(const ZSTRACK& track, const TrackExtent& extent)>;

/// Visits the tracks of a session. Numbers of the image are not checked: an extent may be outside the file.
/// @param session Index, from 0. @param fileSize Bytes of the data file; none if it is missing; then `missing` is
/// always 0.
void VisitTracks(const zsimagefileinfo& info, unsigned session, std::optional<UHYPER> fileSize,
                 const TrackVisitor& visit);

/// Returns the offset in a sector of its block of `size` bytes: 2048 bytes are the user data after header and
/// sub-header, 2352 the raw sector. If offset and size exceed the sector, it has no such block.
UINT OffsetInSector(const zsimagefileinfo& info, const ZSTRACK& track, UINT size);
