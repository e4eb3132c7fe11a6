/// @file
/// Counts what the component takes from the system and fails chosen calls.
#pragma once

#include <atomic>

#include "platform/environment.h"

/// The points of an operation at which it can fail: counts them and fails chosen ones. Nothing is counted outside of
/// an operation, so that tests may do what they like before and after it.
class FaultPoints {
public:
  /// Starts an operation of which point number `failAt`, from 1, fails and, with `andAfter`, all that follow. A
  /// number of 0 fails nothing.
  void Start(long failAt = 0, bool andAfter = false) noexcept;
  void Stop() noexcept { m_running = false; }
  /// Whether the point that is passed now must fail.
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

/// All memory of the process: that of `operator new`, which this program replaces, and task memory.
struct TestMemory {
  FaultPoints faults;
  std::atomic<long> blocks{0}; ///< That live.
  std::atomic<long> bytes{0};
  std::atomic<long> peak{0};  ///< Most bytes at once; set it to `bytes` to start over.
  std::atomic<long> asked{0}; ///< Bytes of all requests so far.
};
TestMemory& Memory() noexcept;

/// Task memory, counted as memory of the process.
class CountingAllocator final : public Allocator {
public:
  void* Allocate(std::size_t size) noexcept override;
  void* Reallocate(void* block, std::size_t size) noexcept override;
  void Free(void* block) noexcept override;

  /// Blocks of task memory that live.
  long Live() const noexcept { return m_live; }

private:
  std::atomic<long> m_live{0};
};

/// The allocator that all tests run under.
CountingAllocator& TestAllocator() noexcept;

/// Descriptors that this process has open.
int OpenDescriptors();
