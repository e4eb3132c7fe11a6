// The component beside libcue on the same sheet. Both libraries of disc images have a function of one name, so this
// is a program of its own. Usage: beside_libcue FOLDER, a folder that make_disc filled.

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

void Analyze(IZSCueSheet* sheets, BSTR name) {
  ZSCUESHEET* sheet = nullptr;
  sheets->AllocCueSheet(&sheet);
  if (sheets->AnalyzeCueSheet(name, sheet) != S_OK || sheet->nTracks != 99) {
    EndWith("the sheet does not read");
  }
  sheets->FreeZSCueSheet(sheet, VARIANT_TRUE);
}

void Finish(Cd* disc) {
  if (disc == nullptr || cd_get_ntrack(disc) != 99) {
    EndWith("libcue does not read the sheet");
  }
  cd_delete(disc);
}

/// The files that lie beside a sheet are looked for and into as well, which libcue does not do.
void CompareFiles(const std::string& path) {
  const ComPtr<IZSCueSheet> sheets = CueSheets();
  const UniqueBstr name = Wide(path);
  CompareRounds(
      "sheet of 99 tracks, from disk (libcue)", 201, [&] { Analyze(sheets.Get(), name.get()); },
      [&] {
        FILE* file = std::fopen(path.c_str(), "r");
        Cd* disc = cue_parse_file(file);
        std::fclose(file);
        Finish(disc);
      });
}

/// The same text without any call of the system on either side.
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
      "sheet of 99 tracks, in memory (libcue)", 201, [&] { Analyze(sheets.Get(), name.get()); },
      [&] { Finish(cue_parse_string(text.c_str())); });
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
