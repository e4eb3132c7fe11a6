/// @file
/// Steps that the readers share.
#pragma once

#include <string>

#include "cuesheet/cue_sheet_interface.h"
#include "foundation/byte_view.h"
#include "foundation/file.h"

/// @name Control bits
/// Bits of a track in the sub-channel Q (Red Book).
/// @{
inline constexpr BYTE kControlPreEmphasis = 0x01;
inline constexpr BYTE kControlCopyPermitted = 0x02;
inline constexpr BYTE kControlData = 0x04;
inline constexpr BYTE kControlFourChannels = 0x08;
/// @}

/// Largest description that a reader loads, in bytes.
inline constexpr UHYPER kMaxDescriptionSize = 0x7FFFFFFF;

/// Returns the result code for a description that could not be loaded: E_OUTOFMEMORY or, for any other last error,
/// ZSE_BADIMAGE.
HRESULT LoadFailure() noexcept;

/// Appends a session of `trackCount` cleared tracks to a record.
/// @param sheet Receives the session's sheet; unchanged on failure.
/// @return ZSE_OUTOFRESOURCES if out of memory for the sheet or if the record is full; E_OUTOFMEMORY if out of memory
/// for the tracks.
HRESULT AddSession(IZSCueSheet* service, UINT trackCount, zsimagefileinfo* info, ZSCUESHEET** sheet) noexcept;

/// Returns the ZSTRACKFLAG_ bits for control bits.
LONG FlagsOfControl(BYTE control) noexcept;

/// Completes a record that has its sessions, its seek bounds and `lMask`: sets the sector file and the format,
/// classifies the disc and computes its identifiers. @return ZSE_BADIMAGE if the disc cannot be classified.
HRESULT FinishImage(const std::string& sectorFile, zsimgformat format, zsimagefileinfo* info);
