#include "files/paths.h"

#include "platform/file_lookup.h"
#include "platform/paths.h"
#include "platform/text.h"

bool HasExtension(std::string_view path, std::string_view extension) {
  return path.size() >= extension.size() && lstrcmpiA(path.substr(path.size() - extension.size()), extension) == 0;
}

std::string FolderOf(const std::string& path) {
  const std::string folder = Beside(path, "");
  return folder.empty() ? "." : folder;
}

std::string FileName(const std::string& path) { return path.substr(PathFindFileNameA(path)); }

std::string Beside(const std::string& path, std::string_view name) {
  return path.substr(0, PathFindFileNameA(path)).append(name);
}

std::string WithExtension(std::string path, std::string_view extension) {
  PathRenameExtensionA(&path, extension);
  return path;
}

std::string SpelledOnDisk(const std::string& path) {
  std::string found = path;
  ResolveFilePath(path, &found);
  return found;
}
