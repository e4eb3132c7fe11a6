#include "platform/last_error.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

namespace {

thread_local DWORD t_lastError = ERROR_SUCCESS;

struct ErrorPair {
  int system; ///< Value of `errno`.
  DWORD error;
};

constexpr ErrorPair kErrors[] = {{ENOENT, ERROR_FILE_NOT_FOUND},      {ENOTDIR, ERROR_PATH_NOT_FOUND},
                                 {EMFILE, ERROR_TOO_MANY_OPEN_FILES}, {ENFILE, ERROR_TOO_MANY_OPEN_FILES},
                                 {EACCES, ERROR_ACCESS_DENIED},       {EPERM, ERROR_ACCESS_DENIED},
                                 {EISDIR, ERROR_ACCESS_DENIED},       {EBADF, ERROR_INVALID_HANDLE},
                                 {ENOMEM, ERROR_NOT_ENOUGH_MEMORY},   {EROFS, ERROR_WRITE_PROTECT},
                                 {ETXTBSY, ERROR_SHARING_VIOLATION},  {EWOULDBLOCK, ERROR_SHARING_VIOLATION},
                                 {EINVAL, ERROR_INVALID_PARAMETER},   {ENOSPC, ERROR_DISK_FULL},
                                 {EDQUOT, ERROR_DISK_FULL},           {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
                                 {EFBIG, ERROR_FILE_TOO_LARGE},       {EIO, ERROR_IO_DEVICE},
                                 {ELOOP, ERROR_CANT_RESOLVE_FILENAME}};

} // namespace

DWORD GetLastError() noexcept { return t_lastError; }
void SetLastError(DWORD error) noexcept { t_lastError = error; }

DWORD platform::SystemError(int error) noexcept {
  const auto* found = std::ranges::find(kErrors, error, &ErrorPair::system);
  return found == std::end(kErrors) ? ERROR_GEN_FAILURE : found->error;
}
