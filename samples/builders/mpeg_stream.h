/// @file
/// Minimal MPEG-1 system stream that Video CD authoring programs accept.
#pragma once

#include <vector>

#include "platform/base_types.h"

/// Returns a stream of packs, each of which fills one sector. They contain one video stream of tiny pictures.
std::vector<BYTE> MpegStream(int packs);
