#include "support/counting_environment.h"

#include <malloc.h>

#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <new>

namespace {

constinit TestMemory g_memory; // Before any constructor allocates.

void Took(void* block) noexcept {
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

void Gives(void* block) noexcept {
  if (block != nullptr) {
    --g_memory.blocks;
    g_memory.bytes -= static_cast<long>(::malloc_usable_size(block));
  }
}

void* TakeNew(std::size_t size) noexcept {
  void* block = g_memory.faults.Fails() ? nullptr : std::malloc(size == 0 ? 1 : size);
  Took(block);
  return block;
}

void FreeNew(void* block) noexcept {
  Gives(block);
  std::free(block);
}

} // namespace

void* operator new(std::size_t size) {
  void* block = TakeNew(size);
  if (block == nullptr) {
    throw std::bad_alloc();
  }
  return block;
}
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t& /*tag*/) noexcept {
  void* block = g_memory.faults.Fails() ? nullptr : std::aligned_alloc(static_cast<std::size_t>(alignment), size);
  Took(block);
  return block;
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept { return TakeNew(size); }
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept { return TakeNew(size); }
void operator delete(void* block) noexcept { FreeNew(block); }
void operator delete[](void* block) noexcept { FreeNew(block); }
void operator delete(void* block, std::size_t /*size*/) noexcept { FreeNew(block); }
void operator delete(void* block, std::align_val_t /*alignment*/) noexcept { FreeNew(block); }
void operator delete(void* block, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept { FreeNew(block); }
void operator delete[](void* block, std::size_t /*size*/) noexcept { FreeNew(block); }
void operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept { FreeNew(block); }
void operator delete[](void* block, const std::nothrow_t& /*tag*/) noexcept { FreeNew(block); }

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
  void* block = TakeNew(size);
  m_live += block != nullptr ? 1 : 0;
  return block;
}

void* CountingAllocator::Reallocate(void* block, std::size_t size) noexcept {
  const auto before = static_cast<long>(::malloc_usable_size(block));
  void* grown = g_memory.faults.Fails() ? nullptr : std::realloc(block, size);
  if (grown != nullptr) {
    --g_memory.blocks;
    g_memory.bytes -= before;
    Took(grown);
  }
  return grown;
}

void CountingAllocator::Free(void* block) noexcept {
  --m_live;
  FreeNew(block);
}

CountingAllocator& TestAllocator() noexcept {
  static CountingAllocator allocator;
  return allocator;
}

int OpenDescriptors() {
  const std::filesystem::directory_iterator open("/proc/self/fd");
  return static_cast<int>(std::distance(begin(open), end(open)));
}
