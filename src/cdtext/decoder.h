/// @file
/// CD-Text packs into the texts of a sheet (Red Book, CD-Text; pack layout as in MMC).
#pragma once

#include <array>
#include <memory>
#include <string>

#include "disc/record_text.h"

inline constexpr std::size_t kPackSize = 18;

/// Reads packs into the seven texts of a disc and of its tracks, which must be there. `CDTextPresent` tells
/// afterwards whether anything was decoded; fields that the packs say nothing of stay as they were, and a field
/// that is replaced is not freed first only if it was null. Changes the data. Never fails.
bool DecodeCDTextPacks(BYTE* data, std::size_t size, ZSCUESHEET* sheet) noexcept;

/// Reads the file that a path becomes with the extension .CDT. False when there is none or it cannot be read.
bool LoadCDTextCompanion(const std::string& path, ZSCUESHEET* sheet);
