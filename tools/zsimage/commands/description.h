/// @file
/// New descriptions of an image, which the component writes and the tool verifies.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "files/output_file.h"
#include "image/open_image.h"

/// Returns whether a path has the extension of a CUE sheet; if not, it has that of a TOC file. @throws Failure for any
/// other extension, and for a name that a description cannot contain.
bool IsSheet(const std::string& path);

struct Description {
  std::string content;
  std::string dataFile; ///< Name of the data file that it expects in its folder.
};

/// Renders the description of the first sessions of a record, and reads it back. Changes the format and the data file
/// of the record.
/// @param path Where the description will be. @param packs Bytes of CD-Text packs, which only a TOC file contains.
/// @throws Failure if the description does not state the same tracks.
Description RenderDescription(zsimagefileinfo* info, const std::string& path, unsigned sessions,
                              const std::string& packs);

/// Returns an image with the texts as CD-Text can state them. Readers count the texts of the tracks, so a track that
/// lacks a text which a later track has gets that of the disc, or a blank as its title. Data tracks have texts as well.
/// The modes of the result are not those of the image.
imagefile::Image CompleteTexts(const imagefile::Image& image);

/// The files of a new image.
struct NewImage {
  std::string path;  ///< Of the description.
  std::string packs; ///< CD-Text beside a sheet; empty for none.
  Description description;
  UHYPER dataBytes = 0;                              ///< Size of the data file.
  std::function<void(OutputFile* file)> writeData;   ///< Writes the data file. Empty if it is not written.
  std::function<void(const std::string&)> refuseOwn; ///< @throws Failure if a path is a file that the data come from.
};

/// Writes all files of an image, or none. The description is published last, so that it never exists without the
/// others. Files that a reader would use as the CD-Text of a new sheet are removed.
/// @param verify Called when all files are in place; if it throws, they are withdrawn.
void WriteImage(const NewImage& image, bool force, const std::function<void()>& verify);

/// Returns the path of the CD-Text companion that a sheet names.
std::string CompanionOf(const std::string& path);

/// Adds the silence of PREGAP lines to the pregaps of the tracks, since the new data file contains it. PREGAP lines
/// move the start of a track and not its end, which is a position in the old file; this moves the end as well.
void AddSilenceToPregaps(imagefile::Image* image, unsigned sessions);

/// Lists what the new description of the first sessions does not keep, as sentences without a full stop.
/// @param withData Whether a data file is written as well.
std::vector<std::string> FindLosses(const imagefile::Image& image, bool isSheet, unsigned sessions, bool withData);
