/// @file
/// The lock count of the library.
#pragma once

#include <atomic>

#include "platform/base_types.h"

/// Counts what keeps the library loaded: objects, references to factories, and locks of hosts.
class ModuleLocks {
public:
  void Lock() noexcept { ++m_locks; }
  void Unlock() noexcept { --m_locks; }
  LONG LockCount() const noexcept { return m_locks; }

private:
  std::atomic<LONG> m_locks{0};
};

/// Returns the count of this library.
inline ModuleLocks& Module() noexcept {
  static constinit ModuleLocks locks;
  return locks;
}
