// The component beside libcue on the same sheet. Both libraries of disc images have a function of one name, so this
// is a program of its own. Usage: beside_libcue FOLDER, a folder that make_disc filled.

#include <cstdio>

#include "support/discs.h"
#include "support/rounds.h"

extern "C" {
#include <libcue/libcue.h>
}

namespace {

void CompareSheets(const std::string& path) {
  const ComPtr<IZSCueSheet> sheets = CueSheets();
  const UniqueBstr name = Wide(path);
  CompareRounds(
      "sheet of 99 tracks (libcue)", 201,
      [&] {
        ZSCUESHEET* sheet = nullptr;
        sheets->AllocCueSheet(&sheet);
        if (sheets->AnalyzeCueSheet(name.get(), sheet) != S_OK) {
          EndWith("the sheet does not read");
        }
        sheets->FreeZSCueSheet(sheet, VARIANT_TRUE);
      },
      [&] {
        FILE* file = std::fopen(path.c_str(), "r");
        Cd* disc = cue_parse_file(file);
        std::fclose(file);
        if (disc == nullptr) {
          EndWith("libcue does not read the sheet");
        }
        cd_delete(disc);
      });
}

} // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    return 2;
  }
  CompareSheets(std::string(argv[1]) + "/album.cue");
  return 0;
}
