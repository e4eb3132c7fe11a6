/// @file
/// Why an image does not open, in words that help.
#pragma once

#include <string>

#include "image/host.h"

/// Says what is wrong with an image for which GetImageFileInfo returned `result`, and what to do. Looks at the path and
/// the files that belong to it. UTF-8, without the path itself.
std::string ExplainOpenFailure(const Host& host, const std::string& path, HRESULT result);

/// Returns the kind of a sound file by its first bytes: RIFF, FORM or fLaC. Empty for any other file.
std::string SoundFileType(const std::string& path);
