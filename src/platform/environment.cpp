#include "platform/environment.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string_view>

#include "platform/never_destroyed.h"

namespace {

class SystemAllocator final : public Allocator {
public:
  void* Allocate(std::size_t size) noexcept override { return std::malloc(size); }
  void* Reallocate(void* block, std::size_t size) noexcept override { return std::realloc(block, size); }
  void Free(void* block) noexcept override { std::free(block); }
};

class SystemFiles final : public FileOperations {
public:
  int Open(const char* path, int flags, mode_t mode) noexcept override { return ::open(path, flags, mode); }
  int Close(int descriptor) noexcept override { return ::close(descriptor); }
  int Duplicate(int descriptor) noexcept override { return ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0); }
  ssize_t Read(int descriptor, void* buffer, std::size_t count) noexcept override {
    return ::read(descriptor, buffer, count);
  }
  ssize_t Write(int descriptor, const void* buffer, std::size_t count) noexcept override {
    return ::write(descriptor, buffer, count);
  }
  off_t Seek(int descriptor, off_t distance, int origin) noexcept override {
    return ::lseek(descriptor, distance, origin);
  }
  int Truncate(int descriptor, off_t size) noexcept override { return ::ftruncate(descriptor, size); }
  int Lock(int descriptor, int operation) noexcept override { return ::flock(descriptor, operation); }
  int SetBlocking(int descriptor) noexcept override {
    const int flags = ::fcntl(descriptor, F_GETFL);
    return flags == -1 ? -1 : ::fcntl(descriptor, F_SETFL, flags & ~O_NONBLOCK);
  }
  int Sync(int descriptor) noexcept override { return ::fsync(descriptor); }
  int Rename(const char* from, const char* to) noexcept override { return std::rename(from, to); }
  int Unlink(const char* path) noexcept override { return ::unlink(path); }
  int MakeFolder(const char* path, mode_t mode) noexcept override { return ::mkdir(path, mode); }
  int Status(int descriptor, struct stat* status) noexcept override { return ::fstat(descriptor, status); }
  int PathStatus(const char* path, struct stat* status) noexcept override { return ::stat(path, status); }

  int ListFolder(const char* path, std::vector<std::string>* names) noexcept override {
    DIR* folder = ::opendir(path);
    if (folder == nullptr) {
      return -1;
    }
    int error = 0;
    try {
      errno = 0; // readdir sets it on failure only, and returns null at the end as well.
      for (const dirent* entry = ::readdir(folder); entry != nullptr; entry = ::readdir(folder)) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
          names->emplace_back(name);
        }
        errno = 0;
      }
      error = errno;
    } catch (const std::bad_alloc&) {
      error = ENOMEM;
    }
    ::closedir(folder);
    errno = error;
    return error == 0 ? 0 : -1;
  }
};

} // namespace

Environment& ProcessEnvironment() noexcept {
  static platform::NeverDestroyed<SystemAllocator> allocator;
  static platform::NeverDestroyed<SystemFiles> files;
  static Environment environment{&allocator.Get(), &files.Get()};
  return environment;
}
