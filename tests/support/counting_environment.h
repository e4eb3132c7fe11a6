/// @file
/// Counts what the component takes from the system and fails chosen calls.
#pragma once

#include <atomic>

#include "platform/environment.h"

/// Passes all calls on, counts blocks that live, and fails allocation number `failAt` (from 1) and, with
/// `failOn`, all that follow.
class CountingAllocator final : public Allocator {
public:
  explicit CountingAllocator(Allocator* next) noexcept : m_next(next) {}
  void* Allocate(std::size_t size) noexcept override;
  void* Reallocate(void* block, std::size_t size) noexcept override;
  void Free(void* block) noexcept override;

  long Live() const noexcept { return m_live; }
  long Count() const noexcept { return m_count; }
  /// Starts counting anew; a number of 0 fails nothing.
  void FailAt(long number, bool andAfter = false) noexcept;

private:
  bool Fails() noexcept;

  Allocator* m_next;
  std::atomic<long> m_live{0};
  std::atomic<long> m_count{0};
  std::atomic<long> m_failAt{0};
  std::atomic<bool> m_failAfter{false};
};

/// The allocator that all tests run under.
CountingAllocator& TestAllocator() noexcept;

/// Descriptors that this process has open.
int OpenDescriptors();
