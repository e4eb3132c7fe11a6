/// @file
/// CUE text and plain sector files into the tracks of a sheet.
///
/// The reader is no tokenizer: it upper-cases each line and looks for keywords anywhere in it, in a fixed order,
/// as many sheets in the wild need it. Positions count sectors from the start of the data file. Only the first
/// FILE line counts: a sheet of several data files reads as if all tracks lay in the first.
#pragma once

#include <array>
#include <string>

#include "disc/records.h"
#include "disc/result_codes.h"

/// Bytes of a raw sector that ClassifyRawSector may look at.
inline constexpr std::size_t kRawSectorStart = 96;

/// Replaces the path of a sheet by the path of the data file that it names: the name as it stands when it has a
/// backslash or begins with a slash, else in the sheet's folder, always in upper case.
/// @return false when nothing is named: then the path is unchanged if it is a sheet that opens, else empty.
bool ResolveBinaryFile(std::string* path);

/// Fills an empty sheet from a path. What its fields held is not freed. CD-Text companions are not read.
/// @return 0; ZSE_FILENOTFOUND when the sheet does not open; ZSE_CANNOTOPENIMAGE when the data file is missing;
/// ZSE_BADIMAGE when its size fits no kind of sector and it has no volume descriptor; ZSE_OUTOFRESOURCES.
HRESULT ParseCueSheet(const std::string& path, ZSCUESHEET* sheet);

/// The mode of a raw sector, by its mode byte and XA sub-header (bytes 15 to 23). The sync pattern is not
/// tested, so silent audio is audio because its byte 15 is 0.
ZSMODETYPE ClassifyRawSector(const std::array<BYTE, kRawSectorStart>& sector) noexcept;
