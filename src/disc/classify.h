/// @file
/// What kind of disc a record describes, by its tracks and by what stands in sector 16 of the image.
#pragma once

#include <array>
#include <string>

#include "disc/records.h"
#include "disc/result_codes.h"
#include "foundation/file.h"

/// Marks of a disc that its sectors show.
struct DiscMarks {
  bool audio = false;  ///< An audio track was seen.
  bool data = false;   ///< Any other track was seen.
  bool bridge = false; ///< A CD-Bridge disc: its volume descriptor says so, or its second track bears video.
};

/// Sets `ZSTYPEPROJECT`, `ZSBlockSize` and `nSubCount` of a record whose sessions and `dwSeekBegin64` stand.
/// The sector file is opened once for each data track; images of more than two sessions need no file.
/// @return 0; ZSE_CANNOTOPENIMAGE; ZSE_FAILED when the first session has no track.
HRESULT ClassifyImage(const std::string& sectorFile, zsimagefileinfo* info);

/// Sets `nSubCount`, the bytes before the user data of a sector, where the track's mode and the record's block
/// size tell it; else leaves it.
void SetSubCount(zsimagefileinfo* info, const ZSTRACK& track) noexcept;

/// Byte offset of the user data of sector 16 of the image, where ECMA-119 puts the first volume descriptor.
UHYPER SectorSixteenPosition(const zsimagefileinfo& info) noexcept;

/// User data of one sector.
using UserData = std::array<BYTE, 2048>;

/// Reads the user data of sector 16. Bytes that cannot be read are 0. @return Whether all of them were read.
bool ReadSectorSixteen(CZSFile* file, const zsimagefileinfo& info, UserData* sector) noexcept;

/// Whether sector 16 and the open sector file show a CD-Bridge disc: sector 16 is a primary volume descriptor with
/// the system identifier of such discs, or it is a descriptor, `track` is 0, and the middle of the second track bears
/// video. A read that fails shows nothing.
bool ShowsBridge(CZSFile* file, const UserData& sectorSixteen, const zsimagefileinfo& info, const ZSCUESHEET& sheet,
                 UINT track) noexcept;

/// The type of a one-session disc, or of the first session of several; ZSTYPEPROJECT_NULL without any track.
::ZSTYPEPROJECT FirstSessionType(const DiscMarks& marks, UINT tracks) noexcept;
