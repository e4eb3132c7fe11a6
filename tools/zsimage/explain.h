/// @file
/// Why an image does not open, in words that help.
#pragma once

#include <string>

#include "host.h"

/// What is wrong with the image of a path for which GetImageFileInfo answered `result`, and what to do about it.
/// Looks at the path and the files that belong to it; UTF-8, without the path itself.
std::string ExplainOpenFailure(const Host& host, const std::string& path, HRESULT result);
