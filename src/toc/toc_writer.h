/// @file
/// The writer of native TOC files.
#pragma once

#include <string>

#include "disc/records.h"
#include "disc/result_codes.h"

/// Describes an image in a native TOC file. The names of the companions follow from the file's own, in upper
/// case, with the extensions .BIN, .SUB and .CDG; none of them is made or looked for. The record's
/// `bstrImageBinaryFile` becomes the path of the .BIN file; the string that stood there is freed.
/// @param path Narrow text.
/// @param pCDText The first of a run of CD-Text packs of 18 bytes, back to back, or null. With packs `lMask` gets
/// its bit. @param nLength Bytes of that run.
/// @return 0, also when the file could not be written; ZSE_FAILED, with nothing written and nothing changed, for
/// a record that lacks its first session or another that it counts.
HRESULT CreateTOCImage(const std::string& path, zsimagefileinfo* info, zsmmccdtext* pCDText, UINT nLength);
