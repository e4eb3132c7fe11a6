// Compares the component with libcue on the same sheet. This is a separate program, since libcue and libcdio define
// a function of the same name. Usage: compare_libcue FOLDER, a folder that make_disc filled.

#include <cstdio>
#include <fstream>
#include <iterator>
#include <utility>

#include "support/discs.h"
#include "support/memory_files.h"
#include "support/rounds.h"

extern "C" {
#include <libcue/libcue.h>
}

namespace {

void ReadWithComponent(IZSCueSheet* sheets, BSTR name) {
  ZSCUESHEET* sheet = nullptr;
  sheets->AllocCueSheet(&sheet);
  if (sheets->AnalyzeCueSheet(name, sheet) != S_OK || sheet->nTracks != 99) {
    ExitWithError("cannot read the sheet");
  }
  sheets->FreeZSCueSheet(sheet, VARIANT_TRUE);
}

void CheckAndFree(Cd* disc) {
  if (disc == nullptr || cd_get_ntrack(disc) != 99) {
    ExitWithError("libcue cannot read the sheet");
  }
  cd_delete(disc);
}

/// Compares reading a sheet from disk. The component also looks up and opens the files beside the sheet; libcue does
/// not.
void CompareFiles(const std::string& path) {
  const ComPtr<IZSCueSheet> sheets = CueSheets();
  const UniqueBstr name = Wide(path);
  CompareRounds(
      "sheet of 99 tracks, from disk (libcue)", 201, [&] { ReadWithComponent(sheets.Get(), name.get()); },
      [&] {
        FILE* file = std::fopen(path.c_str(), "r");
        Cd* disc = cue_parse_file(file);
        std::fclose(file);
        CheckAndFree(disc);
      });
}

/// Compares reading a sheet from memory. Neither library makes a system call.
void CompareTexts(const std::string& path) {
  std::ifstream file(path);
  const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  const ComPtr<IZSCueSheet> sheets = CueSheets();
  const UniqueBstr name = Wide(std::string(fuzz::kFolder) + "ALBUM.CUE");
  fuzz::MemoryFiles memory;
  memory.Add("ALBUM.CUE", text);
  memory.Add("ALBUM.BIN", "", UHYPER{99} * 2352 * 20);
  FileOperations*& files = ProcessEnvironment().files;
  FileOperations* const before = std::exchange(files, &memory);
  CompareRounds(
      "sheet of 99 tracks, in memory (libcue)", 201, [&] { ReadWithComponent(sheets.Get(), name.get()); },
      [&] { CheckAndFree(cue_parse_string(text.c_str())); });
  files = before;
}

} // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    return 2;
  }
  CompareTexts(std::string(argv[1]) + "/album.cue");
  CompareFiles(std::string(argv[1]) + "/album.cue");
  return 0;
}
