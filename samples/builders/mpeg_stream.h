/// @file
/// The smallest MPEG-1 system stream that makers of Video CDs take.
#pragma once

#include <vector>

#include "platform/base_types.h"

/// A stream of so many packs, each of the size of one sector, with one video stream of tiny pictures.
std::vector<BYTE> MpegStream(int packs);
