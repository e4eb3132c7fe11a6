// The whole road of a request, on a folder of companions that are cut out of the input.
#include "support/folder_format.h"
#include "support/harness.h"

FUZZ(input) {
  fuzz::Run run(input.size());
  const std::vector<fuzz::FolderFile> files = fuzz::CutFolder(input);
  for (const fuzz::FolderFile& file : files) {
    run.Files().Add(file.name, file.bytes, file.size);
  }
  if (!files.empty()) {
    fuzz::CheckImage(&run, files.front().name);
  }
}
