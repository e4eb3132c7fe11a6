/// @file
/// SAFEARRAY: arrays of records that carry their bounds and the description of their elements.
#pragma once

#include <memory>

#include "platform/record_info.h"

using VARTYPE = std::uint16_t; ///< Type of a value or an element: one of the VT_ numbers.

/// Bounds of one dimension.
struct SAFEARRAYBOUND {
  ULONG cElements; ///< Number of elements.
  LONG lLbound;    ///< Index of the first.
};

/// Features of an array.
inline constexpr USHORT FADF_FIXEDSIZE = 0x0010; ///< May not be resized.
inline constexpr USHORT FADF_RECORD = 0x0020;    ///< Elements are records with a description.

/// The head of an array. Made by SafeArrayCreateEx only; hosts read it and change nothing but `fFeatures`.
struct SAFEARRAY {
  USHORT cDims;                ///< Dimensions; 1 for every array made here.
  USHORT fFeatures;            ///< FADF_ bits.
  ULONG cbElements;            ///< Bytes of one element.
  ULONG cLocks;                ///< Accesses that have not ended.
  void* pvData;                ///< The elements, back to back.
  SAFEARRAYBOUND rgsabound[1]; ///< One for each dimension.
};

inline constexpr VARTYPE VT_RECORD = 36; ///< Records with a description.

extern "C" {

/// Makes an array of cleared records. Only VT_RECORD with a description (as `extra`) and one dimension is
/// offered. Null on any other request, or when there is no memory.
SAFEARRAY* SafeArrayCreateEx(VARTYPE type, UINT dimensions, const SAFEARRAYBOUND* bounds, IRecordInfo* extra) noexcept;

/// Changes the size of the last dimension. New elements are cleared; elements that go are freed first.
/// @return E_INVALIDARG for null arguments or a fixed-size array, DISP_E_ARRAYISLOCKED, E_OUTOFMEMORY.
HRESULT SafeArrayRedim(SAFEARRAY* array, const SAFEARRAYBOUND* bound) noexcept;

/// Number of dimensions; 0 for null.
UINT SafeArrayGetDim(const SAFEARRAY* array) noexcept;

/// Gives the elements and locks the array against resizing and destruction. @return E_INVALIDARG for null.
HRESULT SafeArrayAccessData(SAFEARRAY* array, void** data) noexcept;

/// Ends an access. @return E_INVALIDARG for null, E_UNEXPECTED when no access runs.
HRESULT SafeArrayUnaccessData(SAFEARRAY* array) noexcept;

/// A deep copy. `*copy` is null on failure. @return E_INVALIDARG for null arguments, E_OUTOFMEMORY.
HRESULT SafeArrayCopy(SAFEARRAY* array, SAFEARRAY** copy) noexcept;

/// Frees the array with all that its elements own. Null is accepted. @return DISP_E_ARRAYISLOCKED.
HRESULT SafeArrayDestroy(SAFEARRAY* array) noexcept;

/// The description of the elements, with a reference that the caller owns. @return E_INVALIDARG without one.
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
  /// Null is accepted.
  void operator()(SAFEARRAY* array) const noexcept { SafeArrayDestroy(array); }
};
/// Owns one array.
using UniqueSafeArray = std::unique_ptr<SAFEARRAY, SafeArrayFree>;
