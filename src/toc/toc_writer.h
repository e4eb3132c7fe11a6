/// @file
/// Writer of native TOC files.
#pragma once

#include <string>

#include "disc/records.h"
#include "disc/result_codes.h"

/// Writes a native TOC file that describes an image. Its companions have the name of the file in upper case, with the
/// extensions .BIN, .SUB and .CDG. They are neither created nor looked up. `bstrImageBinaryFile` of the record becomes
/// the path of the .BIN file; its old string is freed.
/// @param path Narrow text. @param info The record.
/// @param pCDText CD-Text packs of 18 bytes, or null. If there are packs, ZSIMAGEMASK_CDTEXT is set in `lMask`.
/// @param nLength Bytes of all packs.
/// @return 0, also if the file cannot be written; ZSE_FAILED, with nothing written or changed, if the record has no
/// first sheet or lacks one of the sheets that it counts.
HRESULT CreateTOCImage(const std::string& path, zsimagefileinfo* info, zsmmccdtext* pCDText, UINT nLength);
