/// @file
/// Writing a description through the component, and making sure that it was written.
#pragma once

#include <string>
#include <vector>

#include "host.h"

/// The descriptions that can be written, by the extension of the path.
enum class DescriptionKind { CueSheet, TocFile };

/// @throws Failure for a path with another extension.
DescriptionKind KindOfDescription(const std::string& path);

/// Writes the description of an image, with CD-Text packs for a TOC file. The component does not tell whether a
/// write went well, so the file is read back and compared with a second copy that was written elsewhere.
/// Sets the record's format. @throws Failure when the file is not there in full.
void WriteDescription(const Host& host, ImageRecord* image, DescriptionKind kind, const std::string& path,
                      const std::vector<BYTE>& packs);

/// The data file that a written description names, in the description's folder.
std::string DataFileOf(const Host& host, const ImageRecord& image, DescriptionKind kind, const std::string& path);

/// The CD-Text companion that a written sheet names.
std::string CompanionOf(const std::string& path);

/// Reads a description that has its data file, and compares the tracks with those it was written from.
/// @throws Failure that names the first difference.
void VerifyTracks(const Host& host, const ImageRecord& image, unsigned sessions, const std::string& path);
