#include "platform/files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <exception>
#include <limits>
#include <new>

#include "platform/path_resolution.h"
#include "platform/paths.h"
#include "platform/system_calls.h"
#include "platform/text.h"

namespace {

using platform::Files;
using platform::Uninterrupted;

constexpr mode_t kNewFileMode = 0666; // Reduced by the umask of the user.

bool Fail(DWORD error) noexcept {
  SetLastError(error);
  return false;
}

bool FailWithErrno() noexcept { return Fail(platform::SystemError(errno)); }

/// Makes a system call. If it fails, its error is the last error.
template <class Call> bool Succeeds(Call call) noexcept { return Uninterrupted(call) != -1 || FailWithErrno(); }

int Descriptor(HANDLE file) noexcept { return static_cast<int>(file); }

/// Opens a path without waiting: opening a FIFO could block.
int OpenDescriptor(const std::string& path, int flags) noexcept {
  return Uninterrupted(
      [&] { return Files().Open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, kNewFileMode); });
}

/// Opens a path in UTF-8 or, if that names no file, by its bytes as they are.
int OpenAsSpelled(const std::string& path, int flags) {
  if (!IsAscii(path)) {
    const int descriptor = OpenDescriptor(NarrowToUtf8(path), flags);
    if (descriptor != -1 || !platform::ErrnoMeansMissing()) {
      return descriptor;
    }
  }
  return OpenDescriptor(path, flags);
}

int OpenForReading(const std::string& path) {
  int descriptor = OpenAsSpelled(path, O_RDONLY);
  std::string resolved;
  struct stat status {};
  if (descriptor == -1 && platform::FindRespelled(path, &resolved, &status)) {
    descriptor = OpenDescriptor(resolved, O_RDONLY);
  }
  return descriptor;
}

int OpenForWriting(const std::string& path, DWORD disposition) {
  const int descriptor = OpenAsSpelled(path, O_WRONLY);
  if (descriptor != -1 || !platform::ErrnoMeansMissing()) {
    return descriptor;
  }
  return OpenDescriptor(platform::PathOfNewFile(path), O_WRONLY | (disposition == CREATE_ALWAYS ? O_CREAT : 0));
}

/// Locks an open file. Returns false if another open file has a lock that excludes this one. Succeeds without a lock on
/// file systems that have none.
bool Lock(int descriptor, int operation) noexcept {
  return Uninterrupted([&] { return Files().Lock(descriptor, operation | LOCK_NB); }) != -1 || errno == ENOLCK ||
         errno == EOPNOTSUPP || FailWithErrno();
}

/// Checks that an open file is of an allowed kind, locks it, and empties it for CREATE_ALWAYS.
bool Prepare(int descriptor, DWORD access, DWORD sharing, DWORD disposition) noexcept {
  struct stat status {};
  const bool write = access == GENERIC_WRITE;
  if (!Succeeds([&] { return Files().Status(descriptor, &status); })) {
    return false;
  }
  if (write && S_ISCHR(status.st_mode)) { // A file to read needs a position, which character devices lack.
    return Succeeds([&] { return Files().SetBlocking(descriptor); });
  }
  if (!S_ISREG(status.st_mode)) {
    return S_ISBLK(status.st_mode) || Fail(ERROR_ACCESS_DENIED);
  }
  if (!write) {
    return Lock(descriptor, LOCK_SH);
  }
  if (sharing == FILE_SHARE_NONE && !Lock(descriptor, LOCK_EX)) {
    return false;
  }
  const bool isEmptied = disposition == CREATE_ALWAYS && status.st_size != 0;
  return !isEmptied || Succeeds([&] { return Files().Truncate(descriptor, 0); });
}

HANDLE Open(const std::string& path, DWORD access, DWORD sharing, DWORD disposition) {
  const bool write = access == GENERIC_WRITE;
  const bool known = write ? disposition == CREATE_ALWAYS || disposition == OPEN_EXISTING
                           : access == GENERIC_READ && disposition == OPEN_EXISTING;
  if (!known) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return INVALID_HANDLE_VALUE;
  }
  const int descriptor = write ? OpenForWriting(path, disposition) : OpenForReading(path);
  if (descriptor == -1) {
    SetLastError(platform::SystemError(errno));
    return INVALID_HANDLE_VALUE;
  }
  if (!Prepare(descriptor, access, sharing, disposition)) {
    Files().Close(descriptor);
    return INVALID_HANDLE_VALUE;
  }
  return HANDLE{descriptor};
}

/// Returns the size of a file; 0 for a folder, and for a block device that does not open.
UHYPER SizeOnDisk(const std::string& path, const struct stat& status) noexcept {
  if (!S_ISBLK(status.st_mode)) {
    return S_ISDIR(status.st_mode) ? UHYPER{0} : static_cast<UHYPER>(status.st_size);
  }
  const UniqueHandle device(HANDLE{OpenDescriptor(path, O_RDONLY)});
  UHYPER size = 0;
  return device && GetFileSize(device.Get(), &size) ? size : 0;
}

