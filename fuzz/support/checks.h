/// @file
/// Checks of records that hold for any input.
#pragma once

#include "disc/records.h"
#include "support/require.h"

namespace fuzz {

/// Requires that a string is null, or is well-formed UTF-16 that is not empty and ends in a zero unit.
void RequireText(BSTR text) noexcept;

/// Requires that the tables of a sheet have the sizes of their counts, and that its texts are well-formed.
void RequireSheet(const ZSCUESHEET& sheet) noexcept;

/// Requires that a record is complete if `result` is 0, and all zero otherwise.
void RequireRecord(const zsimagefileinfo& info, HRESULT result) noexcept;

/// Requires that a copy has the same values as its source and shares no memory with it.
void RequireCopy(const zsimagefileinfo& source, const zsimagefileinfo& copy) noexcept;
void RequireCopy(const ZSCUESHEET& source, const ZSCUESHEET& copy) noexcept;

} // namespace fuzz
