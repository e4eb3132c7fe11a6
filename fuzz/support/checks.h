/// @file
/// What must hold of records, whatever a file says.
#pragma once

#include "disc/records.h"
#include "support/require.h"

namespace fuzz {

/// A string is null, or has text that is well-formed UTF-16 with its length in front and a zero unit behind.
void RequireText(BSTR text) noexcept;

/// A sheet's tables have the sizes that their counts say, and its texts are texts.
void RequireSheet(const ZSCUESHEET& sheet) noexcept;

/// A record is complete when `result` is 0, and else all zero.
void RequireRecord(const zsimagefileinfo& info, HRESULT result) noexcept;

/// Another record tells the same as this one and shares no memory with it.
void RequireCopy(const zsimagefileinfo& source, const zsimagefileinfo& copy) noexcept;
void RequireCopy(const ZSCUESHEET& source, const ZSCUESHEET& copy) noexcept;

} // namespace fuzz
