/// @file
/// Writing the data file of an album.
#pragma once

#include "files/output_file.h"
#include "join/album.h"

/// Writes all sectors. Data sectors without headers get them, if the album has raw sectors, and silence in a data track
/// is empty sectors of its mode. @throws Failure if a file cannot be read, its sectors cannot be widened, or the user
/// cancels.
void WriteAlbum(const Album& album, const ZSCUESHEET& record, OutputFile* output);
