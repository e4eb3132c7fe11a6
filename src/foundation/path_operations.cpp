#include "foundation/path_operations.h"

#include <new>

#include "platform/file_lookup.h"
#include "platform/last_error.h"
#include "platform/paths.h"
#include "platform/text.h"

bool LookupWasInconclusive() {
  const DWORD error = GetLastError();
  if (error == ERROR_NOT_ENOUGH_MEMORY) {
    throw std::bad_alloc();
  }
  return error == ERROR_ACCESS_DENIED || error == ERROR_IO_DEVICE || error == ERROR_TOO_MANY_OPEN_FILES;
}

bool FileExists(const std::string& path) { return PathFileExistsA(path) || LookupWasInconclusive(); }

bool RenameExtensionIfExists(std::string* path, std::string_view extension) {
  std::string renamed = *path;
  RenameExtension(&renamed, extension);
  if (!FileExists(renamed)) {
    return false;
  }
  *path = std::move(renamed);
  return true;
}

void RenameExtension(std::string* path, std::string_view extension) { PathRenameExtensionA(path, extension); }

void ReplaceFileName(std::string* path, std::string_view name) {
  PathRemoveFileSpecA(path);
  PathAppendA(path, name);
}

bool HasExtension(std::string_view path, std::string_view extension) {
  std::string_view found = path.substr(PathFindExtensionA(path));
  if (!found.empty() && !extension.starts_with('.')) {
    found.remove_prefix(1);
  }
  return lstrcmpiA(found, extension) == 0;
}
