// The choice of a reader and of companions. The input is a folder of files (support/folder_format.h), of which the
// first is read.
#include "support/folder_format.h"
#include "support/harness.h"

FUZZ(input) {
  fuzz::Run run(input.size());
  const std::vector<fuzz::FolderFile> files = fuzz::ParseFolder(input);
  for (const fuzz::FolderFile& file : files) {
    run.Files().Add(file.name, file.bytes, file.size);
  }
  if (!files.empty()) {
    fuzz::CheckImage(&run, files.front().name);
  }
}
