/// @file
/// Classification of discs by their tracks and by sector 16 of the image.
#pragma once

#include <array>
#include <string>

#include "disc/records.h"
#include "disc/result_codes.h"
#include "foundation/file.h"

/// What the tracks of a disc contain, which decides its kind.
struct DiscContent {
  bool audio = false;  ///< There is an audio track.
  bool data = false;   ///< There is any other track.
  bool bridge = false; ///< It is a CD-Bridge disc; see IsBridgeDisc.
};

/// Sets `ZSTYPEPROJECT`, `ZSBlockSize` and `nSubCount` of a record that has its sessions and `dwSeekBegin64`. Opens the
/// sector file once for each data track, and not at all for more than two sessions.
/// @return 0; ZSE_CANNOTOPENIMAGE; ZSE_FAILED if the first session has no track.
HRESULT ClassifyImage(const std::string& sectorFile, zsimagefileinfo* info);

/// Sets `nSubCount`, the bytes before the user data of a sector, from the track's mode and the record's block size: 16
/// for mode 1 and 24 for mode 2 in raw sectors, 8 for mode 2 in 2336 bytes. Otherwise leaves it unchanged.
void SetSubCount(zsimagefileinfo* info, const ZSTRACK& track) noexcept;

/// Returns the byte offset of the user data of sector 16, the first volume descriptor of ECMA-119.
UHYPER SectorSixteenPosition(const zsimagefileinfo& info) noexcept;

/// User data of one sector.
using UserData = std::array<BYTE, 2048>;

/// Reads the user data of sector 16. Bytes that cannot be read are 0. @return Whether all of them were read.
bool ReadSectorSixteen(CZSFile* file, const zsimagefileinfo& info, UserData* sector) noexcept;

/// Returns whether the disc is a CD-Bridge disc. Sector 16 must be a primary volume descriptor, and either its system
/// identifier is that of CD-Bridge discs, or `track` is 0 and the middle of the second track has video. A read that
/// fails counts as no video.
bool IsBridgeDisc(CZSFile* file, const UserData& sectorSixteen, const zsimagefileinfo& info, const ZSCUESHEET& sheet,
                  UINT track) noexcept;

/// Returns the type of a disc by its first session; ZSTYPEPROJECT_NULL without a track.
::ZSTYPEPROJECT FirstSessionType(const DiscContent& content, UINT tracks) noexcept;
