/// @file
/// Temporary folders.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

#include "output/failure.h"
#include "output/interrupt.h"

/// A new folder in TMPDIR, which the destructor removes with its content.
class ScratchFolder {
public:
  /// @throws Failure if it cannot be created.
  ScratchFolder() : m_path(Pattern()) {
    if (mkdtemp(m_path.data()) == nullptr) {
      throw Failure(m_path, "a temporary folder cannot be created; set TMPDIR to a writable folder", E_FAIL);
    }
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
  }

  std::string Path(const std::string& name) const { return m_path + "/" + name; }

private:
  static std::string Pattern() {
    std::error_code ignored;
    return std::filesystem::temp_directory_path(ignored).string() + "/zsimage-XXXXXX";
  }

  InterruptWatch m_watch; ///< A signal must not end the process while the folder exists.
  std::string m_path;
};
