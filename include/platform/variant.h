/// @file
/// VARIANT: a tagged value of 16 bytes, packed so that it can be a field of a packed record.
#pragma once

#include "platform/safearray.h"

/// @name Types of values
/// The comment names the member of the union that holds the value.
/// @{
inline constexpr VARTYPE VT_EMPTY = 0;    ///< No value.
inline constexpr VARTYPE VT_NULL = 1;     ///< The value null.
inline constexpr VARTYPE VT_I2 = 2;       ///< `iVal`.
inline constexpr VARTYPE VT_I4 = 3;       ///< `lVal`.
inline constexpr VARTYPE VT_R4 = 4;       ///< `fltVal`.
inline constexpr VARTYPE VT_R8 = 5;       ///< `dblVal`.
inline constexpr VARTYPE VT_CY = 6;       ///< `llVal`, in ten-thousandths.
inline constexpr VARTYPE VT_DATE = 7;     ///< `dblVal`, in days since 1899-12-30.
inline constexpr VARTYPE VT_BSTR = 8;     ///< `bstrVal`.
inline constexpr VARTYPE VT_ERROR = 10;   ///< `scode`.
inline constexpr VARTYPE VT_BOOL = 11;    ///< `boolVal`.
inline constexpr VARTYPE VT_UNKNOWN = 13; ///< `punkVal`.
inline constexpr VARTYPE VT_I1 = 16;      ///< `cVal`.
inline constexpr VARTYPE VT_UI1 = 17;     ///< `bVal`.
inline constexpr VARTYPE VT_UI2 = 18;     ///< `uiVal`.
inline constexpr VARTYPE VT_UI4 = 19;     ///< `ulVal`.
inline constexpr VARTYPE VT_I8 = 20;      ///< `llVal`.
inline constexpr VARTYPE VT_UI8 = 21;     ///< `ullVal`.
inline constexpr VARTYPE VT_INT = 22;     ///< `lVal`.
inline constexpr VARTYPE VT_UINT = 23;    ///< `ulVal`.
/// @}
/// Flag of arrays. Exactly VT_ARRAY, without an element type, is the list of the file pieces of a track.
inline constexpr VARTYPE VT_ARRAY = 0x2000;
/// Flag of a pointer to a value that something else owns.
inline constexpr VARTYPE VT_BYREF = 0x4000;

/// Returns whether a value of a type owns an array.
constexpr bool OwnsArray(VARTYPE type) noexcept { return (type & (VT_ARRAY | VT_BYREF)) == VT_ARRAY; }

#pragma pack(push, 1)
/// `vt` names the member of the union that holds the value.
struct VARIANT {
  VARTYPE vt;      ///< The type.
  WORD wReserved1; ///< Not read.
  WORD wReserved2; ///< Not read.
  WORD wReserved3; ///< Not read.
  union {
    std::int8_t cVal;     ///< VT_I1
    BYTE bVal;            ///< VT_UI1
    std::int16_t iVal;    ///< VT_I2
    USHORT uiVal;         ///< VT_UI2
    LONG lVal;            ///< VT_I4, VT_INT
    ULONG ulVal;          ///< VT_UI4, VT_UINT
    std::int64_t llVal;   ///< VT_I8, VT_CY
    UHYPER ullVal;        ///< VT_UI8
    float fltVal;         ///< VT_R4
    double dblVal;        ///< VT_R8, VT_DATE
    VARIANT_BOOL boolVal; ///< VT_BOOL
    HRESULT scode;        ///< VT_ERROR
    BSTR bstrVal;         ///< VT_BSTR, owned
    IUnknown* punkVal;    ///< VT_UNKNOWN, a counted reference
    SAFEARRAY* parray;    ///< VT_ARRAY, owned
  };
};
#pragma pack(pop)
static_assert(sizeof(VARIANT) == 16 && alignof(VARIANT) == 1);

extern "C" {

/// Initialises new memory as an empty value.
void VariantInit(VARIANT* value) noexcept;

/// Frees what the value owns and makes it empty. On failure it is unchanged.
/// @return DISP_E_BADVARTYPE for a type that is not listed above; DISP_E_ARRAYISLOCKED.
HRESULT VariantClear(VARIANT* value) noexcept;

/// Clears `target`, then makes it a deep copy of `source`. If clearing fails, `target` is unchanged; on any other
/// failure it is empty. @return As VariantClear, for either value; E_OUTOFMEMORY.
HRESULT VariantCopy(VARIANT* target, const VARIANT* source) noexcept;
}
