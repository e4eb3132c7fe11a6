/// @file
/// Images as the tool opens them (imagefile/disc_image.h), with explanations of what is wrong.
#pragma once

#include <optional>
#include <string>

#include "imagefile/disc_image.h"

/// Reads an image. @param path Narrow text. @param partial Whether the data file may end inside a sector.
/// @throws Failure that says why the image cannot be read.
imagefile::Image OpenImage(const std::string& path, bool partial = false);

/// Reads a sheet or an ISO image whose data file ends inside a sector, which the component refuses or reads as an image
/// without sectors. The last track may end after the data file. @return None if that fails, too.
std::optional<imagefile::Image> OpenPartialImage(const std::string& path);

/// Returns the session with a number from 1. @throws Failure if the image has no such session.
const imagefile::Session& SessionOf(const imagefile::Image& image, unsigned number);

/// Returns the bytes of the data file. A missing one counts as endless, so that it lacks no sectors of a track.
UHYPER DataSize(const imagefile::Image& image);

/// @throws Failure that names the data file if it is missing.
void RequireDataFile(const imagefile::Image& image);

/// @throws Failure if tracks of the first sessions have sectors without a size.
void RequireSizes(const imagefile::Image& image, std::size_t sessions);

/// Returns the path of the data file that a sheet names: empty for an empty name, and the sheet itself if no line names
/// one.
std::string DataFileOfSheet(const std::string& path);
