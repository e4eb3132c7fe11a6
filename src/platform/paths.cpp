#include "platform/paths.h"

#include <fnmatch.h>

#include <algorithm>
#include <vector>

#include "platform/environment.h"
#include "platform/file_lookup.h"
#include "platform/files.h"
#include "platform/text.h"

std::size_t PathFindExtensionA(std::string_view path) noexcept {
  const std::size_t stop = path.find_last_of("/\\ ");
  const std::size_t dot = path.rfind('.');
  const bool found = dot != std::string_view::npos && (stop == std::string_view::npos || dot > stop);
  return found ? dot : path.size();
}

void PathRenameExtensionA(std::string* path, std::string_view extension) {
  path->replace(PathFindExtensionA(*path), std::string::npos, extension);
}

void PathRemoveFileSpecA(std::string* path) {
  const std::size_t separator = path->find_last_of(kPathSeparators);
  if (separator == std::string::npos) {
    path->clear();
  } else {
    path->resize(std::max<std::size_t>(separator, 1));
  }
}

void PathAppendA(std::string* path, std::string_view more) {
  const std::size_t start = more.find_first_not_of(kPathSeparators);
  if (!path->empty() && kPathSeparators.find(path->back()) == std::string_view::npos) {
    path->push_back('/');
  }
  if (start != std::string_view::npos) {
    path->append(more.substr(start));
  }
}

std::size_t PathFindFileNameA(std::string_view path) noexcept {
  const std::size_t last = path.find_last_not_of(kPathSeparators);
  if (last == std::string_view::npos) {
    return path.empty() ? 0 : path.size() - 1;
  }
  const std::size_t separator = path.find_last_of(kPathSeparators, last);
  return separator == std::string_view::npos ? 0 : separator + 1;
}

bool PathFileExistsA(const std::string& path) noexcept {
  std::string resolved;
  return ResolveFilePath(path, &resolved);
}

bool ResolveFilePath(const std::string& path, std::string* resolved) noexcept {
  try {
    struct stat status {};
    return platform::FindOnDisk(path, resolved, &status);
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return false;
  }
}

namespace platform {
namespace {

bool Exists(const std::string& path, struct stat* status) noexcept {
  return Uninterrupted([&] { return Files().PathStatus(path.c_str(), status); }) == 0;
}

/// The names in a folder, in no order; without any, `errno` tells why.
std::vector<std::string> NamesIn(const std::string& folder) {
  std::vector<std::string> names;
  const int listed = Uninterrupted([&] {
    names.clear();
    return Files().ListFolder(folder.empty() ? "." : folder.c_str(), &names);
  });
  if (listed != 0) {
    names.clear();
  }
  if (listed == 0 || errno == EACCES) { // A folder that may not be read holds no name in another case.
    errno = ENOENT;
  }
  return names;
}

/// The name on disk of a component that has no file of its exact spelling. Empty, with `errno` set, when there is
/// none or the folder cannot be read.
std::string FindName(const std::string& folder, const std::string& component) {
  const std::u16string wanted = MultiByteToWideChar(component);
  std::string exact;
  std::string caseless;
  for (const std::string& name : NamesIn(folder)) {
    if (lstrcmpiA(name, component) != 0) {
      continue;
    }
    std::string& found = MultiByteToWideChar(name) == wanted ? exact : caseless;
    if (found.empty() || name < found) {
      found = name;
    }
  }
  return exact.empty() ? caseless : exact;
}

/// Looks below a folder for a path in UTF-8, as most programs write names, then by its bytes as they are.
bool FindAsSpelled(const std::string& folder, const std::string& path, std::string* found, struct stat* status) {
  const std::string utf8 = NarrowToUtf8(path);
  for (const std::string& spelling : {folder + utf8, folder + path}) {
    if (Exists(spelling, status)) {
      *found = spelling;
      return true;
    }
    if (utf8 == path || !NamesNothing()) {
      break;
    }
  }
  return false;
}

/// Appends one component to a folder that is on disk. False when the folder holds no such name.
bool Descend(const std::string& component, std::string* found, struct stat* status) {
  if (FindAsSpelled(*found, component, found, status)) {
    return true;
  }
  const std::string name = NamesNothing() ? FindName(*found, component) : std::string();
  if (name.empty()) {
    return false;
  }
  *found += name;
  return Exists(*found, status);
}

/// Walks a path that is not on disk as it stands from component to component.
bool Walk(std::string path, std::string* resolved, struct stat* status) {
  std::replace(path.begin(), path.end(), '\\', '/');
  std::string found;
  std::size_t position = 0;
  // In most cases only the last name is spelled differently.
  if (const std::size_t last = path.rfind('/');
      last != std::string::npos && FindAsSpelled("", path.substr(0, last + 1), &found, status)) {
    position = last + 1;
  }
  while (position < path.size()) {
    const std::size_t separator = std::min(path.find('/', position), path.size());
    const std::string component = path.substr(position, separator - position);
    if (!component.empty() && !Descend(component, &found, status)) {
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
  return found.back() != '/' || Exists(found, status); // Only a folder may end so.
}

} // namespace

bool NamesNothing() noexcept { return errno == ENOENT || errno == ENOTDIR || errno == ENAMETOOLONG; }

bool FindOnDisk(const std::string& path, std::string* resolved, struct stat* status) {
  return FindAsSpelled("", path, resolved, status) || FindRespelled(path, resolved, status);
}

bool FindRespelled(const std::string& path, std::string* resolved, struct stat* status) {
  if (NamesNothing() && Walk(path, resolved, status)) {
    return true;
  }
  KeepSystemError();
  return false;
}

std::string PathOfNewFile(const std::string& path) {
  const std::size_t name = PathFindFileNameA(path);
  std::string folder = path.substr(0, name);
  struct stat status {};
  if (!folder.empty() && !FindOnDisk(folder, &folder, &status)) {
    return path;
  }
  return folder + NarrowToUtf8(path.substr(name));
}

std::string FirstMatch(const std::string& folder, const std::string& pattern) {
  std::string wanted = pattern == "*.*" ? "*" : pattern; // Names need no dot to fit the pattern for all.
  for (std::size_t at = wanted.find('['); at != std::string::npos; at = wanted.find('[', at + 3)) {
    wanted.replace(at, 1, "[[]"); // Brackets are no wildcards here.
  }
  std::string first;
  for (const std::string& name : NamesIn(folder)) {
    if (::fnmatch(wanted.c_str(), name.c_str(), FNM_NOESCAPE) == 0 && (first.empty() || name < first)) {
      first = name;
    }
  }
  return first;
}

} // namespace platform
