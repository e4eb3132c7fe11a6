/// @file
/// Conversion of a sector number to a byte position in the sector file.
#pragma once

#include "disc/records.h"

inline constexpr ULONG kFirstSessionGap = 11250; ///< Sectors between the first and second sessions on a disc.
inline constexpr ULONG kLaterSessionGap = 6750;  ///< Sectors before the third and each later session.

/// Computes the results of IZSImageFile::GetPositionFromLBA. Skips sessions without tracks. `length` may be null.
void PositionFromLBA(const zsimagefileinfo& info, ULONG lba, UHYPER* seek, UHYPER* length) noexcept;
