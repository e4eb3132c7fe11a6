/// @file
/// What every reader does with tracks: tables that grow, arithmetic on sizes, and the last steps of a record.
#pragma once

#include <string>

#include "disc/records.h"

/// Gives an empty sheet `count` cleared tracks. False, with the sheet unchanged, when there is no memory.
bool AllocateTracks(ZSCUESHEET* sheet, UINT count) noexcept;

/// Adds entries at the end of a track's index table. False, with the track unchanged, when there is no memory or
/// the table would have more than 255 entries.
bool AppendIndexes(ZSTRACK* track, const ULONG* positions, UINT count) noexcept;

/// A mode 2 track in any of its forms.
constexpr bool IsMode2(ZSMODETYPE mode) noexcept { return (mode & 0x04) != 0; }

/// Bytes of one sector, as an unsigned number.
constexpr ULONG BytesOf(ZSFILEBLOCKSIZECUE size) noexcept { return static_cast<ULONG>(size); }

/// The mode of a track, and the format that this gives its session.
void SetMode(ZSCUESHEET* sheet, ZSTRACK* track, ZSMODETYPE mode) noexcept;

/// Both block sizes of a track.
void SetBlockSize(ZSTRACK* track, ULONG bytes) noexcept;
