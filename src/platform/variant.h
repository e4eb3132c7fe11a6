/// @file
/// VARIANT: a tagged value of 16 bytes, packed on one byte so that it may stand anywhere in a packed record.
#pragma once

#include "platform/safearray.h"

/// @name Types of values
/// The comment names the member of the union that holds the value.
/// @{
inline constexpr VARTYPE VT_EMPTY = 0;    ///< No value.
inline constexpr VARTYPE VT_I4 = 3;       ///< `lVal`.
inline constexpr VARTYPE VT_R8 = 5;       ///< `dblVal`.
inline constexpr VARTYPE VT_BSTR = 8;     ///< `bstrVal`.
inline constexpr VARTYPE VT_ERROR = 10;   ///< `scode`.
inline constexpr VARTYPE VT_BOOL = 11;    ///< `boolVal`.
inline constexpr VARTYPE VT_UNKNOWN = 13; ///< `punkVal`.
inline constexpr VARTYPE VT_UI1 = 17;     ///< `bVal`.
inline constexpr VARTYPE VT_UI4 = 19;     ///< `ulVal`.
inline constexpr VARTYPE VT_I8 = 20;      ///< `llVal`.
inline constexpr VARTYPE VT_UI8 = 21;     ///< `ullVal`.
/// @}
/// Marks an array; alone, with no element type, it marks the file pieces of a track.
inline constexpr VARTYPE VT_ARRAY = 0x2000;
/// Marks a pointer to a value that somebody else owns.
inline constexpr VARTYPE VT_BYREF = 0x4000;

/// Whether a value of this type owns an array.
constexpr bool OwnsArray(VARTYPE type) noexcept { return (type & (VT_ARRAY | VT_BYREF)) == VT_ARRAY; }

#pragma pack(push, 1)
/// `vt` names the member of the union that holds the value.
struct VARIANT {
  VARTYPE vt;      ///< The type.
  WORD wReserved1; ///< Not read.
  WORD wReserved2; ///< Not read.
  WORD wReserved3; ///< Not read.
  union {
    BYTE bVal;            ///< VT_UI1
    LONG lVal;            ///< VT_I4
    ULONG ulVal;          ///< VT_UI4
    std::int64_t llVal;   ///< VT_I8
    UHYPER ullVal;        ///< VT_UI8
    double dblVal;        ///< VT_R8
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

/// Makes new memory the empty value.
void VariantInit(VARIANT* value) noexcept;

/// Frees what the value owns and makes it empty.
/// @return DISP_E_BADVARTYPE for a type not in the list above, with the value unchanged; DISP_E_ARRAYISLOCKED.
HRESULT VariantClear(VARIANT* value) noexcept;

/// Clears `target`, then makes it a deep copy of `source`. Where clearing fails, `target` is as VariantClear leaves
/// it; on any other failure it is empty.
HRESULT VariantCopy(VARIANT* target, const VARIANT* source) noexcept;
}
