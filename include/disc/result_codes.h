/// @file
/// Result codes of the component, in facility 0x809F.
#pragma once

#include "platform/result_codes.h"

inline constexpr HRESULT ZSE_FAILED = MakeResult(0x809F0001);       ///< No usable content, or no writer for the format.
inline constexpr HRESULT ZSE_FILENOTFOUND = MakeResult(0x809F000F); ///< A description or companion is missing.
inline constexpr HRESULT ZSE_OUTOFRESOURCES = MakeResult(0x809F0014);  ///< No memory for a sheet, or too many sessions;
                                                                       ///< an MDS data track of unknown mode; no memory
                                                                       ///< for a BlindWrite file.
inline constexpr HRESULT ZSE_CANNOTOPENIMAGE = MakeResult(0x809F001A); ///< The path or sector file does not open.
inline constexpr HRESULT ZSE_BADIMAGE = MakeResult(0x809F001B);        ///< Not an image, or a read of it failed.
inline constexpr HRESULT ZSE_TOCVERSION = MakeResult(0x809F0020);      ///< A native TOC file of a later version.
