#include "platform/registry.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>

#include "platform/files.h"
#include "platform/registry_text.h"
#include "platform/system_calls.h"

namespace {

using platform::Files;
using platform::SystemError;
using platform::Uninterrupted;

constexpr off_t kMaxSize = off_t{1} << 20; // Bounds memory: two bytes of the file can make a key.
constexpr mode_t kPrivateFile = 0600;      // The file decides which code is loaded.
constexpr mode_t kPrivateFolder = 0700;

HANDLE Open(const std::string& path, int flags) noexcept {
  return HANDLE{Uninterrupted([&] { return Files().Open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY, kPrivateFile); })};
}

int Descriptor(const UniqueHandle& file) noexcept { return static_cast<int>(file.Get()); }

std::string FolderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

/// Reads a file. A missing file is an empty text.
DWORD ReadText(const std::string& path, std::string* text) {
  text->clear();
  const UniqueHandle file(Open(path, O_RDONLY | O_NONBLOCK));
  if (!file) {
    return errno == ENOENT || errno == ENOTDIR ? ERROR_SUCCESS : SystemError(errno);
  }
  struct stat status {};
  if (Uninterrupted([&] { return Files().Status(Descriptor(file), &status); }) == -1) {
    return SystemError(errno);
  }
  if (!S_ISREG(status.st_mode) || status.st_size > kMaxSize) {
    return ERROR_BADDB;
  }
  return ReadToEnd(file.Get(), kMaxSize, text) ? ERROR_SUCCESS : GetLastError();
}

/// Writes a file and waits until it is on the disk.
DWORD WriteText(const std::string& path, const std::string& text) {
  const UniqueHandle file(Open(path, O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW));
  if (!file) {
    return SystemError(errno);
  }
  DWORD bytesWritten = 0;
  if (!WriteFile(file.Get(), text.data(), static_cast<DWORD>(text.size()), &bytesWritten)) {
    return GetLastError();
  }
  return Uninterrupted([&] { return Files().Sync(Descriptor(file)); }) == -1 ? SystemError(errno) : ERROR_SUCCESS;
}

/// Replaces a file by a text. After a failure the file has either its old content or all of the text.
DWORD ReplaceText(const std::string& path, const std::string& text) {
  if (text.size() > static_cast<std::size_t>(kMaxSize)) {
    return ERROR_FILE_TOO_LARGE;
  }
  const std::string newPath = path + ".new";
  DWORD error = WriteText(newPath, text);
  if (error == ERROR_SUCCESS && Uninterrupted([&] { return Files().Rename(newPath.c_str(), path.c_str()); }) == -1) {
    error = SystemError(errno);
  }
  if (error != ERROR_SUCCESS) {
    Files().Unlink(newPath.c_str());
    return error;
  }
  const UniqueHandle folder(Open(FolderOf(path), O_RDONLY | O_DIRECTORY));
  const bool synced = folder && Uninterrupted([&] { return Files().Sync(Descriptor(folder)); }) != -1;
  return synced || errno == EINVAL ? ERROR_SUCCESS : SystemError(errno); // EINVAL: the file system cannot sync folders.
}

/// Creates the folder of a file and the folders above it.
DWORD CreateFolders(const std::string& path) {
  for (std::size_t slash = path.find('/', 1); slash != std::string::npos; slash = path.find('/', slash + 1)) {
    const std::string folder = path.substr(0, slash);
    if (Files().MakeFolder(folder.c_str(), kPrivateFolder) == -1 && errno != EEXIST) {
      return SystemError(errno);
    }
  }
  return ERROR_SUCCESS;
}

/// Keeps other processes and threads from changing the registry. The system unlocks it when the process ends.
class RegistryLock {
public:
  RegistryLock() = default;
  RegistryLock(const RegistryLock&) = delete;
  RegistryLock& operator=(const RegistryLock&) = delete;
  ~RegistryLock() {
    if (m_file) {
      // A forked process may have inherited the open file. Then closing it here does not unlock it.
      Files().Lock(Descriptor(m_file), LOCK_UN);
    }
  }

  DWORD Acquire(const std::string& path) noexcept {
    m_file.Reset(Open(path, O_RDWR | O_CREAT));
    // On file systems without locks the registry is changed without, as other files are.
    const bool locked = m_file && (Uninterrupted([&] { return Files().Lock(Descriptor(m_file), LOCK_EX); }) != -1 ||
                                   errno == ENOLCK || errno == EOPNOTSUPP);
    return locked ? ERROR_SUCCESS : SystemError(errno);
  }

private:
  UniqueHandle m_file;
};

/// Reads a registry, which has both roots even if the file is missing.
DWORD Load(const std::string& path, RegistryKey* registry) {
  std::string text;
  const DWORD error = path.empty() ? ERROR_SUCCESS : ReadText(path, &text);
  if (error != ERROR_SUCCESS) {
    return error;
  }
  registry->Create(kClassesRootName);
  registry->Create(kCurrentUserName);
  return platform::ParseRegistry(text, registry) ? ERROR_SUCCESS : ERROR_BADDB;
}

/// Changes the registry, which the caller has locked.
DWORD ChangeLocked(const std::string& path, const std::function<DWORD(RegistryKey* registry)>& change) {
  RegistryKey registry;
  DWORD error = Load(path, &registry);
  if (error != ERROR_SUCCESS) {
    return error;
  }
  const std::string before = platform::FormatRegistry(registry);
  error = change(&registry);
  if (error != ERROR_SUCCESS) {
    return error;
  }
  const std::string after = platform::FormatRegistry(registry);
  return after == before ? ERROR_SUCCESS : ReplaceText(path, after);
}

} // namespace

std::string RegistryPath() {
  // secure_getenv: a program with raised rights must not let its user choose the code that it loads.
  if (const char* path = ::secure_getenv("IMAGEFILE_REGISTRY"); path != nullptr && *path != '\0') {
    return path;
  }
  const std::string tail = "/ImageFile/registry.reg";
  if (const char* data = ::secure_getenv("XDG_DATA_HOME"); data != nullptr && *data == '/') {
    return data + tail;
  }
  const char* home = ::secure_getenv("HOME");
  return home != nullptr && *home == '/' ? home + ("/.local/share" + tail) : std::string();
}

DWORD ReadRegistry(RegistryKey* registry) { return Load(RegistryPath(), registry); }

DWORD ChangeRegistry(const std::function<DWORD(RegistryKey* registry)>& change) {
  const std::string path = RegistryPath();
  if (path.empty()) {
    return ERROR_PATH_NOT_FOUND;
  }
  DWORD error = CreateFolders(path);
  RegistryLock lock;
  if (error == ERROR_SUCCESS) {
    error = lock.Acquire(path + ".lock");
  }
  return error == ERROR_SUCCESS ? ChangeLocked(path, change) : error;
}
