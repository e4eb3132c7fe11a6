/// @file
/// The track records of a BlindWrite description.
#pragma once

#include "foundation/byte_view.h"

/// Finds the end of the track records, which follow the head. The last record has the point 0xA2.
/// @param end Receives the offset after the last record, which is after the end of the file if the file is cut off in
/// the last field.
/// @return false, with `*end` unchanged, if the file ends earlier.
bool FindBwtRecordsEnd(const ByteView& file, UHYPER* end) noexcept;
