/// @file
/// The border that no exception crosses.
#pragma once

#include <new>

#include "platform/result_codes.h"

/// Runs the body of an interface operation and turns what it throws into a result code.
template <class Work> HRESULT Guarded(Work work) noexcept {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_FAIL;
  }
}
