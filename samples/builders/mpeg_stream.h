/// @file
/// The smallest MPEG-1 system stream that programs which make Video CDs accept.
#pragma once

#include <vector>

#include "platform/base_types.h"

/// Returns a stream of packs. Each fills a sector. They hold one video stream of tiny pictures.
std::vector<BYTE> MpegStream(int packs);
