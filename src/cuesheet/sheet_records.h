/// @file
/// Operations of IZSCueSheet on session records: copying, freeing, merging, and lists of file pieces.
#pragma once

#include "cuesheet/cue_sheet_interface.h"
#include "platform/record_info.h"

/// Returns a new sheet that owns a deep copy of everything. Throws std::bad_alloc. If out of memory for an index table
/// or a list of pieces, the copy lacks it.
ZSCUESHEET* CloneSheet(const ZSCUESHEET& source);

/// Copies presence, language and texts into an empty ZSCDTEXT. Throws std::bad_alloc.
void CloneDiscTexts(const ::ZSCDTEXT& source, ::ZSCDTEXT* destination);

/// Replaces the texts and the ISRC of a track. Throws std::bad_alloc.
void ReplaceTrackTexts(const ZSTRACK& source, ZSTRACK* destination);

/// Frees what a track owns; its fields are unchanged.
void FreeTrack(const ZSTRACK& track) noexcept;

/// Frees the texts and sets them to null.
void FreeDiscTexts(::ZSCDTEXT* text) noexcept;

/// Frees a sheet with all that it owns.
void FreeSheet(ZSCUESHEET* sheet) noexcept;

/// Stores a list of one file piece in each track. `description` is that of ZSFILESTRUCT. @return E_OUTOFMEMORY.
HRESULT AttachPieces(BSTR imageFile, IRecordInfo* description, ZSCUESHEET* sheet);

/// Appends the tracks of one array to another. The destination grows first; after that nothing can fail. @return As
/// IZSCueSheet::MergeTracks.
HRESULT AppendTracks(VARIANT* source, VARIANT* destination) noexcept;
