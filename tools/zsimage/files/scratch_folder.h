/// @file
/// A temporary folder.
#pragma once

#include <string>

/// A new folder in TMPDIR, removed with its content.
class ScratchFolder {
public:
  /// @throws Failure if it cannot be created.
  ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  ~ScratchFolder();

  std::string Path(const std::string& name) const { return m_path + "/" + name; }

private:
  std::string m_path;
};
