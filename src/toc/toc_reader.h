/// @file
/// Reader of native TOC files.
///
/// The version, the name of the sector file, the counts and the modes of tracks are checked. Any other number that is
/// missing or malformed counts as 0. The block size is always 2352.
#pragma once

#include <string>

#include "cuesheet/cue_sheet_interface.h"

/// Reads a native TOC file, classifies the image and computes its identifiers. For an image of audio tracks alone, the
/// sector file is not needed. CD-Text that cannot be decoded is left out. Arguments as for every reader
/// (readers/readers.h).
/// @return ZSE_FAILED for a file that is no TOC file, has a session without tracks, more tracks than the session
/// describes, or a track of unknown mode; ZSE_TOCVERSION; ZSE_OUTOFRESOURCES, also for more than 99 sessions;
/// ZSE_BADIMAGE if the sector file is needed and cannot be read; E_OUTOFMEMORY.
HRESULT OpenTOCImage(IZSCueSheet* service, const std::string& path, zsimagefileinfo* info);
