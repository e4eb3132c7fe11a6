// Replaces sheet_of_files.cpp in a build without libcue.
#include "join/sheet_of_files.h"
#include "output/failure.h"

SheetOfFiles ReadSheetOfFiles(const Host& /*host*/, const std::string& path) {
  throw Failure(path, "this zsimage is built without libcue, so it cannot join files", E_NOTIMPL);
}
