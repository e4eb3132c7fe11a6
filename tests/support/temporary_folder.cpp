#include "support/temporary_folder.h"

#include <stdlib.h>

#include <fstream>
#include <iterator>
#include <stdexcept>

TemporaryFolder::TemporaryFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "imagefile-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) {
    throw std::runtime_error("no temporary folder: " + pattern);
  }
  m_folder = pattern;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(m_folder, ignored);
}

std::string TemporaryFolder::Write(std::string_view name, std::string_view content) const {
  const std::filesystem::path path = m_folder / name;
  std::filesystem::create_directories(path.parent_path());
  std::ofstream file(path, std::ios::binary);
  file.exceptions(std::ios::failbit | std::ios::badbit);
  file << content << std::flush;
  return path.string();
}

std::string TemporaryFolder::Write(std::string_view name, const std::vector<BYTE>& content) const {
  return Write(name, std::string_view(reinterpret_cast<const char*>(content.data()), content.size()));
}

std::string TemporaryFolder::WriteSparse(std::string_view name, UHYPER size) const {
  std::string path = Write(name, std::string_view());
  std::filesystem::resize_file(path, size);
  return path;
}

std::string TemporaryFolder::Read(std::string_view name) const {
  std::ifstream file(m_folder / name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}
