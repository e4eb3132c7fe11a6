/// @file
/// The table of image formats.
#pragma once

#include <string_view>

#include "readers/readers.h"

/// The reader for the last four characters of a path, in any case. Null for an extension that is unknown, and
/// for that of a bare data file, which has no reader.
ImageReader ReaderForExtension(std::string_view extension);
