/// @file
/// Counts what a benchmark allocates, in task memory and by operator new.
#pragma once

#include <benchmark/benchmark.h>

/// Blocks taken since the program began.
long AllocationCount() noexcept;

/// Reports the blocks taken by each iteration from here to its end as the counter "allocations".
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
