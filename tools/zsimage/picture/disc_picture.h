/// @file
/// The picture of a disc.
#pragma once

#include <string>

#include "image/image_record.h"

/// Returns an SVG document, UTF-8: the disc, a line along its playing time, and a list of its tracks. It refers to no
/// other file, and has light or dark colours as the reader prefers. @param kind Of the disc, in words.
std::string DrawDisc(const ImageRecord& image, const std::string& kind);
