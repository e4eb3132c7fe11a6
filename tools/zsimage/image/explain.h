/// @file
/// Explanations of why an image does not open or has no sectors, with advice.
#pragma once

#include <string>

#include "image/open_image.h"

/// Explains what is wrong with an image for which GetImageFileInfo returned `result`, and what to do. Looks at the path
/// and the files that belong to it. UTF-8, without the path itself.
std::string ExplainOpenFailure(const std::string& path, HRESULT result);

/// Returns words for how many bytes follow the last whole sector of a data file that ends inside a sector, and what to
/// do.
std::string DescribeOddSize(const std::string& path);

/// Explains why the sectors of an image have no size.
std::string DescribeMissingSize(const imagefile::Image& image);

/// Returns the kind of the disc, or why the image has no sectors.
std::string KindOfImage(const imagefile::Image& image);
