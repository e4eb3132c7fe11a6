/// @file
/// The seam below the platform layer: where memory comes from and how the system is called.
///
/// All memory that the layer allocates for its callers and all system calls of its file functions go through the two
/// objects of the environment. Tests replace them to count calls, to make the k-th call fail, or to serve files from
/// memory. Replace them only while no other thread is inside the layer.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>
#include <string>
#include <vector>

/// Source of all task memory, and with it of strings and arrays. Null means that no memory could be had.
class Allocator {
public:
  virtual ~Allocator() = default;
  /// A block of `size` bytes, aligned for any type.
  virtual void* Allocate(std::size_t size) noexcept = 0;
  /// As `realloc`: on null the old block stands unchanged.
  virtual void* Reallocate(void* block, std::size_t size) noexcept = 0;
  /// Null is accepted.
  virtual void Free(void* block) noexcept = 0;
};

/// The system calls of the file layer, one to one. Each answers -1 and sets `errno` on failure, and may fail
/// with EINTR or move fewer bytes than asked for wherever the system call may.
class FileOperations {
public:
  virtual ~FileOperations() = default;
  /// As `open`.
  virtual int Open(const char* path, int flags, mode_t mode) noexcept = 0;
  /// As `close`.
  virtual int Close(int descriptor) noexcept = 0;
  /// As `dup`, with close-on-exec set for the copy.
  virtual int Duplicate(int descriptor) noexcept = 0;
  /// As `read`.
  virtual ssize_t Read(int descriptor, void* buffer, std::size_t count) noexcept = 0;
  /// As `write`.
  virtual ssize_t Write(int descriptor, const void* buffer, std::size_t count) noexcept = 0;
  /// As `lseek`.
  virtual off_t Seek(int descriptor, off_t distance, int origin) noexcept = 0;
  /// As `ftruncate`.
  virtual int Truncate(int descriptor, off_t size) noexcept = 0;
  /// As `flock`.
  virtual int Lock(int descriptor, int operation) noexcept = 0;
  /// Makes reads and writes of a descriptor wait that was opened with O_NONBLOCK.
  virtual int SetBlocking(int descriptor) noexcept = 0;
  /// Returns when all that was written has reached the medium; for a folder, when its names have.
  virtual int Sync(int descriptor) noexcept = 0;
  /// Puts a file in the place of another in one step.
  virtual int Rename(const char* from, const char* to) noexcept = 0;
  /// As `unlink`.
  virtual int Unlink(const char* path) noexcept = 0;
  /// As `mkdir`.
  virtual int MakeFolder(const char* path, mode_t mode) noexcept = 0;
  /// As `fstat`.
  virtual int Status(int descriptor, struct stat* status) noexcept = 0;
  /// As `stat`: links are followed.
  virtual int PathStatus(const char* path, struct stat* status) noexcept = 0;
  /// The names in a folder, in no order, without "." and "..".
  virtual int ListFolder(const char* path, std::vector<std::string>* names) noexcept = 0;
};

/// What the layer currently works with, never null.
struct Environment {
  Allocator* allocator;  ///< Source of task memory.
  FileOperations* files; ///< Way to the file system.
};

/// The one environment of the process. At the start it holds the system's own allocator and calls.
Environment& ProcessEnvironment() noexcept;
