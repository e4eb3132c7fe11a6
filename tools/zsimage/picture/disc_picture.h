/// @file
/// The picture of a disc.
#pragma once

#include <string>

#include "image/open_image.h"

/// Returns an SVG document, UTF-8: the disc, a line along its playing time, and a list of its tracks. It refers to no
/// other file, and has light or dark colours by the preference of the viewer. @param kind Kind of the disc, in words.
std::string DrawDisc(const imagefile::Image& image, const std::string& kind);
