/// @file
/// Steps that the readers of foreign formats have in common.
#pragma once

#include <string>

#include "cuesheet/cue_sheet_interface.h"
#include "foundation/byte_view.h"
#include "foundation/file.h"

/// Control bits of a track, as the sub-channel Q has them in its first four bits (Red Book).
inline constexpr BYTE kControlPreEmphasis = 0x01;
inline constexpr BYTE kControlCopyPermitted = 0x02;
inline constexpr BYTE kControlData = 0x04;
inline constexpr BYTE kControlFourChannels = 0x08;

/// Largest description that a reader loads.
inline constexpr UHYPER kMaxDescriptionSize = 0x7FFFFFFF;

/// The result of a description that could not be loaded, by this thread's last error: E_OUTOFMEMORY or ZSE_BADIMAGE.
HRESULT LoadFailure() noexcept;

/// Hangs a new session of `trackCount` cleared tracks behind those of the record.
/// @return ZSE_OUTOFRESOURCES when there is no sheet or no place for it, E_OUTOFMEMORY without tracks.
HRESULT AddSession(IZSCueSheet* service, UINT trackCount, zsimagefileinfo* info, ZSCUESHEET** sheet) noexcept;

/// The ZSTRACKFLAG_ bits of control bits.
LONG FlagsOfControl(BYTE control) noexcept;

/// Completes a record whose sessions, seek bounds and marks stand: names the file and the format, classifies the
/// disc and identifies it. @return ZSE_BADIMAGE when the disc cannot be classified.
HRESULT FinishImage(const std::string& sectorFile, zsimgformat format, zsimagefileinfo* info);
