/// @file
/// The readers of image formats, one source file for each.
///
/// A reader receives a path as narrow text and a record that is all zero. It returns 0 if the record is complete. After
/// any other result or an exception, the caller frees the content of the record.
#pragma once

#include <string>

#include "cuesheet/cue_sheet_interface.h"

/// `service` creates the sheets.
using ImageReader = HRESULT (*)(IZSCueSheet* service, const std::string& path, zsimagefileinfo* info);

/// Reads a plain sector file: one session of one track. The disc is always classified as data and has no identifier.
/// @return ZSE_OUTOFRESOURCES, ZSE_BADIMAGE.
HRESULT ReadIsoImage(IZSCueSheet* service, const std::string& path, zsimagefileinfo* info);

/// Reads a CUE sheet with its data file: one session.
/// @return ZSE_FILENOTFOUND without a data file, ZSE_CANNOTOPENIMAGE, ZSE_OUTOFRESOURCES, ZSE_FAILED for a sheet that
/// cannot be analysed or has no tracks.
HRESULT ReadCueImage(IZSCueSheet* service, const std::string& path, zsimagefileinfo* info);

/// Reads a Nero image: sectors and tagged chunks in one file.
/// @return ZSE_FILENOTFOUND, ZSE_BADIMAGE, ZSE_OUTOFRESOURCES, E_OUTOFMEMORY.
HRESULT ReadNrgImage(IZSCueSheet* service, const std::string& path, zsimagefileinfo* info);

/// Reads a CloneCD description with its .IMG and .SUB companions.
/// @return ZSE_FILENOTFOUND, ZSE_BADIMAGE, ZSE_OUTOFRESOURCES, E_OUTOFMEMORY.
HRESULT ReadCcdImage(IZSCueSheet* service, const std::string& path, zsimagefileinfo* info);

/// Reads a Media Descriptor description with its .MDF companion.
/// @return ZSE_FILENOTFOUND, ZSE_BADIMAGE, ZSE_OUTOFRESOURCES, E_OUTOFMEMORY.
HRESULT ReadMdsImage(IZSCueSheet* service, const std::string& path, zsimagefileinfo* info);

/// Checks a BlindWrite description and refuses it: the meaning of its records is unknown.
/// @return ZSE_BADIMAGE; ZSE_FILENOTFOUND or ZSE_OUTOFRESOURCES if it cannot be read.
HRESULT ReadBwtImage(IZSCueSheet* service, const std::string& path, zsimagefileinfo* info);

/// Refuses a BlindWrite 5 description. @return ZSE_BADIMAGE.
HRESULT ReadB5tImage(IZSCueSheet* service, const std::string& path, zsimagefileinfo* info);
