#include "foundation/path_operations.h"

#include "platform/paths.h"
#include "platform/text.h"

bool RenameExtensionIfExists(std::string* path, std::string_view extension) {
  std::string renamed = *path;
  RenameExtension(&renamed, extension);
  if (!PathFileExistsA(renamed)) {
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
  std::string_view own = path.substr(PathFindExtensionA(path));
  if (!own.empty() && (extension.empty() || extension.front() != '.')) {
    own.remove_prefix(1);
  }
  return lstrcmpiA(own, extension) == 0;
}
