#include "platform/named_mutex.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <new>

#include "platform/system_calls.h"

namespace {

using platform::Files;
using platform::Uninterrupted;

constexpr mode_t kPrivateFile = 0600;
constexpr mode_t kPrivateFolder = 0700;
constexpr mode_t kRightsOfOthers = 0077;

HANDLE Open(const std::string& path, int flags) noexcept {
  return HANDLE{
      Uninterrupted([&] { return Files().Open(path.c_str(), flags | O_CLOEXEC | O_NOFOLLOW, kPrivateFile); })};
}

std::string Folder() {
  const char* runtime = ::secure_getenv("XDG_RUNTIME_DIR");
  return runtime != nullptr && *runtime == '/' ? std::string(runtime) + "/ImageFile"
                                               : "/tmp/ImageFile-" + std::to_string(::geteuid());
}

/// Creates the folder if it is missing. Returns whether only the user can write to it: in /tmp, any user may have
/// created it.
bool PrepareFolder(const std::string& folder) noexcept {
  if (Files().MakeFolder(folder.c_str(), kPrivateFolder) == -1 && errno != EEXIST) {
    return false;
  }
  const UniqueHandle opened(Open(folder, O_RDONLY | O_DIRECTORY));
  struct stat status {};
  return opened && Files().Status(static_cast<int>(opened.Get()), &status) == 0 && status.st_uid == ::geteuid() &&
         (status.st_mode & kRightsOfOthers) == 0;
}

} // namespace

HANDLE CreateMutexA(const std::string& name) noexcept {
  try {
    const std::string folder = Folder();
    return PrepareFolder(folder) ? Open(folder + '/' + name + ".mutex", O_RDWR | O_CREAT) : INVALID_HANDLE_VALUE;
  } catch (const std::bad_alloc&) {
    return INVALID_HANDLE_VALUE;
  }
}
