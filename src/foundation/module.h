/// @file
/// The module: what the whole library shares.
#pragma once

#include <atomic>

#include "platform/base_types.h"

/// Counts what keeps the library in memory: each live object and each lock of a host.
class ModuleLocks {
public:
  void Lock() noexcept { ++m_locks; }
  void Unlock() noexcept { --m_locks; }
  LONG LockCount() const noexcept { return m_locks; }

private:
  std::atomic<LONG> m_locks{0};
};

/// The one module of the library.
ModuleLocks& Module() noexcept;
