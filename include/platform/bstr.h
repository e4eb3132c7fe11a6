/// @file
/// BSTR: wide strings that carry their length in bytes in the 32 bits before the first unit, and a zero unit
/// behind the last one. They live in task memory. Null is the empty string for every function here.
#pragma once

#include <memory>
#include <string_view>

#include "platform/base_types.h"

extern "C" {

/// A copy of zero-terminated text. Null for null text, or when there is no memory.
BSTR SysAllocString(const OLECHAR* text) noexcept;

/// A string of `length` units, copied from `text`, or cleared when `text` is null.
BSTR SysAllocStringLen(const OLECHAR* text, UINT length) noexcept;

/// A string of `length` bytes, copied from `bytes`, or cleared when `bytes` is null.
BSTR SysAllocStringByteLen(const char* bytes, UINT length) noexcept;

/// Frees a string. Null is accepted.
void SysFreeString(BSTR text) noexcept;

/// Length in units, without the zero behind.
UINT SysStringLen(BSTR text) noexcept;

/// Length in bytes, without the zero behind.
UINT SysStringByteLen(BSTR text) noexcept;
}

/// Frees with SysFreeString.
struct BstrFree {
  /// Null is accepted.
  void operator()(OLECHAR* text) const noexcept { SysFreeString(text); }
};

/// Owns one BSTR.
using UniqueBstr = std::unique_ptr<OLECHAR, BstrFree>;

/// The units of a string, without the zero behind.
inline std::u16string_view BstrView(BSTR text) noexcept {
  return text == nullptr ? std::u16string_view() : std::u16string_view(text, SysStringLen(text));
}
