// Makes the images for bench/compare.sh. Usage: make_disc FOLDER ISO
//
//   data.cue, data.bin     the ISO image as one raw mode 1 track
//   album.cue, album.bin   99 audio tracks with texts
//   album.nrg              30 audio tracks; libcdio aborts on chunks of more than 4096 bytes

#include <fstream>

#include "builders/nrg_builder.h"
#include "builders/sectors.h"
#include "support/discs.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    return 2;
  }
  const std::string folder = std::string(argv[1]) + "/";
  std::ifstream iso(argv[2], std::ios::binary);
  std::ofstream data(folder + "data.bin", std::ios::binary);
  std::vector<BYTE> user(2048);
  for (ULONG lba = 0; iso.read(reinterpret_cast<char*>(user.data()), 2048); ++lba) {
    const std::vector<BYTE> sector = Sector(ZSMODE_1, 2352, lba, user);
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
