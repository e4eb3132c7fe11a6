/// @file
/// BSTR: wide strings in task memory with their length.
///
///     -4 (4 bytes)      Length in bytes
///     0  (n bytes)      Text, where the BSTR points
///     n  (2 bytes)      Zero
///
/// All functions accept null as the empty string.
#pragma once

#include <memory>
#include <string_view>

#include "platform/base_types.h"

extern "C" {

/// Copies zero-terminated text. Returns null for null, or if out of memory.
BSTR SysAllocString(const OLECHAR* text) noexcept;

/// Returns a string of `length` units: a copy of `text`, or zeros if `text` is null. Null if out of memory.
BSTR SysAllocStringLen(const OLECHAR* text, UINT length) noexcept;

/// Returns a string of `length` bytes: a copy of `bytes`, or zeros if `bytes` is null. Null if out of memory.
BSTR SysAllocStringByteLen(const char* bytes, UINT length) noexcept;

/// Frees a string.
void SysFreeString(BSTR text) noexcept;

/// Returns the length in units, without the final zero.
UINT SysStringLen(BSTR text) noexcept;

/// Returns the length in bytes, without the final zero.
UINT SysStringByteLen(BSTR text) noexcept;
}

/// Frees with SysFreeString.
struct BstrFree {
  /// Accepts null.
  void operator()(OLECHAR* text) const noexcept { SysFreeString(text); }
};

/// Owns one BSTR.
using UniqueBstr = std::unique_ptr<OLECHAR, BstrFree>;

/// Returns the units of a string, without the final zero.
inline std::u16string_view BstrView(BSTR text) noexcept {
  return text == nullptr ? std::u16string_view() : std::u16string_view(text, SysStringLen(text));
}