bool Find(const std::string& pattern, FoundFile* found) {
  struct stat status {};
  std::string resolved;
  if (!platform::FindOnDisk(pattern, &resolved, &status)) {
    const std::string wanted = platform::FileName(pattern);
    if (wanted.find_first_of("*?") == std::string::npos) {
      return false;
    }
    const std::string folder = platform::FolderOf(pattern);
    const std::string match = platform::FirstMatch(folder, wanted);
    if (match.empty() || !platform::FindOnDisk(folder + match, &resolved, &status)) {
      return false;
    }
  }
  *found = {SizeOnDisk(resolved, status), platform::FileName(resolved)};
  return true;
}

} // namespace

HANDLE CreateFileA(const std::string& path, DWORD access, DWORD sharing, DWORD disposition,
                   DWORD /*attributes*/) noexcept {
  try {
    return Open(path, access, sharing, disposition);
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return INVALID_HANDLE_VALUE;
  }
}

bool CloseHandle(HANDLE file) noexcept {
  // Not repeated after EINTR: the descriptor is closed already.
  return Files().Close(Descriptor(file)) == 0 || errno == EINTR || FailWithErrno();
}

HANDLE DuplicateHandle(HANDLE file) noexcept {
  const int descriptor = Uninterrupted([&] { return Files().Duplicate(Descriptor(file)); });
  if (descriptor == -1) {
    SetLastError(platform::SystemError(errno));
  }
  return HANDLE{descriptor};
}

bool ReadFile(HANDLE file, void* buffer, DWORD count, DWORD* bytesRead) noexcept {
  *bytesRead = 0;
  while (*bytesRead < count) {
    const ssize_t part = Uninterrupted(
        [&] { return Files().Read(Descriptor(file), static_cast<BYTE*>(buffer) + *bytesRead, count - *bytesRead); });
    if (part == -1) {
      return FailWithErrno();
    }
    if (part == 0) {
      break;
    }
    *bytesRead += static_cast<DWORD>(part);
  }
  return true;
}

bool WriteFile(HANDLE file, const void* buffer, DWORD count, DWORD* bytesWritten) noexcept {
  *bytesWritten = 0;
  while (*bytesWritten < count) {
    const auto* rest = static_cast<const BYTE*>(buffer) + *bytesWritten;
    const ssize_t part = Uninterrupted([&] { return Files().Write(Descriptor(file), rest, count - *bytesWritten); });
    if (part == -1) {
      return FailWithErrno();
    }
    if (part == 0) {
      return Fail(ERROR_DISK_FULL);
    }
    *bytesWritten += static_cast<DWORD>(part);
  }
  return true;
}

bool SetFilePointerEx(HANDLE file, std::int64_t distance, UHYPER* position, DWORD origin) noexcept {
  if (origin > FILE_END || distance > std::numeric_limits<off_t>::max() ||
      distance < std::numeric_limits<off_t>::min()) {
    return Fail(ERROR_INVALID_PARAMETER);
  }
  constexpr int kOrigins[] = {SEEK_SET, SEEK_CUR, SEEK_END};
  const off_t offset =
      Uninterrupted([&] { return Files().Seek(Descriptor(file), static_cast<off_t>(distance), kOrigins[origin]); });
  if (offset == -1) {
    return errno == EINVAL ? Fail(ERROR_NEGATIVE_SEEK) : FailWithErrno();
  }
  if (position != nullptr) {
    *position = static_cast<UHYPER>(offset);
  }
  return true;
}

bool GetFileSize(HANDLE file, UHYPER* size) noexcept {
  struct stat status {};
  if (!Succeeds([&] { return Files().Status(Descriptor(file), &status); })) {
    return false;
  }
  *size = static_cast<UHYPER>(status.st_size);
  UHYPER position = 0;
  return !S_ISBLK(status.st_mode) ||
         (SetFilePointerEx(file, 0, &position, FILE_CURRENT) && SetFilePointerEx(file, 0, size, FILE_END) &&
          SetFilePointerEx(file, static_cast<std::int64_t>(position), nullptr, FILE_BEGIN));
}

bool ReadToEnd(HANDLE file, UHYPER limit, std::string* bytes) noexcept {
  bytes->clear();
  UHYPER size = 0;
  UHYPER position = 0;
  if (!GetFileSize(file, &size) || !SetFilePointerEx(file, 0, &position, FILE_CURRENT)) {
    return false;
  }
  const UHYPER rest = size - std::min(size, position);
  if (rest > std::min<UHYPER>(limit, std::numeric_limits<DWORD>::max())) {
    return Fail(ERROR_FILE_TOO_LARGE);
  }
  try {
    bytes->resize(static_cast<std::size_t>(rest));
  } catch (const std::exception&) {
    return Fail(ERROR_NOT_ENOUGH_MEMORY);
  }
  DWORD bytesRead = 0;
  const bool read = ReadFile(file, bytes->data(), static_cast<DWORD>(rest), &bytesRead);
  bytes->resize(read ? bytesRead : 0);
  return read;
}

bool ReadWholeFile(const std::string& path, UHYPER limit, std::string* bytes) noexcept {
  bytes->clear();
  const UniqueHandle file(CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL));
  return file && ReadToEnd(file.Get(), limit, bytes);
}

bool FindFirstFileA(const std::string& pattern, FoundFile* found) noexcept {
  try {
    return Find(pattern, found);
  } catch (const std::bad_alloc&) {
    return Fail(ERROR_NOT_ENOUGH_MEMORY);
  }
}
