/// @file
/// A folder for the files of one test.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "platform/base_types.h"

/// A new empty folder. The destructor removes it with its contents.
class TemporaryFolder {
public:
  TemporaryFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "imagefile-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
      throw std::runtime_error("no temporary folder: " + pattern);
    }
    m_folder = pattern;
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_folder, ignored);
  }

  std::string Path(std::string_view name) const { return (m_folder / name).string(); }

  /// Writes a file and creates the folders above it. Returns its path.
  std::string Write(std::string_view name, std::string_view content) const {
    const std::filesystem::path path = m_folder / name;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary);
    file.exceptions(std::ios::failbit | std::ios::badbit);
    file << content << std::flush;
    return path.string();
  }
  std::string Write(std::string_view name, const std::vector<BYTE>& content) const {
    return Write(name, std::string_view(reinterpret_cast<const char*>(content.data()), content.size()));
  }
  /// Writes a sparse file of `size` zeros in the same way.
  std::string WriteSparse(std::string_view name, UHYPER size) const {
    std::string path = Write(name, std::string_view());
    std::filesystem::resize_file(path, size);
    return path;
  }

  /// Returns the bytes of a file; empty if there is none.
  std::string Read(std::string_view name) const {
    std::ifstream file(m_folder / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }

private:
  std::filesystem::path m_folder;
};
