/// @file
/// Operations on the tracks of a sheet.
#pragma once

#include <string>

#include "disc/records.h"

/// Allocates `count` cleared tracks for an empty sheet. False, with the sheet unchanged, if out of memory.
bool AllocateTracks(ZSCUESHEET* sheet, UINT count) noexcept;

/// Appends entries to a track's index table. False, with the track unchanged, if out of memory or if the table would
/// have more than 255 entries.
bool AppendIndexes(ZSTRACK* track, const ULONG* positions, UINT count) noexcept;

/// Whether a mode is mode 2, in any of its forms.
constexpr bool IsMode2(ZSMODETYPE mode) noexcept { return (mode & 0x04) != 0; }

/// Returns the bytes of one sector as an unsigned number.
constexpr ULONG BytesOf(ZSFILEBLOCKSIZECUE size) noexcept { return static_cast<ULONG>(size); }

/// Sets the mode of a track, and the format of its session, which follows from the mode.
void SetMode(ZSCUESHEET* sheet, ZSTRACK* track, ZSMODETYPE mode) noexcept;

/// Sets both block sizes of a track.
void SetBlockSize(ZSTRACK* track, ULONG bytes) noexcept;
