#include "files/write_failure.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <utility>

#include <fmt/format.h>

#include "files/input_file.h"
#include "files/paths.h"
#include "output/terminal_text.h"
#include "platform/paths.h"

DWORD SystemError(int error) {
  static constexpr std::pair<int, DWORD> kErrors[] = {
      {0, ERROR_SUCCESS},           {ENOENT, ERROR_FILE_NOT_FOUND}, {EACCES, ERROR_ACCESS_DENIED},
      {EPERM, ERROR_ACCESS_DENIED}, {EROFS, ERROR_WRITE_PROTECT},   {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE},
      {ENOSPC, ERROR_DISK_FULL},    {EDQUOT, ERROR_DISK_FULL},      {EFBIG, ERROR_FILE_TOO_LARGE},
      {EIO, ERROR_IO_DEVICE}};
  const auto* known =
      std::find_if(std::begin(kErrors), std::end(kErrors), [&](const auto& entry) { return entry.first == error; });
  return known == std::end(kErrors) ? ERROR_GEN_FAILURE : known->second;
}

Failure WriteFailure(const std::string& path, DWORD error, UHYPER written, UHYPER size) {
  const auto folder = StatusOf(FolderOf(path));
  const auto target = StatusOf(path);
  const bool isFolder = target ? S_ISDIR(target->st_mode) : path.find_last_of(kPathSeparators) + 1 == path.size();
  if (error == ERROR_FILENAME_EXCED_RANGE) { // No call can look at a path with such a name.
    return {path, "the name is too long; give a shorter one", error};
  }
  if (!folder || !S_ISDIR(folder->st_mode)) {
    return {path, "its folder does not exist", ERROR_PATH_NOT_FOUND};
  }
  if (isFolder) {
    return {path, "this is a folder; give the name of a file", ERROR_ACCESS_DENIED};
  }
  if (target && S_ISSOCK(target->st_mode)) {
    return {path, "this is not a file, device or pipe", ERROR_ACCESS_DENIED};
  }
  if (!target && error == ERROR_FILE_NOT_FOUND) {
    return {path, "it cannot be created: it is a link to a missing file, or the folder allows no new files",
            ERROR_PATH_NOT_FOUND};
  }
  if (error == ERROR_ACCESS_DENIED) {
    const bool isProtected = target && access(path.c_str(), W_OK) != 0;
    return {path, isProtected ? "the file is write-protected" : "the folder is write-protected", error};
  }
  const HRESULT code = error == ERROR_SUCCESS ? E_FAIL : HRESULT_FROM_WIN32(static_cast<std::int32_t>(error));
  return {path, fmt::format("{}: {} of {} were written", CodeWords(code), ReadableSize(written), ReadableSize(size)),
          code};
}
