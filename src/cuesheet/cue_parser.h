/// @file
/// Parser of CUE text and of plain sector files, which become the tracks of a sheet.
///
/// Each line is converted to upper case, and keywords are found anywhere in it, in a fixed order. Positions count
/// sectors from the start of the data file. Only the first FILE line counts: a sheet of several files is read as if all
/// tracks were in the first.
#pragma once

#include <array>
#include <string>

#include "disc/records.h"
#include "disc/result_codes.h"

/// Bytes of a raw sector that ClassifyRawSector may read.
inline constexpr std::size_t kRawSectorStart = 96;

/// Replaces the path of a sheet by the path of the data file that it names, with the name in upper case. A name that
/// contains a backslash or begins with a slash is the whole path. Any other name is in the folder of the sheet.
/// @return false if no file is named. The path is then empty, or unchanged if it is a sheet that can be opened.
bool ResolveBinaryFile(std::string* path);

/// Fills a sheet from a CUE sheet or a plain sector file. The sheet must be empty: its fields are not freed. CD-Text
/// companions are not read.
/// @return 0; ZSE_FILENOTFOUND if the sheet cannot be read; ZSE_CANNOTOPENIMAGE if the data file is missing;
/// ZSE_BADIMAGE if its size fits no kind of sector and it has no volume descriptor; ZSE_OUTOFRESOURCES.
HRESULT ParseCueSheet(const std::string& path, ZSCUESHEET* sheet);

/// Returns the mode of a raw sector, by its mode byte and XA sub-header (bytes 15 to 23). The sync pattern is not
/// tested: silent audio counts as audio because its byte 15 is 0.
ZSMODETYPE ClassifyRawSector(const std::array<BYTE, kRawSectorStart>& sector) noexcept;
