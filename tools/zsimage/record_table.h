/// @file
/// An image as a page for a person: what the disc is, and one line for each track.
#pragma once

#include <string>

#include "host.h"

/// The whole page, UTF-8.
std::string RenderImage(const ImageRecord& image);

/// The texts of a disc and the lines of its tracks.
std::string RenderSheet(const ZSCUESHEET& sheet);
