/// @file
/// New descriptions of an image, which the component writes and the tool verifies.
#pragma once

#include <string>
#include <vector>

#include "image/image_record.h"

/// Whether a path is that of a CUE sheet, and not that of a TOC file. @throws Failure for the extension of neither, and
/// for a name that a description cannot contain.
bool IsSheet(const std::string& path);

struct Description {
  std::string content;
  std::string dataFile; ///< Name of the data file that it expects in its folder.
};

/// Renders the description of the first sessions of an image, and reads it back. Changes the format and the data file
/// of the record.
/// @param path Where the description will be. @param packs Bytes of CD-Text packs, which only a TOC file contains.
/// @throws Failure if it does not describe the same tracks.
Description RenderDescription(const Host& host, ImageRecord* image, const std::string& path, unsigned sessions,
                              const std::string& packs);

/// Returns the path of the CD-Text companion that a sheet names.
std::string CompanionOf(const std::string& path);

/// Finds existing files that a reader would use as the CD-Text of a new sheet, in any case, except its own companion.
/// @param own Path of the companion; empty for none. @throws Failure if there are any, without `force`.
std::vector<std::string> FindStaleTexts(const std::string& path, const std::string& own, bool force);

/// Counts the silence of PREGAP lines, which the new data file contains, to the pregaps of a sheet's tracks. Moves
/// their ends, which are positions in the old file, as the lines move their starts.
void MarkSilence(ImageRecord* image, unsigned sessions);

/// Lists what the new description of the first sessions does not keep, as sentences without a full stop.
/// @param withData Whether a data file is written as well.
std::vector<std::string> FindLosses(const ImageRecord& image, bool isSheet, unsigned sessions, bool withData);
