/// @file
/// SAFEARRAY: arrays of records with their bounds and the description of their elements.
#pragma once

#include <memory>

#include "platform/record_info.h"

using VARTYPE = std::uint16_t; ///< Type of a value or an element: one of the VT_ numbers.

/// Bounds of one dimension.
struct SAFEARRAYBOUND {
  ULONG cElements; ///< Number of elements.
  LONG lLbound;    ///< Index of the first element.
};

/// Features of an array.
inline constexpr USHORT FADF_FIXEDSIZE = 0x0010; ///< Cannot be resized.
inline constexpr USHORT FADF_RECORD = 0x0020;    ///< Elements are records with a description.

/// The head of an array, which SafeArrayCreateEx allocates. Hosts change `fFeatures` only.
struct SAFEARRAY {
  USHORT cDims;                ///< Number of dimensions; always 1.
  USHORT fFeatures;            ///< FADF_ bits.
  ULONG cbElements;            ///< Bytes of one element.
  ULONG cLocks;                ///< Number of accesses that have not ended.
  void* pvData;                ///< The elements.
  SAFEARRAYBOUND rgsabound[1]; ///< One for each dimension.
};

inline constexpr VARTYPE VT_RECORD = 36; ///< Records with a description.

extern "C" {

/// Creates an array of cleared records. Null unless `type` is VT_RECORD, `extra` describes the records and there is one
/// dimension; null if out of memory.
SAFEARRAY* SafeArrayCreateEx(VARTYPE type, UINT dimensions, const SAFEARRAYBOUND* bounds, IRecordInfo* extra) noexcept;

/// Changes the number of elements. New elements are cleared; what removed elements own is freed.
/// @return E_INVALIDARG for null or an array of fixed size, DISP_E_ARRAYISLOCKED, E_OUTOFMEMORY.
HRESULT SafeArrayRedim(SAFEARRAY* array, const SAFEARRAYBOUND* bound) noexcept;

/// Returns the number of dimensions; 0 for null.
UINT SafeArrayGetDim(const SAFEARRAY* array) noexcept;

/// Stores the address of the elements in `*data` and locks the array against resizing and destruction.
/// @return E_INVALIDARG for null.
HRESULT SafeArrayAccessData(SAFEARRAY* array, void** data) noexcept;

/// Ends an access. @return E_INVALIDARG for null, E_UNEXPECTED if there is none to end.
HRESULT SafeArrayUnaccessData(SAFEARRAY* array) noexcept;

/// Copies an array deeply. `*copy` is null on failure. @return E_INVALIDARG for null, E_OUTOFMEMORY.
HRESULT SafeArrayCopy(SAFEARRAY* array, SAFEARRAY** copy) noexcept;

/// Frees an array and what its elements own. Accepts null. @return DISP_E_ARRAYISLOCKED.
HRESULT SafeArrayDestroy(SAFEARRAY* array) noexcept;

/// Returns the description of the elements, with a reference that the caller owns. @return E_INVALIDARG for null.
HRESULT SafeArrayGetRecordInfo(SAFEARRAY* array, IRecordInfo** record) noexcept;
}

/// Accesses the elements of an array while it exists.
class SafeArrayAccess {
public:
  /// Begins the access. Fails for null.
  explicit SafeArrayAccess(SAFEARRAY* array) noexcept : m_array(array), m_result(SafeArrayAccessData(array, &m_data)) {}
  SafeArrayAccess(const SafeArrayAccess&) = delete;
  SafeArrayAccess& operator=(const SafeArrayAccess&) = delete;
  ~SafeArrayAccess() {
    if (SUCCEEDED(m_result)) {
      SafeArrayUnaccessData(m_array);
    }
  }

  /// The result of SafeArrayAccessData.
  HRESULT Result() const noexcept { return m_result; }
  /// The elements, which the caller knows to be of type `T`; null if the access failed.
  template <class T> T* Elements() const noexcept { return static_cast<T*>(m_data); }

private:
  SAFEARRAY* m_array;
  void* m_data = nullptr;
  HRESULT m_result;
};

/// Frees with SafeArrayDestroy.
struct SafeArrayFree {
  /// Accepts null.
  void operator()(SAFEARRAY* array) const noexcept { SafeArrayDestroy(array); }
};
/// Owns one array.
using UniqueSafeArray = std::unique_ptr<SAFEARRAY, SafeArrayFree>;
