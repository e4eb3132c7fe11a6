/// @file
/// Writer of native TOC files.
#pragma once

#include <string>

#include "disc/records.h"
#include "disc/result_codes.h"

/// Describes an image in a native TOC file. The names of its companions are the file's own in upper case, with the
/// extensions .BIN, .SUB and .CDG. They are neither created nor looked up. `bstrImageBinaryFile` of the record becomes
/// the path of the .BIN file; its old string is freed.
/// @param path Narrow text. @param info The record.
/// @param pCDText CD-Text packs of 18 bytes, or null. With packs `lMask` gets its bit. @param nLength Bytes of all
/// packs.
/// @return 0, also if the file cannot be written; ZSE_FAILED, with nothing written or changed, if the first sheet or
/// another that the record counts is missing.
HRESULT CreateTOCImage(const std::string& path, zsimagefileinfo* info, zsmmccdtext* pCDText, UINT nLength);
