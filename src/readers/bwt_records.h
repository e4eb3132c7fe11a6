/// @file
/// The track records of a BlindWrite description.
#pragma once

#include "foundation/byte_view.h"

/// Finds the end of the track records: they follow the head and go on to the one that is marked as the last.
/// @param end Receives the offset after that record, which is after the end of the file if its last field is cut off.
/// @return false, with `*end` unchanged, if the file ends before such a record.
bool FindBwtRecordsEnd(const ByteView& file, UHYPER* end) noexcept;
