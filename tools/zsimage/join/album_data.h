/// @file
/// Writes the data file of an album.
#pragma once

#include "files/output_file.h"
#include "join/album.h"

/// Writes all sectors. If the album has raw sectors, data sectors without headers are widened, and silence in a data
/// track is written as empty sectors of its mode. @throws Failure if a file cannot be read, its sectors cannot be
/// widened, or the user cancels.
void WriteAlbum(const Album& album, const ZSCUESHEET& record, OutputFile* output);
