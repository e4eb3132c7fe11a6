#include "builders/mpeg_stream.h"
#include "tools/tool_run.h"

namespace {

TEST(RealInput, GenisoimageIso) {
  const TemporaryFolder folder;
  folder.Write("tree/file", std::string(300000, 'x'));
  const ToolResult made = RunShellIn(folder, "genisoimage -quiet -r -o real.iso tree");
  if (made.status == 127) {
    GTEST_SKIP() << made.err;
  }
  ImageRecord record(folder.Path("real.iso"));
  ASSERT_EQ(S_OK, record.Result()) << made.err;
  EXPECT_EQ(std::filesystem::file_size(folder.Path("real.iso")) / 2048, ULONG{record.Track(0).dwEndLBA});
  EXPECT_EQ(0, RunTool(folder, "check real.iso").status);
}

TEST(RealInput, VcdimagerVideoCd) {
  const TemporaryFolder folder;
  folder.Write("clip.mpg", MpegStream(300));
  const ToolResult made = RunShellIn(folder, "vcdimager -t vcd2 -c disc.cue -b disc.bin clip.mpg");
  if (made.status == 127) {
    GTEST_SKIP() << made.err;
  }
  ImageRecord record(folder.Path("disc.cue"));
  ASSERT_EQ(S_OK, record.Result()) << made.err;
  EXPECT_TRUE(record->ZSTYPEPROJECT == ZSTYPEPROJECT_VIDEO);
  EXPECT_EQ(24, USHORT{record->nSubCount});
  ASSERT_EQ(2U, UINT{record.Sheet().nTracks});
  EXPECT_TRUE(record.Track(0).Mode == ZSMODE_2 && record.Track(1).Mode == ZSMODE_2);
  EXPECT_EQ(std::filesystem::file_size(folder.Path("disc.bin")) / 2352, ULONG{record.Track(1).dwEndLBA});
  EXPECT_EQ(150, LONG{record.Track(1).Pregap});
  EXPECT_EQ(0, RunTool(folder, "check --full disc.cue").status);
}

} // namespace
