/// @file
/// The picture of a disc.
#pragma once

#include <string>

#include "image/host.h"

/// An SVG document of the disc: as it lies there, as a line along its playing time, and as a list of its tracks.
/// UTF-8, without anything from elsewhere, in light or dark colours as the reader prefers.
std::string DrawDisc(const ImageRecord& image);
