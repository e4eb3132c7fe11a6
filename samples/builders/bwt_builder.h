/// @file
/// BlindWrite descriptions, as far as their layout is known.
#pragma once

#include <vector>

#include "platform/base_types.h"

/// A description of some track records, of which the last one says so.
/// @param fieldLength Bytes of each counted field.
std::vector<BYTE> BwtFile(int records, unsigned fieldLength = 3);
