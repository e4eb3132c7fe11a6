#include "support/counting_environment.h"

#include <filesystem>
#include <iterator>

bool CountingAllocator::Fails() noexcept {
  const long number = ++m_count;
  return number == m_failAt || (m_failAfter && m_failAt != 0 && number > m_failAt);
}

void CountingAllocator::FailAt(long number, bool andAfter) noexcept {
  m_count = 0;
  m_failAt = number;
  m_failAfter = andAfter;
}

void* CountingAllocator::Allocate(std::size_t size) noexcept {
  void* block = Fails() ? nullptr : m_next->Allocate(size);
  m_live += block != nullptr ? 1 : 0;
  return block;
}

void* CountingAllocator::Reallocate(void* block, std::size_t size) noexcept {
  return Fails() ? nullptr : m_next->Reallocate(block, size);
}

void CountingAllocator::Free(void* block) noexcept {
  --m_live;
  m_next->Free(block);
}

CountingAllocator& TestAllocator() noexcept {
  static CountingAllocator allocator(ProcessEnvironment().allocator);
  return allocator;
}

int OpenDescriptors() {
  const std::filesystem::directory_iterator open("/proc/self/fd");
  return static_cast<int>(std::distance(begin(open), end(open)));
}
