#include "platform/file_lookup.h"

#include <fnmatch.h>

#include <algorithm>
#include <new>
#include <vector>

#include "platform/path_resolution.h"
#include "platform/paths.h"
#include "platform/system_calls.h"
#include "platform/text.h"

namespace platform {
namespace {

bool Exists(const std::string& path, struct stat* status) noexcept {
  return Uninterrupted([&] { return Files().PathStatus(path.c_str(), status); }) == 0;
}

/// Returns the names in a folder, in no order. `errno` is the reason if the folder cannot be read, otherwise ENOENT.
std::vector<std::string> NamesIn(const std::string& folder) {
  std::vector<std::string> names;
  const int listed = Uninterrupted([&] {
    names.clear();
    return Files().ListFolder(folder.empty() ? "." : folder.c_str(), &names);
  });
  if (listed != 0) {
    names.clear();
  }
  if (listed == 0 || errno == EACCES) { // Without read permission the folder counts as empty.
    errno = ENOENT;
  }
  return names;
}

/// Returns the name in a folder that has the same characters as a component in another encoding or, if there is none,
/// the same letters in any case. Empty, with `errno` set, if the folder has neither.
std::string FindName(const std::string& folder, const std::string& component) {
  std::vector<std::string> names = NamesIn(folder);
  std::erase_if(names, [&](const std::string& name) { return lstrcmpiA(name, component) != 0; });
  std::ranges::sort(names);
  const auto same = std::ranges::find(names, MultiByteToWideChar(component), MultiByteToWideChar);
  if (same != names.end()) {
    return *same;
  }
  return names.empty() ? std::string() : names.front();
}

/// Finds a path below a folder in UTF-8, then by its bytes as they are.
bool FindAsSpelled(const std::string& folder, const std::string& path, std::string* found, struct stat* status) {
  const std::string utf8 = NarrowToUtf8(path);
  for (const std::string& spelling : {folder + utf8, folder + path}) {
    if (Exists(spelling, status)) {
      *found = spelling;
      return true;
    }
    if (utf8 == path || !ErrnoMeansMissing()) {
      break;
    }
  }
  return false;
}

/// Appends a component to the path of a folder on disk. Returns false if the folder has no such name.
/// @param isMissing Whether the folder is known to have no name that is spelled so.
bool AppendComponent(const std::string& component, bool isMissing, std::string* found, struct stat* status) {
  if (!isMissing && FindAsSpelled(*found, component, found, status)) {
    return true;
  }
  const std::string name = isMissing || ErrnoMeansMissing() ? FindName(*found, component) : std::string();
  if (name.empty()) {
    return false;
  }
  *found += name;
  return Exists(*found, status);
}

/// Finds a path that is missing as spelled, component by component. A path that ends with a separator names a folder.
bool FindByComponents(std::string path, std::string* resolved, struct stat* status) {
  const bool hasOtherSeparators = path.find('\\') != std::string::npos;
  std::ranges::replace(path, '\\', '/');
  std::string found;
  // Usually only the last component is spelled differently, so the folder is tried as a whole.
  const std::size_t last = path.rfind('/') + 1; // 0 for a path without a folder.
  const bool hasFolder = last == 0 || FindAsSpelled("", path.substr(0, last), &found, status);
  // The path was looked up with its own separators, and ASCII is spelled the same in every encoding.
  const bool isMissing = hasFolder && !hasOtherSeparators && IsAscii(path);
  std::size_t position = hasFolder ? last : 0;
  while (position < path.size()) {
    const std::size_t separator = std::min(path.find('/', position), path.size());
    const std::string component = path.substr(position, separator - position);
    if (!component.empty() && !AppendComponent(component, isMissing, &found, status)) {
      return false;
    }
    if (separator < path.size() && (found.empty() || found.back() != '/')) {
      found.push_back('/');
    }
    position = separator + 1;
  }
  if (found.empty()) {
    errno = ENOENT;
    return false;
  }
  *resolved = found;
  return found.back() != '/' || Exists(found, status);
}

} // namespace

bool ErrnoMeansMissing() noexcept { return errno == ENOENT || errno == ENOTDIR || errno == ENAMETOOLONG; }

bool FindOnDisk(const std::string& path, std::string* resolved, struct stat* status) {
  return FindAsSpelled("", path, resolved, status) || FindRespelled(path, resolved, status);
}

bool FindRespelled(const std::string& path, std::string* resolved, struct stat* status) {
  if (ErrnoMeansMissing() && FindByComponents(path, resolved, status)) {
    return true;
  }
  SetLastError(SystemError(errno));
  return false;
}

std::string PathOfNewFile(const std::string& path) {
  std::string folder = FolderOf(path);
  struct stat status {};
  if (!folder.empty() && !FindOnDisk(folder, &folder, &status)) {
    return path;
  }
  return folder + NarrowToUtf8(FileName(path));
}

std::string FirstMatch(const std::string& folder, const std::string& pattern) {
  std::string wanted = pattern == "*.*" ? "*" : pattern; // Also matches names without a dot.
  for (std::size_t i = wanted.find('['); i != std::string::npos; i = wanted.find('[', i + 3)) {
    wanted.replace(i, 1, "[[]"); // A bracket matches itself only.
  }
  std::vector<std::string> names = NamesIn(folder);
  std::erase_if(names,
                [&](const std::string& name) { return ::fnmatch(wanted.c_str(), name.c_str(), FNM_NOESCAPE) != 0; });
  return names.empty() ? std::string() : *std::min_element(names.begin(), names.end());
}

} // namespace platform

bool ResolveFilePath(const std::string& path, std::string* resolved) noexcept {
  try {
    struct stat status {};
    return platform::FindOnDisk(path, resolved, &status);
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return false;
  }
}

bool PathFileExistsA(const std::string& path) noexcept {
  std::string resolved;
  return ResolveFilePath(path, &resolved);
}
