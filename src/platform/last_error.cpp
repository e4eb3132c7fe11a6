#include "platform/last_error.h"

#include "platform/system_calls.h"

namespace {

thread_local DWORD t_lastError = ERROR_SUCCESS;

DWORD FromErrno(int error) noexcept {
  switch (error) {
  case ENOENT:
    return ERROR_FILE_NOT_FOUND;
  case ENOTDIR:
    return ERROR_PATH_NOT_FOUND;
  case EMFILE:
  case ENFILE:
    return ERROR_TOO_MANY_OPEN_FILES;
  case EACCES:
  case EPERM:
  case EISDIR:
    return ERROR_ACCESS_DENIED;
  case EBADF:
    return ERROR_INVALID_HANDLE;
  case ENOMEM:
    return ERROR_NOT_ENOUGH_MEMORY;
  case EROFS:
    return ERROR_WRITE_PROTECT;
  case ETXTBSY:
  case EWOULDBLOCK:
    return ERROR_SHARING_VIOLATION;
  case EINVAL:
    return ERROR_INVALID_PARAMETER;
  case ENOSPC:
  case EDQUOT:
    return ERROR_DISK_FULL;
  case ENAMETOOLONG:
    return ERROR_FILENAME_EXCED_RANGE;
  case EFBIG:
    return ERROR_FILE_TOO_LARGE;
  case EIO:
    return ERROR_IO_DEVICE;
  case ELOOP:
    return ERROR_CANT_RESOLVE_FILENAME;
  default:
    return ERROR_GEN_FAILURE;
  }
}

} // namespace

DWORD GetLastError() noexcept { return t_lastError; }
void SetLastError(DWORD error) noexcept { t_lastError = error; }

void platform::KeepSystemError() noexcept { SetLastError(FromErrno(errno)); }
