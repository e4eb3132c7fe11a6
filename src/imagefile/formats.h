/// @file
/// The table of image formats.
#pragma once

#include <string_view>

#include "readers/readers.h"

/// Returns the reader for the last four characters of a path, in any case; null for an unknown extension.
ImageReader ReaderForExtension(std::string_view extension);
