// Makes the images that programs are compared on. Usage: make_disc FOLDER MEGABYTES
//
//   data.cue, data.bin     one raw mode 1 track of that size
//   album.cue, album.bin   99 audio tracks with their text
//   album.nrg              30 audio tracks; libcdio stops the program for chunks of more than 4096 bytes

#include <cstdlib>
#include <fstream>

#include "builders/nrg_builder.h"
#include "builders/sectors.h"
#include "support/discs.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    return 2;
  }
  const std::string folder = std::string(argv[1]) + "/";
  const ULONG sectors = static_cast<ULONG>(std::strtoul(argv[2], nullptr, 10)) * 1000000 / 2352;
  std::ofstream data(folder + "data.bin", std::ios::binary);
  for (ULONG lba = 0; lba < sectors; ++lba) {
    const std::vector<BYTE> sector = Sector(ZSMODE_1, 2352, lba, UserData(lba));
    data.write(reinterpret_cast<const char*>(sector.data()), static_cast<std::streamsize>(sector.size()));
  }
  WriteFile(folder + "data.cue", "FILE \"data.bin\" BINARY\n  TRACK 01 MODE1/2352\n    INDEX 01 00:00:00\n");

  const DiscPlan album{{PlannedSession(99)}, ""};
  const std::vector<BYTE> audio = DiscSectors(album);
  const std::vector<BYTE> nero = NrgImage({{PlannedSession(30)}, ""});
  WriteFile(folder + "album.cue", CueText("album.bin", 99));
  WriteFile(folder + "album.bin", std::string_view(reinterpret_cast<const char*>(audio.data()), audio.size()));
  WriteFile(folder + "album.nrg", std::string_view(reinterpret_cast<const char*>(nero.data()), nero.size()));
  return data.flush() ? 0 : 1;
}
