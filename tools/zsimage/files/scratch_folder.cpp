#include "files/scratch_folder.h"

#include <cstdlib>
#include <filesystem>

#include "output/failure.h"

ScratchFolder::ScratchFolder() {
  std::error_code ignored;
  m_path = std::filesystem::temp_directory_path(ignored).string() + "/zsimage-XXXXXX";
  if (mkdtemp(m_path.data()) == nullptr) {
    throw Failure(m_path, "a temporary folder cannot be created; set TMPDIR to a writable folder", E_FAIL);
  }
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(m_path, ignored);
}
