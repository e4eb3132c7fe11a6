/// @file
/// Task memory: the allocator of all records, tables, strings and arrays that cross an interface. Any library may free
/// a block, whichever library allocated it.
#pragma once

#include <cstddef>
#include <memory>

extern "C" {

/// Allocates `size` bytes, aligned for any type and not cleared. Null if out of memory. A block of 0 bytes is not null.
void* CoTaskMemAlloc(std::size_t size) noexcept;

/// Resizes a block. Allocates one if `block` is null. Returns null if out of memory, with the old block unchanged. A
/// size of 0 frees the block and returns null.
void* CoTaskMemRealloc(void* block, std::size_t size) noexcept;

/// Frees a block. Accepts null.
void CoTaskMemFree(void* block) noexcept;
}

/// Frees with CoTaskMemFree.
struct TaskMemoryFree {
  /// Accepts null.
  void operator()(void* block) const noexcept { CoTaskMemFree(block); }
};

/// Owns a block of task memory.
template <class T> using TaskMemory = std::unique_ptr<T, TaskMemoryFree>;

/// Returns `count` cleared elements of `width` bytes; null if out of memory or if their size exceeds std::size_t.
void* AllocateClearedBytes(std::size_t count, std::size_t width) noexcept;

/// Returns a cleared table of `count` elements, as AllocateClearedBytes.
template <class T> T* AllocateCleared(std::size_t count) noexcept {
  return static_cast<T*>(AllocateClearedBytes(count, sizeof(T)));
}
