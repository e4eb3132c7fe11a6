/// @file
/// Base types of all interfaces: integers of fixed width, strings and truth values.
///
/// Only pointers are wider on a 64-bit target. All numbers that cross an interface are little-endian in memory, as on
/// the supported machines.
#pragma once

#include <cstddef>
#include <cstdint>

using BYTE = std::uint8_t;    ///< Unsigned, 8 bits.
using WORD = std::uint16_t;   ///< Unsigned, 16 bits.
using USHORT = std::uint16_t; ///< Unsigned, 16 bits.
using DWORD = std::uint32_t;  ///< Unsigned, 32 bits.
using UINT = std::uint32_t;   ///< Unsigned, 32 bits.
using ULONG = std::uint32_t;  ///< Unsigned, 32 bits on every target.
/// Signed, 32 bits on every target. The `long` of the language may have 64.
using LONG = std::int32_t;
using UHYPER = std::uint64_t; ///< Unsigned, 64 bits.

/// Result of an operation: 0 and above is success, below 0 is failure. See platform/result_codes.h.
using HRESULT = std::int32_t;

/// A truth value of 16 bits. Only VARIANT_TRUE is true; any other value counts as false.
using VARIANT_BOOL = std::int16_t;
inline constexpr VARIANT_BOOL VARIANT_TRUE = -1; ///< All 16 bits set.
inline constexpr VARIANT_BOOL VARIANT_FALSE = 0; ///< The value in a cleared record.

/// One unit of wide text, UTF-16 in the machine's byte order.
using OLECHAR = char16_t;

/// A wide string that is allocated and freed by the functions of platform/bstr.h. Null is the empty string.
using BSTR = OLECHAR*;
