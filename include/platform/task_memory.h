/// @file
/// Task memory: the one allocator of records, tables, strings and arrays that cross an interface.
///
/// Whoever holds such a block may free it, whichever library made it.
#pragma once

#include <cstddef>
#include <memory>

extern "C" {

/// A block of `size` bytes, not cleared, aligned for any type. Null when there is no memory.
/// A size of 0 gives a block that holds nothing.
void* CoTaskMemAlloc(std::size_t size) noexcept;

/// Grows or shrinks a block; null as `block` makes a new one. On null the old block stands unchanged.
/// A size of 0 frees the block and gives null.
void* CoTaskMemRealloc(void* block, std::size_t size) noexcept;

/// Frees a block. Null is accepted.
void CoTaskMemFree(void* block) noexcept;
}

/// Frees with CoTaskMemFree.
struct TaskMemoryFree {
  /// Null is accepted.
  void operator()(void* block) const noexcept { CoTaskMemFree(block); }
};

/// Owns one block of task memory.
template <class T> using TaskMemory = std::unique_ptr<T, TaskMemoryFree>;

/// Returns `count` cleared elements of `width` bytes; null if out of memory or if the size does not fit the machine.
void* AllocateClearedBytes(std::size_t count, std::size_t width) noexcept;

/// Returns a cleared table of `count` elements, as AllocateClearedBytes.
template <class T> T* AllocateCleared(std::size_t count) noexcept {
  return static_cast<T*>(AllocateClearedBytes(count, sizeof(T)));
}
