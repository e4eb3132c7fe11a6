#include "support/counting_environment.h"

#include <malloc.h>

#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <new>

namespace {

constinit TestMemory g_memory; // Exists before the first constructor allocates.

void CountAllocation(void* block) noexcept {
  if (block == nullptr) {
    return;
  }
  const auto size = static_cast<long>(::malloc_usable_size(block));
  ++g_memory.blocks;
  g_memory.asked += size;
  const long bytes = g_memory.bytes += size;
  long peak = g_memory.peak;
  while (bytes > peak && !g_memory.peak.compare_exchange_weak(peak, bytes)) {
  }
}

void CountFree(void* block) noexcept {
  if (block != nullptr) {
    --g_memory.blocks;
    g_memory.bytes -= static_cast<long>(::malloc_usable_size(block));
  }
}

void* AllocateCounted(std::size_t size) noexcept {
  void* block = g_memory.faults.Fails() ? nullptr : std::malloc(size == 0 ? 1 : size);
  CountAllocation(block);
  return block;
}

void FreeCounted(void* block) noexcept {
  CountFree(block);
  std::free(block);
}

} // namespace

void* operator new(std::size_t size) {
  void* block = AllocateCounted(size);
  if (block == nullptr) {
    throw std::bad_alloc();
  }
  return block;
}
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t& /*tag*/) noexcept {
  void* block = g_memory.faults.Fails() ? nullptr : std::aligned_alloc(static_cast<std::size_t>(alignment), size);
  CountAllocation(block);
  return block;
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept { return AllocateCounted(size); }
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept { return AllocateCounted(size); }
void operator delete(void* block) noexcept { FreeCounted(block); }
void operator delete[](void* block) noexcept { FreeCounted(block); }
void operator delete(void* block, std::size_t /*size*/) noexcept { FreeCounted(block); }
void operator delete(void* block, std::align_val_t /*alignment*/) noexcept { FreeCounted(block); }
void operator delete(void* block, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept { FreeCounted(block); }
void operator delete[](void* block, std::size_t /*size*/) noexcept { FreeCounted(block); }
void operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept { FreeCounted(block); }
void operator delete[](void* block, const std::nothrow_t& /*tag*/) noexcept { FreeCounted(block); }

void FaultPoints::Start(long failAt, bool andAfter) noexcept {
  m_count = 0;
  m_failAt = failAt;
  m_andAfter = andAfter;
  m_running = true;
}

bool FaultPoints::Fails() noexcept {
  if (!m_running) {
    return false;
  }
  const long number = ++m_count;
  return number == m_failAt || (m_andAfter && m_failAt != 0 && number > m_failAt);
}

TestMemory& Memory() noexcept { return g_memory; }

void* CountingAllocator::Allocate(std::size_t size) noexcept {
  void* block = AllocateCounted(size);
  m_live += block != nullptr ? 1 : 0;
  return block;
}

void* CountingAllocator::Reallocate(void* block, std::size_t size) noexcept {
  const auto before = static_cast<long>(::malloc_usable_size(block));
  void* grown = g_memory.faults.Fails() ? nullptr : std::realloc(block, size);
  if (grown != nullptr) {
    --g_memory.blocks;
    g_memory.bytes -= before;
    CountAllocation(grown);
  }
  return grown;
}

void CountingAllocator::Free(void* block) noexcept {
  --m_live;
  FreeCounted(block);
}

CountingAllocator& TestAllocator() noexcept {
  static CountingAllocator allocator;
  return allocator;
}

int OpenDescriptors() {
  const std::filesystem::directory_iterator open("/proc/self/fd");
  return static_cast<int>(std::distance(begin(open), end(open)));
}
