#include "platform/task_memory.h"

#include <cstdint>
#include <cstring>

#include "platform/environment.h"

void* CoTaskMemAlloc(std::size_t size) noexcept {
  return ProcessEnvironment().allocator->Allocate(size == 0 ? 1 : size);
}

void* CoTaskMemRealloc(void* block, std::size_t size) noexcept {
  if (block == nullptr) {
    return CoTaskMemAlloc(size);
  }
  if (size == 0) {
    CoTaskMemFree(block);
    return nullptr;
  }
  return ProcessEnvironment().allocator->Reallocate(block, size);
}

void CoTaskMemFree(void* block) noexcept {
  if (block != nullptr) {
    ProcessEnvironment().allocator->Free(block);
  }
}

void* AllocateClearedBytes(std::size_t count, std::size_t width) noexcept {
  if (width != 0 && count > SIZE_MAX / width) {
    return nullptr;
  }
  void* block = CoTaskMemAlloc(count * width);
  if (block != nullptr) {
    std::memset(block, 0, count * width);
  }
  return block;
}
