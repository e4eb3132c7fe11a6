/// @file
/// Files of one test.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "platform/base_types.h"

/// A new empty folder that goes away with all it holds.
class TemporaryFolder {
public:
  TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder();

  /// The path of a name in the folder.
  std::string Path(std::string_view name) const { return (m_folder / name).string(); }

  /// Writes a file, with folders above it, and gives its path.
  std::string Write(std::string_view name, std::string_view content) const;
  std::string Write(std::string_view name, const std::vector<BYTE>& content) const;
  /// A sparse file of zeros.
  std::string WriteSparse(std::string_view name, UHYPER size) const;
  /// The bytes of a file.
  std::string Read(std::string_view name) const;

private:
  std::filesystem::path m_folder;
};
