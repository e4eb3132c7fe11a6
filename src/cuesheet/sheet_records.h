/// @file
/// The life of session records: copies, release, file pieces and merging.
///
/// These are the bodies of the operations of IZSCueSheet of the same names; pointers are never null here.
#pragma once

#include "cuesheet/cue_sheet_interface.h"
#include "platform/record_info.h"

/// A new sheet that owns a deep copy of everything. Throws std::bad_alloc, with nothing left behind. An index
/// table or list of pieces that cannot be copied is left out.
ZSCUESHEET* CloneSheet(const ZSCUESHEET& source);

/// Copies presence, language and texts into an empty ZSCDTEXT. Throws std::bad_alloc.
void CloneText(const ::ZSCDTEXT& source, ::ZSCDTEXT* destination);

/// Replaces the eight strings of a track. Throws std::bad_alloc.
void ReplaceTrackTexts(const ZSTRACK& source, ZSTRACK* destination);

/// Frees what one track owns; its fields stay as they are.
void FreeTrack(const ZSTRACK& track) noexcept;

/// Frees the seven texts and sets them null.
void FreeText(::ZSCDTEXT* text) noexcept;

/// Frees a sheet with all that it owns.
void FreeSheet(ZSCUESHEET* sheet) noexcept;

/// Gives each track one file piece. `pieces` describes ZSFILESTRUCT. @return E_OUTOFMEMORY.
HRESULT AttachPieces(BSTR imageFile, IRecordInfo* pieces, ZSCUESHEET* sheet);

/// Appends the tracks of one array to another. Once the destination has room, nothing can fail. @return As
/// IZSCueSheet::MergeTracks.
HRESULT AppendTracks(VARIANT* source, VARIANT* destination) noexcept;
