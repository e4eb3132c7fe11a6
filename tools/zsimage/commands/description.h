/// @file
/// Writing a description through the component, and making sure that it says what it should.
#pragma once

#include <string>
#include <vector>

#include "image/host.h"

/// The descriptions that can be written, by the extension of the path.
enum class DescriptionKind { CueSheet, TocFile };

/// @throws Failure for a path with another extension, and for a name that a sheet cannot hold.
DescriptionKind KindOfDescription(const std::string& path);

struct Description {
  std::string content;
  std::string dataFile; ///< Name of the data file that it expects in its folder.
};

/// Makes the description of the first sessions of an image, with CD-Text packs for a TOC file, as it is to be at
/// `path`, and reads it back. Changes the record's format and sector file. @throws Failure when it does not have all
/// tracks.
Description MakeDescription(const Host& host, ImageRecord* image, DescriptionKind kind, const std::string& path,
                            unsigned sessions, const std::vector<BYTE>& packs);

/// The CD-Text companion that a sheet at `path` names.
std::string CompanionOf(const std::string& path);

/// What the image has and the new description of its first sessions cannot say, as sentences without their full stop.
/// @param withData Whether a data file is written, too.
std::vector<std::string> LossesOf(const ImageRecord& image, DescriptionKind kind, unsigned sessions, bool withData);
