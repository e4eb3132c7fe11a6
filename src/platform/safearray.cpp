#include "platform/safearray.h"

#include <cstring>

#include "platform/task_memory.h"

namespace {

/// The block that a SAFEARRAY pointer points to: the public head and the description of the elements.
struct ArrayBlock {
  SAFEARRAY head;
  IRecordInfo* record;
};

ArrayBlock* BlockOf(SAFEARRAY* array) noexcept { return reinterpret_cast<ArrayBlock*>(array); }

void* ElementAt(const SAFEARRAY* array, std::size_t index) noexcept {
  return static_cast<BYTE*>(array->pvData) + index * array->cbElements;
}

/// Frees what the elements from `first` up to `end` own.
void ClearElements(SAFEARRAY* array, std::size_t first, std::size_t end) noexcept {
  for (std::size_t i = first; i < end; ++i) {
    BlockOf(array)->record->RecordClear(ElementAt(array, i));
  }
}

} // namespace

SAFEARRAY* SafeArrayCreateEx(VARTYPE type, UINT dimensions, const SAFEARRAYBOUND* bounds, IRecordInfo* extra) noexcept {
  ULONG size = 0;
  if (type != VT_RECORD || dimensions != 1 || bounds == nullptr || extra == nullptr || FAILED(extra->GetSize(&size))) {
    return nullptr;
  }
  TaskMemory<ArrayBlock> block(AllocateCleared<ArrayBlock>(1));
  TaskMemory<void> data(AllocateClearedBytes(bounds->cElements, size));
  if (!block || !data) {
    return nullptr;
  }
  block->head.cDims = 1;
  block->head.fFeatures = FADF_RECORD;
  block->head.cbElements = size;
  block->head.pvData = data.release();
  block->head.rgsabound[0] = *bounds;
  block->record = extra;
  extra->AddRef();
  return &block.release()->head;
}

HRESULT SafeArrayRedim(SAFEARRAY* array, const SAFEARRAYBOUND* bound) noexcept {
  if (array == nullptr || bound == nullptr || array->cDims != 1 || (array->fFeatures & FADF_FIXEDSIZE) != 0) {
    return E_INVALIDARG;
  }
  if (array->cLocks != 0) {
    return DISP_E_ARRAYISLOCKED;
  }
  const std::size_t width = array->cbElements;
  const std::size_t before = array->rgsabound[0].cElements;
  const std::size_t after = bound->cElements;
  if (width != 0 && after > SIZE_MAX / width) {
    return E_OUTOFMEMORY;
  }
  if (after > before) {
    void* grown = CoTaskMemRealloc(array->pvData, after * width);
    if (grown == nullptr) {
      return E_OUTOFMEMORY;
    }
    array->pvData = grown;
    std::memset(ElementAt(array, before), 0, (after - before) * width);
  } else {
    ClearElements(array, after, before);
  }
  array->rgsabound[0] = *bound;
  return S_OK;
}

UINT SafeArrayGetDim(const SAFEARRAY* array) noexcept { return array == nullptr ? 0 : array->cDims; }

HRESULT SafeArrayAccessData(SAFEARRAY* array, void** data) noexcept {
  if (array == nullptr || data == nullptr) {
    return E_INVALIDARG;
  }
  ++array->cLocks;
  *data = array->pvData;
  return S_OK;
}

HRESULT SafeArrayUnaccessData(SAFEARRAY* array) noexcept {
  if (array == nullptr) {
    return E_INVALIDARG;
  }
  if (array->cLocks == 0) {
    return E_UNEXPECTED;
  }
  --array->cLocks;
  return S_OK;
}

HRESULT SafeArrayCopy(SAFEARRAY* array, SAFEARRAY** copy) noexcept {
  if (copy == nullptr) {
    return E_INVALIDARG;
  }
  *copy = nullptr;
  if (array == nullptr) {
    return E_INVALIDARG;
  }
  IRecordInfo* record = BlockOf(array)->record;
  UniqueSafeArray target(SafeArrayCreateEx(VT_RECORD, 1, array->rgsabound, record));
  if (!target) {
    return E_OUTOFMEMORY;
  }
  for (std::size_t i = 0; i < array->rgsabound[0].cElements; ++i) {
    const HRESULT result = record->RecordCopy(ElementAt(array, i), ElementAt(target.get(), i));
    if (FAILED(result)) {
      return result;
    }
  }
  *copy = target.release();
  return S_OK;
}

HRESULT SafeArrayDestroy(SAFEARRAY* array) noexcept {
  if (array == nullptr) {
    return S_OK;
  }
  if (array->cLocks != 0) {
    return DISP_E_ARRAYISLOCKED;
  }
  ClearElements(array, 0, array->rgsabound[0].cElements);
  BlockOf(array)->record->Release();
  CoTaskMemFree(array->pvData);
  CoTaskMemFree(BlockOf(array));
  return S_OK;
}

HRESULT SafeArrayGetRecordInfo(SAFEARRAY* array, IRecordInfo** record) noexcept {
  if (array == nullptr || record == nullptr) {
    return E_INVALIDARG;
  }
  *record = BlockOf(array)->record;
  (*record)->AddRef();
  return S_OK;
}
