/// @file
/// Result codes of the platform. Those of the component are in disc/result_codes.h.
#pragma once

#include "platform/base_types.h"

/// Returns the result code with these 32 bits. Codes are usually written in this form: 0x80004005.
constexpr HRESULT MakeResult(std::uint32_t bits) noexcept { return static_cast<HRESULT>(bits); }

inline constexpr HRESULT S_OK = 0;                                        ///< Success.
inline constexpr HRESULT S_FALSE = 1;                                     ///< Success without effect.
inline constexpr HRESULT E_NOTIMPL = MakeResult(0x80004001);              ///< The operation is not implemented.
inline constexpr HRESULT E_NOINTERFACE = MakeResult(0x80004002);          ///< The object lacks the interface.
inline constexpr HRESULT E_POINTER = MakeResult(0x80004003);              ///< A null pointer for a result.
inline constexpr HRESULT E_FAIL = MakeResult(0x80004005);                 ///< Failure of any other kind.
inline constexpr HRESULT E_UNEXPECTED = MakeResult(0x8000FFFF);           ///< Not possible in this state of the object.
inline constexpr HRESULT E_OUTOFMEMORY = MakeResult(0x8007000E);          ///< Out of memory.
inline constexpr HRESULT E_INVALIDARG = MakeResult(0x80070057);           ///< A required argument is null or wrong.
inline constexpr HRESULT DISP_E_BADVARTYPE = MakeResult(0x80020008);      ///< The type of the VARIANT is not supported.
inline constexpr HRESULT DISP_E_ARRAYISLOCKED = MakeResult(0x8002000D);   ///< The SAFEARRAY is being accessed.
inline constexpr HRESULT TYPE_E_ELEMENTNOTFOUND = MakeResult(0x8002802B); ///< No record has that identifier.
inline constexpr HRESULT TYPE_E_LIBNOTREGISTERED = MakeResult(0x8002801D);   ///< No type library has that identifier.
inline constexpr HRESULT CLASS_E_NOAGGREGATION = MakeResult(0x80040110);     ///< Aggregation needs IID_IUnknown.
inline constexpr HRESULT CLASS_E_CLASSNOTAVAILABLE = MakeResult(0x80040111); ///< The library lacks the class.
inline constexpr HRESULT REGDB_E_READREGDB = MakeResult(0x80040150);         ///< The registry cannot be read.
inline constexpr HRESULT REGDB_E_CLASSNOTREG = MakeResult(0x80040154);       ///< The class is not registered.
inline constexpr HRESULT CO_E_CLASSSTRING = MakeResult(0x800401F3);          ///< The ProgID names no class.
inline constexpr HRESULT CO_E_DLLNOTFOUND = MakeResult(0x800401F8); ///< The library of the class does not load.
inline constexpr HRESULT CO_E_ERRORINDLL = MakeResult(0x800401F9);  ///< The library exports no classes.

/// Whether an operation succeeded. S_FALSE is success.
constexpr bool SUCCEEDED(HRESULT result) noexcept { return result >= 0; }
/// Whether an operation failed.
constexpr bool FAILED(HRESULT result) noexcept { return result < 0; }

/// Returns the result code of a system error (platform/last_error.h). Returns 0 and negative numbers, which are result
/// codes, unchanged.
constexpr HRESULT HRESULT_FROM_WIN32(std::int32_t error) noexcept {
  return error <= 0 ? error : MakeResult((static_cast<std::uint32_t>(error) & 0xFFFFU) | 0x80070000U);
}
