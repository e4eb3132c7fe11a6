/// @file
/// Records as pages for a person: what the disc is, and one line for each track.
#pragma once

#include "image/image_record.h"

/// Prints the page of an image.
void PrintRecord(const Host& host, const ImageRecord& image);

/// Prints the texts of a disc and its tracks.
void PrintTexts(const ZSCUESHEET& sheet);
