/// @file
/// A folder for the files of one test.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "platform/base_types.h"

/// A new empty folder. The destructor removes it with its contents.
class TemporaryFolder {
public:
  TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder();

  /// Returns the path of a file in the folder.
  std::string Path(std::string_view name) const { return (m_folder / name).string(); }

  /// Writes a file and creates the folders above it. Returns its path.
  std::string Write(std::string_view name, std::string_view content) const;
  std::string Write(std::string_view name, const std::vector<BYTE>& content) const;
  /// Writes a sparse file of `size` zeros in the same way.
  std::string WriteSparse(std::string_view name, UHYPER size) const;
  /// Returns the bytes of a file; empty if there is none.
  std::string Read(std::string_view name) const;

private:
  std::filesystem::path m_folder;
};
