/// @file
/// Result codes of the platform and the tests on them. The component's own codes stand in disc/result_codes.h.
#pragma once

#include "platform/base_types.h"

/// Makes a result code of its 32 bits, so that codes can be written as they are known: 0x80004005.
constexpr HRESULT MakeResult(std::uint32_t bits) noexcept { return static_cast<HRESULT>(bits); }

inline constexpr HRESULT S_OK = 0;                                           ///< Success.
inline constexpr HRESULT S_FALSE = 1;                                        ///< Nothing done, with no error.
inline constexpr HRESULT E_NOTIMPL = MakeResult(0x80004001);                 ///< The operation is not offered.
inline constexpr HRESULT E_NOINTERFACE = MakeResult(0x80004002);             ///< The object lacks the interface.
inline constexpr HRESULT E_POINTER = MakeResult(0x80004003);                 ///< A null pointer for a result.
inline constexpr HRESULT E_FAIL = MakeResult(0x80004005);                    ///< Failure without a closer reason.
inline constexpr HRESULT E_UNEXPECTED = MakeResult(0x8000FFFF);              ///< The object is in no state for it.
inline constexpr HRESULT E_OUTOFMEMORY = MakeResult(0x8007000E);             ///< Memory cannot be had.
inline constexpr HRESULT E_INVALIDARG = MakeResult(0x80070057);              ///< A required argument is null or wrong.
inline constexpr HRESULT DISP_E_BADVARTYPE = MakeResult(0x80020008);         ///< A VARIANT of a type not handled.
inline constexpr HRESULT DISP_E_ARRAYISLOCKED = MakeResult(0x8002000D);      ///< A SAFEARRAY whose data are in use.
inline constexpr HRESULT TYPE_E_ELEMENTNOTFOUND = MakeResult(0x8002802B);    ///< No record of that identifier.
inline constexpr HRESULT TYPE_E_LIBNOTREGISTERED = MakeResult(0x8002801D);   ///< No type library of that identifier.
inline constexpr HRESULT CLASS_E_NOAGGREGATION = MakeResult(0x80040110);     ///< Aggregation without IUnknown.
inline constexpr HRESULT CLASS_E_CLASSNOTAVAILABLE = MakeResult(0x80040111); ///< The library lacks the class.
inline constexpr HRESULT REGDB_E_READREGDB = MakeResult(0x80040150);         ///< The registry cannot be read.
inline constexpr HRESULT REGDB_E_CLASSNOTREG = MakeResult(0x80040154);       ///< No such class is registered.
inline constexpr HRESULT CO_E_CLASSSTRING = MakeResult(0x800401F3);          ///< The ProgID names no class.
inline constexpr HRESULT CO_E_DLLNOTFOUND = MakeResult(0x800401F8);          ///< The class's library does not load.
inline constexpr HRESULT CO_E_ERRORINDLL = MakeResult(0x800401F9);           ///< It loads, and offers no classes.

/// Success, S_FALSE included.
constexpr bool SUCCEEDED(HRESULT result) noexcept { return result >= 0; }
/// Any failure.
constexpr bool FAILED(HRESULT result) noexcept { return result < 0; }

/// The result code of a system error (platform/files.h): 0 stays 0, a positive number gets the facility of the
/// system's own errors, anything else is taken for a result code already.
constexpr HRESULT HRESULT_FROM_WIN32(std::int32_t error) noexcept {
  return error <= 0 ? error : MakeResult((static_cast<std::uint32_t>(error) & 0xFFFFU) | 0x80070000U);
}
