/// @file
/// Conversion of exceptions to result codes.
#pragma once

#include <new>

#include "platform/result_codes.h"

/// Calls the body of an operation that must not throw and returns its result, or the result code of its exception.
template <class Work> HRESULT Guarded(Work work) noexcept {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_FAIL;
  }
}
