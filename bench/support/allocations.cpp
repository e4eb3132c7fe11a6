#include "support/allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

#include "platform/environment.h"

namespace {

std::atomic<long> count{0};

class Counter final : public Allocator {
public:
  explicit Counter(Allocator* next) noexcept : m_next(next) { ProcessEnvironment().allocator = this; }
  ~Counter() override { ProcessEnvironment().allocator = m_next; }
  Counter(const Counter&) = delete;
  Counter& operator=(const Counter&) = delete;

  void* Allocate(std::size_t size) noexcept override {
    ++count;
    return m_next->Allocate(size);
  }
  void* Reallocate(void* block, std::size_t size) noexcept override {
    ++count;
    return m_next->Reallocate(block, size);
  }
  void Free(void* block) noexcept override { m_next->Free(block); }

private:
  Allocator* m_next;
};

} // namespace

long AllocationCount() noexcept {
  static Counter counter(ProcessEnvironment().allocator);
  return count;
}

void* operator new(std::size_t size) {
  ++count;
  if (void* block = std::malloc(size == 0 ? 1 : size); block != nullptr) {
    return block;
  }
  throw std::bad_alloc();
}

void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
