/// @file
/// The track records of a BlindWrite description, as far as their layout is known.
#pragma once

#include "foundation/byte_view.h"

/// Goes over the head of a description and over its track records up to the one that says to be the last.
/// @param end Receives the position behind that record, which may lie behind the file when its last field does.
/// @return false, with `*end` unchanged, when the file ends before such a record.
bool FindBwtRecordsEnd(const ByteView& file, UHYPER* end) noexcept;
