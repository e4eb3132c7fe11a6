/// @file
/// The readers of foreign formats and of plain sector files, one source unit for each.
///
/// A reader takes the path as narrow text and a record that is all zero. On 0 the record is complete; on any
/// other result, or when an exception leaves the reader, the caller empties what the record then holds.
#pragma once

#include <string>

#include "cuesheet/cue_sheet_interface.h"

/// The service that makes and frees sheets comes first, the path and the record follow.
using ImageReader = HRESULT (*)(IZSCueSheet* service, const std::string& path, zsimagefileinfo* info);

/// A plain sector file: one session of one track. The disc is taken for data without a look, and gets no identifier.
/// @return ZSE_OUTOFRESOURCES, ZSE_BADIMAGE.
HRESULT ReadIsoImage(IZSCueSheet* service, const std::string& path, zsimagefileinfo* info);

/// A CUE sheet with its data file: one session.
/// @return ZSE_FILENOTFOUND without the data file, ZSE_CANNOTOPENIMAGE, ZSE_OUTOFRESOURCES, ZSE_FAILED for a
/// sheet that cannot be analysed or has no tracks.
HRESULT ReadCueImage(IZSCueSheet* service, const std::string& path, zsimagefileinfo* info);

/// A Nero image: sectors, then tagged chunks, in one file.
/// @return ZSE_FILENOTFOUND, ZSE_BADIMAGE, ZSE_OUTOFRESOURCES, E_OUTOFMEMORY.
HRESULT ReadNrgImage(IZSCueSheet* service, const std::string& path, zsimagefileinfo* info);

/// A CloneCD description with its .IMG and .SUB companions.
/// @return ZSE_FILENOTFOUND, ZSE_BADIMAGE, ZSE_OUTOFRESOURCES, E_OUTOFMEMORY.
HRESULT ReadCcdImage(IZSCueSheet* service, const std::string& path, zsimagefileinfo* info);

/// A Media Descriptor description with its .MDF companion.
/// @return ZSE_FILENOTFOUND, ZSE_BADIMAGE, ZSE_OUTOFRESOURCES, E_OUTOFMEMORY.
HRESULT ReadMdsImage(IZSCueSheet* service, const std::string& path, zsimagefileinfo* info);

/// A BlindWrite description: checked and walked, then refused, since its records' meaning is not known.
/// @return ZSE_BADIMAGE; ZSE_FILENOTFOUND, ZSE_OUTOFRESOURCES when it cannot be read.
HRESULT ReadBwtImage(IZSCueSheet* service, const std::string& path, zsimagefileinfo* info);

/// A BlindWrite 5 description: refused. @return ZSE_BADIMAGE.
HRESULT ReadB5tImage(IZSCueSheet* service, const std::string& path, zsimagefileinfo* info);
