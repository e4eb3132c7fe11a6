/// @file
/// Counts the allocations of a benchmark, of task memory and by operator new.
#pragma once

#include <benchmark/benchmark.h>

/// Returns the number of allocations since the start of the program.
long AllocationCount() noexcept;

/// Reports the allocations of each iteration, from construction to destruction, as the counter "allocations".
class AllocationReport {
public:
  explicit AllocationReport(benchmark::State* state) noexcept : m_state(state), m_before(AllocationCount()) {}
  AllocationReport(const AllocationReport&) = delete;
  AllocationReport& operator=(const AllocationReport&) = delete;
  ~AllocationReport() {
    m_state->counters["allocations"] =
        benchmark::Counter(static_cast<double>(AllocationCount() - m_before), benchmark::Counter::kAvgIterations);
  }

private:
  benchmark::State* m_state;
  long m_before;
};
