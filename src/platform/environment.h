/// @file
/// The allocator and the file operations of the platform layer.
///
/// All memory that the layer allocates for its callers and all system calls of its file functions go through these two
/// objects. Tests replace them to count calls, to make the k-th call fail, or to serve files from memory. Replace them
/// only while no other thread is inside the layer.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>
#include <string>
#include <vector>

/// Allocates all task memory, and with it strings and arrays. Functions return null if out of memory.
class Allocator {
public:
  virtual ~Allocator() = default;
  /// Allocates `size` bytes, aligned for any type.
  virtual void* Allocate(std::size_t size) noexcept = 0;
  /// As `realloc`: if it returns null, the old block is unchanged.
  virtual void* Reallocate(void* block, std::size_t size) noexcept = 0;
  /// Accepts null.
  virtual void Free(void* block) noexcept = 0;
};

/// The system calls of the file functions. Each returns -1 and sets `errno` on failure. Like the system calls, they can
/// fail with EINTR and transfer fewer bytes than requested.
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
  /// Clears O_NONBLOCK of a descriptor, so that reads and writes wait.
  virtual int SetBlocking(int descriptor) noexcept = 0;
  /// As `fsync`. For a folder, waits until its names are on the disk.
  virtual int Sync(int descriptor) noexcept = 0;
  /// As `rename`: replaces a file in one step.
  virtual int Rename(const char* from, const char* to) noexcept = 0;
  /// As `unlink`.
  virtual int Unlink(const char* path) noexcept = 0;
  /// As `mkdir`.
  virtual int MakeFolder(const char* path, mode_t mode) noexcept = 0;
  /// As `fstat`.
  virtual int Status(int descriptor, struct stat* status) noexcept = 0;
  /// As `stat`.
  virtual int PathStatus(const char* path, struct stat* status) noexcept = 0;
  /// Appends the names in a folder, in no order, without "." and "..".
  virtual int ListFolder(const char* path, std::vector<std::string>* names) noexcept = 0;
};

/// The objects in use, never null.
struct Environment {
  Allocator* allocator;  ///< Allocates task memory.
  FileOperations* files; ///< Calls the file system.
};

/// Returns the environment of the process. Initially it has the system's allocator and system calls.
Environment& ProcessEnvironment() noexcept;
