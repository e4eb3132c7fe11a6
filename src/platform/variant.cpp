#include "platform/variant.h"

#include "platform/bstr.h"

namespace {

/// Returns whether a value of a type owns nothing.
bool IsPlain(VARTYPE type) noexcept {
  return (type & VT_BYREF) != 0 || type <= VT_DATE || type == VT_ERROR || type == VT_BOOL ||
         (type >= VT_I1 && type <= VT_UINT);
}

} // namespace

void VariantInit(VARIANT* value) noexcept { *value = VARIANT{}; }

HRESULT VariantClear(VARIANT* value) noexcept {
  if (OwnsArray(value->vt)) {
    const HRESULT result = SafeArrayDestroy(value->parray);
    if (FAILED(result)) {
      return result;
    }
  } else if (value->vt == VT_BSTR) {
    SysFreeString(value->bstrVal);
  } else if (value->vt == VT_UNKNOWN) {
    if (value->punkVal != nullptr) {
      value->punkVal->Release();
    }
  } else if (!IsPlain(value->vt)) {
    return DISP_E_BADVARTYPE;
  }
  VariantInit(value);
  return S_OK;
}

HRESULT VariantCopy(VARIANT* target, const VARIANT* source) noexcept {
  if (target == source) {
    return S_OK;
  }
  HRESULT result = VariantClear(target);
  if (FAILED(result)) {
    return result;
  }
  VARIANT copy = *source;
  if (OwnsArray(source->vt)) {
    copy.parray = nullptr;
    if (source->parray != nullptr) {
      SAFEARRAY* array = nullptr;
      result = SafeArrayCopy(source->parray, &array);
      copy.parray = array;
    }
  } else if (source->vt == VT_BSTR) {
    copy.bstrVal = nullptr;
    if (source->bstrVal != nullptr) {
      copy.bstrVal =
          SysAllocStringByteLen(reinterpret_cast<const char*>(source->bstrVal), SysStringByteLen(source->bstrVal));
      result = copy.bstrVal == nullptr ? E_OUTOFMEMORY : S_OK;
    }
  } else if (source->vt == VT_UNKNOWN) {
    if (source->punkVal != nullptr) {
      source->punkVal->AddRef();
    }
  } else if (!IsPlain(source->vt)) {
    result = DISP_E_BADVARTYPE;
  }
  if (SUCCEEDED(result)) {
    *target = copy;
  }
  return result;
}
