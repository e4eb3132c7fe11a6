/// @file
/// Counts memory and descriptors of the process, and makes allocations fail at chosen points.
#pragma once

#include <atomic>

#include "platform/environment.h"

/// Counts the points at which an operation can fail, and fails chosen ones. Between Stop and Start nothing is counted.
class FaultPoints {
public:
  /// Starts an operation. Its point number `failAt`, counted from 1, fails. With `andAfter`, all later points fail as
  /// well. With 0, no point fails.
  void Start(long failAt = 0, bool andAfter = false) noexcept;
  void Stop() noexcept { m_running = false; }
  /// Counts a point. Returns whether it must fail.
  bool Fails() noexcept;

  bool Running() const noexcept { return m_running; }
  long Count() const noexcept { return m_count; }
  bool Reached() const noexcept { return m_count >= m_failAt; }

private:
  std::atomic<bool> m_running{false};
  std::atomic<long> m_count{0};
  std::atomic<long> m_failAt{0};
  std::atomic<bool> m_andAfter{false};
};

/// Counts of all memory of the process: of `operator new`, which the test program replaces, and of task memory.
struct TestMemory {
  FaultPoints faults;
  std::atomic<long> blocks{0}; ///< Number of blocks that are allocated.
  std::atomic<long> bytes{0};  ///< Bytes of these blocks.
  std::atomic<long> peak{0};   ///< Highest value of `bytes`. Set it to `bytes` to measure again.
  std::atomic<long> asked{0};  ///< Sum of all allocations.
};
TestMemory& Memory() noexcept;

/// Allocates task memory and counts it in TestMemory.
class CountingAllocator final : public Allocator {
public:
  void* Allocate(std::size_t size) noexcept override;
  void* Reallocate(void* block, std::size_t size) noexcept override;
  void Free(void* block) noexcept override;

  long Live() const noexcept { return m_live; }

private:
  std::atomic<long> m_live{0};
};

CountingAllocator& TestAllocator() noexcept;

int OpenDescriptors();
