/// @file
/// Copying, freeing and merging of session records, and their file pieces: implementation of operations of IZSCueSheet.
#pragma once

#include "cuesheet/cue_sheet_interface.h"
#include "platform/record_info.h"

/// Returns a new sheet that owns a deep copy of everything. Throws std::bad_alloc. If there is no memory
/// for the copy of an index table or of a list of pieces, the copy lacks it.
ZSCUESHEET* CloneSheet(const ZSCUESHEET& source);

/// Copies presence, language and texts into an empty ZSCDTEXT. Throws std::bad_alloc.
void CloneText(const ::ZSCDTEXT& source, ::ZSCDTEXT* destination);

/// Replaces the texts and the ISRC of a track. Throws std::bad_alloc.
void ReplaceTrackTexts(const ZSTRACK& source, ZSTRACK* destination);

/// Frees what a track owns; its fields are unchanged.
void FreeTrack(const ZSTRACK& track) noexcept;

/// Frees the texts and sets them to null.
void FreeText(::ZSCDTEXT* text) noexcept;

/// Frees a sheet with all that it owns.
void FreeSheet(ZSCUESHEET* sheet) noexcept;

/// Stores a list of one file piece in each track. `pieces` describes ZSFILESTRUCT. @return E_OUTOFMEMORY.
HRESULT AttachPieces(BSTR imageFile, IRecordInfo* pieces, ZSCUESHEET* sheet);

/// Appends the tracks of one array to another. Once the destination has room, nothing can fail. @return As
/// IZSCueSheet::MergeTracks.
HRESULT AppendTracks(VARIANT* source, VARIANT* destination) noexcept;
