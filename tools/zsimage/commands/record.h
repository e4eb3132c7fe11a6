/// @file
/// Records of images: pages for a person, and JSON for programs.
///
/// JSON objects have the records' own field names, in their order. Strings are strings or null, enumerations and
/// integers are numbers, truth values are true or false.
#pragma once

#include "image/open_image.h"

/// Prints the page of an image: what the disc is, and one line for each track.
void PrintRecord(const imagefile::Image& image);

/// Prints the texts of a disc and its tracks.
void PrintTexts(const ZSCUESHEET& sheet);

/// Prints the whole record. `pZSCueSheet` is the array of its `nSessions` sheets.
void PrintRecordJson(const zsimagefileinfo& info, bool isLine);

/// Prints one session. `pZSTracks` is the array of its `nTracks` tracks.
void PrintSheetJson(const ZSCUESHEET& sheet);
