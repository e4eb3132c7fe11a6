/// @file
/// BlindWrite descriptions, with the known fields of their layout.
#pragma once

#include <vector>

#include "platform/base_types.h"

/// Returns a description with a number of track records. The last record has the point 0xA2.
/// @param fieldLength Bytes of each counted field.
std::vector<BYTE> BwtFile(int records, unsigned fieldLength = 3);
