/// @file
/// New descriptions of an image, which the component writes and the tool verifies.
#pragma once

#include <string>
#include <vector>

#include "image/open_image.h"

/// Returns whether a path has the extension of a CUE sheet; if not, it has that of a TOC file. @throws Failure for any
/// other extension, and for a name that a description cannot contain.
bool IsSheet(const std::string& path);

struct Description {
  std::string content;
  std::string dataFile; ///< Name of the data file that it expects in its folder.
};

/// Renders the description of the first sessions of an image, and reads it back. Changes the format and the data file
/// of the record.
/// @param path Where the description will be. @param packs Bytes of CD-Text packs, which only a TOC file contains.
/// @throws Failure if the description does not state the same tracks.
Description RenderDescription(imagefile::Image* image, const std::string& path, unsigned sessions,
                              const std::string& packs);

/// Returns the path of the CD-Text companion that a sheet names.
std::string CompanionOf(const std::string& path);

/// Finds existing files that a reader would use as the CD-Text of a new sheet: its name with .CDT, in upper or
/// lower case, except the companion that the tool writes.
/// @param own Path of the companion; empty for none. @throws Failure if there are any, without `force`.
std::vector<std::string> FindStaleTexts(const std::string& path, const std::string& own, bool force);

/// Adds the silence of PREGAP lines to the pregaps of the tracks, since the new data file contains it. PREGAP lines
/// move the start of a track and not its end, which is a position in the old file; this moves the end as well.
void MarkSilence(imagefile::Image* image, unsigned sessions);

/// Lists what the new description of the first sessions does not keep, as sentences without a full stop.
/// @param withData Whether a data file is written as well.
std::vector<std::string> FindLosses(const imagefile::Image& image, bool isSheet, unsigned sessions, bool withData);
