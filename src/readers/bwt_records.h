/// @file
/// The track records of a BlindWrite description.
#pragma once

#include "foundation/byte_view.h"

/// Finds the end of the track records, which follow the head. The last record has a mark.
/// @param end Receives the offset after that record. If its last field is cut off, that is after the end of the file.
/// @return false, with `*end` unchanged, if the file ends before such a record.
bool FindBwtRecordsEnd(const ByteView& file, UHYPER* end) noexcept;
