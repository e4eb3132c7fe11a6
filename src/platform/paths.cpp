#include "platform/paths.h"

#include <algorithm>

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
