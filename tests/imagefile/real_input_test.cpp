// Images from independent makers. A test that lacks its maker is skipped.
#include <gtest/gtest.h>

#include <cstdlib>

#include "builders/mpeg_stream.h"
#include "support/services.h"
#include "support/temporary_folder.h"

namespace {

bool HasProgram(const std::string& name) {
  return std::system(("command -v " + name + " > /dev/null 2>&1").c_str()) == 0;
}

bool RunIn(const TemporaryFolder& folder, const std::string& command) {
  return std::system(("cd '" + folder.Path("") + "' && " + command + " > log 2>&1").c_str()) == 0;
}

TEST(RealInput, IsoFromGenisoimage) {
  if (!HasProgram("genisoimage")) {
    GTEST_SKIP() << "genisoimage is not installed";
  }
  const TemporaryFolder folder;
  folder.Write("tree/file", std::string(300000, 'x'));
  ASSERT_TRUE(RunIn(folder, "genisoimage -quiet -r -o real.iso tree")) << folder.Read("log");
  const std::string iso = folder.Read("real.iso");
  ImageRecord record(folder.Path("real.iso"));
  ASSERT_EQ(S_OK, record.Result());
  EXPECT_EQ("CD001", iso.substr(16 * 2048 + 1, 5));
  EXPECT_EQ("1: 0-" + std::to_string(iso.size() / 2048) + " pregap 0 mode 1 size 2048/2048 flags 0 index  at 0",
            Describe(record.Track(0)));
}

TEST(RealInput, VideoCdFromVcdimager) {
  if (!HasProgram("vcdimager")) {
    GTEST_SKIP() << "vcdimager is not installed";
  }
  const TemporaryFolder folder;
  folder.Write("clip.mpg", MpegStream(300));
  ASSERT_TRUE(RunIn(folder, "vcdimager -t vcd2 -c disc.cue -b disc.bin clip.mpg")) << folder.Read("log");
  ImageRecord record(folder.Path("disc.cue"));
  ASSERT_EQ(S_OK, record.Result());
  EXPECT_TRUE(record->ZSTYPEPROJECT == ZSTYPEPROJECT_VIDEO);
  EXPECT_EQ(24, USHORT{record->nSubCount});
  ASSERT_GE(UINT{record.Sheet().nTracks}, 2U);
  const ULONG sectors = static_cast<ULONG>(std::filesystem::file_size(folder.Path("disc.bin")) / 2352);
  for (UINT i = 0; i < record.Sheet().nTracks; ++i) {
    EXPECT_TRUE(record.Track(i).Mode == ZSMODE_2) << i;
  }
  EXPECT_EQ(sectors, ULONG{record.Track(record.Sheet().nTracks - 1).dwEndLBA});
  EXPECT_EQ(150, LONG{record.Track(1).Pregap});
}

} // namespace
