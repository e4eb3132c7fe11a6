/// @file
/// Where the sectors of a track stand in the sector file.
///
/// A track's `dwLBA` is its place on the disc, which is also its place in the file only as long as nothing stands
/// on the disc that the file leaves out and all sectors have one size. Behind the first session, in images recorded
/// track by track, behind a PREGAP line and behind tracks of another block size it is not. A host that wants the
/// right bytes has to walk over what stands before.
#pragma once

#include <vector>

#include "disc/records.h"

/// A run of sectors, from index 1 to the end of a track.
struct TrackPlace {
  UHYPER begin;   ///< Byte in the sector file.
  ULONG sectors;  ///< 0 for a track that ends before it begins.
  UINT blockSize; ///< Bytes of one sector in the file.

  UHYPER End() const noexcept { return begin + UHYPER{sectors} * blockSize; }
};

/// Index 1 of a track in the file's own sectors. A sheet's PREGAP lines move `dwLBA` alone; its index table keeps
/// what the file has.
ULONG FileSector(const zsimagefileinfo& info, const ZSTRACK& track);

/// The places of all tracks of a session, with its index from 0. Numbers of the image are not checked: places
/// outside the file come out for records that claim them.
std::vector<TrackPlace> PlacesOfSession(const zsimagefileinfo& info, unsigned session);

/// Which bytes of a sector a block of `size` bytes is: 2048 bytes are the user data behind header and sub-header,
/// 2352 the raw sector.
/// @return the offset in the sector. Together with the size it may lie outside; then the sector has no such block.
UINT OffsetInSector(const zsimagefileinfo& info, const ZSTRACK& track, UINT size);
