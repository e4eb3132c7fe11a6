#include "platform/named_mutex.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <new>

#include "platform/system_calls.h"

namespace {

using platform::Files;
using platform::Uninterrupted;

constexpr std::size_t kMaxName = 200;
constexpr mode_t kPrivateFile = 0600;
constexpr mode_t kPrivateFolder = 0700;
constexpr mode_t kRightsOfOthers = 0077;

int Open(const std::string& path, int flags) noexcept {
  return Uninterrupted([&] { return Files().Open(path.c_str(), flags | O_CLOEXEC | O_NOFOLLOW, kPrivateFile); });
}

std::string Folder() {
  const char* runtime = ::secure_getenv("XDG_RUNTIME_DIR");
  return runtime != nullptr && *runtime == '/' ? std::string(runtime) + "/ImageFile"
                                               : "/tmp/ImageFile-" + std::to_string(::geteuid());
}

/// Makes sure that the folder is there, and is the user's alone: anybody may have made one in /tmp.
bool PrepareFolder(const std::string& folder, bool create) noexcept {
  if (create && Files().MakeFolder(folder.c_str(), kPrivateFolder) == -1 && errno != EEXIST) {
    return false;
  }
  const UniqueHandle opened(HANDLE{Open(folder, O_RDONLY | O_DIRECTORY)});
  struct stat status {};
  if (!opened || Files().Status(static_cast<int>(opened.Get()), &status) == -1) {
    return false;
  }
  errno = EACCES;
  return status.st_uid == ::geteuid() && (status.st_mode & kRightsOfOthers) == 0;
}

HANDLE OpenMutex(const std::string& name, bool create) {
  if (name.empty() || name.size() > kMaxName || name.find_first_of(std::string_view("/\\\0", 3)) != std::string::npos) {
    SetLastError(ERROR_INVALID_NAME);
    return INVALID_HANDLE_VALUE;
  }
  const std::string folder = Folder();
  if (!PrepareFolder(folder, create)) {
    platform::KeepSystemError();
    return INVALID_HANDLE_VALUE;
  }
  const std::string path = folder + '/' + name + ".mutex";
  SetLastError(ERROR_SUCCESS);
  int descriptor = create ? Open(path, O_RDWR | O_CREAT | O_EXCL) : -1;
  if (descriptor == -1 && (!create || errno == EEXIST)) {
    descriptor = Open(path, O_RDWR);
    SetLastError(create ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
  }
  if (descriptor == -1) {
    platform::KeepSystemError();
  }
  return HANDLE{descriptor};
}

HANDLE OpenGuarded(const std::string& name, bool create) noexcept {
  try {
    return OpenMutex(name, create);
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return INVALID_HANDLE_VALUE;
  }
}

} // namespace

HANDLE CreateMutexA(const std::string& name) noexcept { return OpenGuarded(name, true); }

HANDLE OpenMutexA(const std::string& name) noexcept { return OpenGuarded(name, false); }

DWORD WaitForSingleObject(HANDLE mutex, DWORD milliseconds) noexcept {
  const int descriptor = static_cast<int>(mutex);
  if (milliseconds != 0 && milliseconds != INFINITE) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return WAIT_FAILED;
  }
  const int operation = milliseconds == 0 ? LOCK_EX | LOCK_NB : LOCK_EX;
  const int result = Uninterrupted([&] { return Files().Lock(descriptor, operation); });
  if (result == -1 && errno == EWOULDBLOCK) {
    return WAIT_TIMEOUT;
  }
  if (result == -1) {
    platform::KeepSystemError();
    return WAIT_FAILED;
  }
  return WAIT_OBJECT_0;
}

bool ReleaseMutex(HANDLE mutex) noexcept {
  if (Uninterrupted([&] { return Files().Lock(static_cast<int>(mutex), LOCK_UN); }) == -1) {
    platform::KeepSystemError();
    return false;
  }
  return true;
}
