/// @file
/// What a conversion loses.
#pragma once

#include <string>
#include <vector>

#include "description.h"

/// What the image has and the new description of its first sessions cannot say, as sentences without their full stop.
/// @param withData Whether a data file is written, too.
std::vector<std::string> LossesOf(const ImageRecord& image, DescriptionKind kind, unsigned sessions, bool withData);
