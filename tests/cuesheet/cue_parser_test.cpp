#include "cuesheet/cue_parser.h"

#include "support/test.h"

namespace {

constexpr char kFile[] = "FILE \"disc.bin\" BINARY\r\n";
constexpr char kNoTrack[] = "0: 0-0 size 0/0";

/// A sheet with a data file of zeros in its folder.
class ReadSheet : public TestSheet {
public:
  explicit ReadSheet(const std::string& text, UHYPER size = 100 * 2352) {
    const TemporaryFolder folder;
    folder.WriteSparse("disc.bin", size);
    const std::string path = folder.Write("disc.cue", text);
    EXPECT_EQ(S_OK, NewCueSheetService()->AnalyzeCueSheet(Wide(path).get(), Get()));
  }
};

void ExpectTracks(const std::string& text, UHYPER size, const std::vector<std::string>& tracks) {
  EXPECT_EQ(tracks, Describe(*ReadSheet(kFile + text, size).Get()));
}

TEST(CueParser, IndexesBecomePositions) {
  // Index 0 is dropped in the first track, and at position 0 in any track. Indexes above 1 are listed and nothing more.
  ExpectTracks(
      "TRACK 01 AUDIO\nINDEX 00 00:00:00\nINDEX 01 00:00:01\nTRACK 02 AUDIO\nINDEX 00 00:00:00\nINDEX 01 00:02:00\n"
      "TRACK 03 MODE1\nINDEX 00 10:00:00\nINDEX 01 10:02:00\nINDEX 02 10:03:00\nINDEX 05 10:04:00\n"
      "TRACK 04 AUDIO\nINDEX 01 10:10:00\n",
      50000 * 2352,
      {"1: 1-150 index -,1", "2: 150-45000 index 0,150 at 350448",
       "3: 45150-45750 pregap 150 mode 1 size 2048/2048 index 45000,45150,45225,45300 at 105837648",
       "4: 45750-50096 index -,45750 at 107066448"});
  std::string many = std::string(kFile) + "TRACK 01 AUDIO\n" + Times(300, "INDEX 02 00:00:07\n");
  EXPECT_EQ(255, ReadSheet(many).Track(0).nCountIndex) << "the count has 8 bits";
}

TEST(CueParser, PregapMovesLaterTracks) {
  // Only starts move. Indexes, pregaps and byte offsets stay. See "PREGAP" in docs/compatibility.md.
  ExpectTracks("TRACK 01 AUDIO\nFLAGS dcp 4CH\nINDEX 01 00:00:00\nTRACK 02 AUDIO\nPREGAP 00:02:00\nINDEX 01 20:00:00\n"
               "FILE \"other.bin\" BINARY\nTRACK 03 AUDIO\nFLAGS SCMS PRE\nINDEX 01 30:00:00\n",
               200000 * 2352,
               {"1: 0-90000 flags 5 index -,0", "2: 90150-135000 index -,90000 at 211680000",
                "3: 135150-200000 flags 2 index -,135000 at 317167200"});
}

TEST(CueParser, ModesHaveSectorSizes) {
  ExpectTracks("TRACK 1 mode1/2048\nINDEX 1 0:0:0\nTRACK 2 MODE1\nINDEX 1 0:0:10\nTRACK 3 MODE2/2324\nINDEX 1 0:0:20\n"
               "TRACK 4 MODE2/2336\nINDEX 1 0:0:30\nTRACK 5 MODE2/0\nINDEX 1 0:0:40\nTRACK 6 CDG\nINDEX 1 0:0:50\n",
               2048 * 60,
               {"1: 0-10 mode 1 size 2048/2048 index -,0", "2: 10-20 mode 1 size 2048/2048 index -,10 at 20480",
                "3: 20-30 mode 4 size 2324/2048 index -,20 at 40960",
                "4: 30-40 mode 4 size 2336/2336 index -,30 at 64200",
                "5: 40-50 mode 4 size 2048/2048 index -,40 at 87560", "6: 50-0 size 0/0 index -,50 at 108040"});
}

TEST(CueParser, OtherSectorSizeShortensTheLastTrack) {
  // The sectors fill the file, but the sum leaves out one of each track. See "last track" in docs/compatibility.md.
  ExpectTracks("TRACK 1 MODE1/2048\nINDEX 1 0:0:0\nTRACK 2 AUDIO\nINDEX 1 0:0:10\n", 10 * 2048 + 128 * 2352,
               {"1: 0-10 mode 1 size 2048/2048 index -,0", "2: 10-137 index -,10 at 20480"});
}

TEST(CueParser, BadLinesChangeNoOtherTrack) {
  constexpr UHYPER kSize = 100 * 2352;
  ExpectTracks("REM nothing here\n", kSize, {});
  // Lines before the first track, one of them with "TRACK" in a name, and numbers that the table does not have.
  ExpectTracks("FILE \"Track 01.bin\" BINARY\nISRC ABCDE1234567\nFLAGS DCP\nINDEX 01 00:01:00\n"
               "TRACK 07 AUDIO\nFLAGS DCP\nINDEX 01 00:01:00\nTRACK -1 AUDIO\nINDEX 01 00:01:00\n"
               "TRACK 02 AUDIO\nINDEX 01 00:00:00\nTRACK 00 AUDIO\nINDEX 01 00:01:00\n",
               kSize, {kNoTrack, "2: 0-0 index -,0", kNoTrack, kNoTrack});
  // A line that does not scan keeps the track or the number before it. Numbers wider than 32 bits wrap.
  ExpectTracks("TRACK 4294967297 AUDIO\nINDEX 01 00:00:05\nREM TRACK LIST\nINDEX\nINDEX 02\nINDEX 03 01-00\n"
               "INDEX 04 0:1.7\n",
               kSize, {"1: 5-100 index -,5,5,5,4505,80"});
  // A long line is read in pieces of which the last one is a track.
  ExpectTracks(std::string(254 * 80, 'x') + "TRACK 01 AUDIO\nINDEX 01 00:00:03\n", kSize, {"1: 3-100 index -,3"});
}

TEST(CueParser, TextsAndCodesAreUpperCase) {
  // A text with a keyword is applied as a line of that keyword. See "keywords" in docs/compatibility.md.
  const ReadSheet sheet(
      std::string("CATALOG \"1234567890123\"\nTITLE \"The \"Best\" of\"\nrem genre Prog Rock \t\r\n"
                  "REM COMMENT \"first\"\nMESSAGE second\nSONGWRITER \"half open\nCOMPOSER \"\"\n") +
      kFile +
      "TRACK 01 AUDIO\nPERFORMER'S TITLE \"caf\xC3\xA9\"\nPERFORMER \"caf\xE9\"\nISRC abcde12345678\n"
      "ARRANGER \"x\"\nARRANGER \"\"\nMESSAGE \"Track list\"\nINDEX 01 00:00:00\nTRACK 09 AUDIO\nTITLE \"nowhere\"\n");
  const std::vector<std::string> expected = {"1234567890123|THE \"BEST\" OF|-|-|HALF OPEN|-|PROG ROCK|SECOND",
                                             "ABCDE1234567|CAF\xC9|CAF\xC9|-|-|-|-|-", "-|-|-|-|-|-|-|-"};
  EXPECT_EQ(expected, Texts(*sheet.Get()));
  EXPECT_EQ(0, +sheet->ZSCDTEXT.CDTextPresent);
}

TEST(CueParser, DataFileIsFoundAndMeasured) {
  const TemporaryFolder folder;
  std::string odd(100001, '\0');
  folder.Write("odd.bin", odd);
  folder.Write("signed.bin", odd.replace(0x8001, 5, "CD001"));
  folder.WriteSparse("even.bin", 2048);
  folder.WriteSparse("UPPER.BIN", 2048);
  // Name and text of a sheet, its data file, and the result of reading it.
  const std::tuple<const char*, std::string, std::string, HRESULT> kCases[] = {
      {"a.cue", "cdtextfile \"x.cdt\"\nREM file \"even.bin\"\nFILE \"odd.bin\"\n", folder.Path("EVEN.BIN"), S_OK},
      {"a.cue", "FILE \"no end\nFILE \"EVEN.BIN\" BINARY\n", folder.Path("EVEN.BIN"), S_OK},
      {"a.cue", "FILE \"odd.bin\"\n", folder.Path("ODD.BIN"), ZSE_BADIMAGE},
      {"a.cue", "FILE \"signed.bin\"\n", folder.Path("SIGNED.BIN"), S_OK},
      {"a.cue", "FILE \"sub\\even.bin\"\n", "SUB\\EVEN.BIN", ZSE_CANNOTOPENIMAGE}, // A path is kept.
      {"a.cue", "FILE \"/abs/b.bin\"\n", "/ABS/B.BIN", ZSE_CANNOTOPENIMAGE},
      {"a.cue", "FILE \"\"\n", folder.Path(""), S_OK},                  // The folder itself, with size 0.
      {"a.cue", "FILE \"*.BIN\"\n", folder.Path("*.BIN"), S_OK},        // The first match is measured.
      {"a.cue", "FILE even.bin\n", folder.Path("a.cue"), ZSE_BADIMAGE}, // The sheet itself.
      {"a.cue.txt", "FILE \"even.bin\"\n", folder.Path("EVEN.BIN"), S_OK},
      {"a.txt", "FILE \"even.bin\"\n", folder.Path("a.txt"), ZSE_BADIMAGE},
  };
  const ComPtr<IZSCueSheet> service = NewCueSheetService();
  const auto analyze = [&](const std::string& path, UINT tracks) {
    const TestSheet sheet;
    const HRESULT result = service->AnalyzeCueSheet(Wide(path).get(), sheet.Get());
    EXPECT_EQ(result == S_OK ? tracks : 0, UINT{sheet->nTracks}) << path;
    return result;
  };
  const auto binaryFile = [&](const std::string& path) {
    BSTR file = nullptr;
    EXPECT_EQ(S_OK, service->GetBinaryFile(Wide(path).get(), &file));
    return Narrow(UniqueBstr(file).get());
  };
  for (const auto& [name, text, file, result] : kCases) {
    const std::string path = folder.Write(name, text + "TRACK 01 AUDIO\n");
    EXPECT_EQ(file, binaryFile(path)) << text;
    EXPECT_EQ(result, analyze(path, 1)) << text;
  }
  EXPECT_EQ("missing.cue", binaryFile("missing.cue"));
  const std::string sheet = folder.Write("a.cue", "FILE \"even.bin\"\n" + std::string(20000, '\n'));
  EXPECT_EQ(S_OK, analyze(sheet, 0));
  FaultyFiles files;
  files.failing = "Open";
  EXPECT_EQ(S_OK, analyze(folder.Path("odd.bin"), 1)) << "a file that does not open passes";
  files.failing = "Seek";
  EXPECT_EQ(ZSE_BADIMAGE, analyze(folder.Path("signed.bin"), 1));
  EXPECT_EQ(ZSE_FILENOTFOUND, analyze(sheet, 0)) << "the second pass cannot read it";
}

/// Returns the start of a raw sector with these bytes from the mode byte on.
std::string RawStart(std::string_view fromMode) { return std::string(15, '\0').append(fromMode); }

TEST(PlainImage, SizeAndFirstBytesDecideTheTrack) {
  const std::tuple<const char*, std::string, UHYPER, std::string> kCases[] = {
      {"a size that fits sectors of 2048 and of 2352", "", 301056, "0-147 mode 1 size 2048/2048"},
      {"an empty file", "", 0, "0-0 mode 1 size 2048/2048"},
      {"silence", "", 2352, "0-1"},
      {"mode 1", RawStart("\1"), 2352, "0-1 mode 1"},
      {"form 2", RawStart({"\2\0\0\x20\0\0\0\x20\0", 9}), 2352, "0-1 mode 5"},
      {"sub-headers that differ", RawStart({"\2\0\0\x20\0\0\0\x21\0", 9}), 2352, "0-1 mode 4"},
      {"form 1", RawStart({"\2\0\0\x08\0\0\0\x08\0", 9}), 2352, "0-1 mode 4"},
      {"mode 2 without headers", "", 2336 * 3, "0-3 mode 4 size 2336/2336"},
      {"odd size with a descriptor", std::string(0x8001, '\0') + "CD001", 100001, "0-0 mode 1 size 0/0"},
  };
  const TemporaryFolder folder;
  for (const auto& [what, start, size, track] : kCases) {
    const std::string path = folder.Write("plain.iso", start);
    std::filesystem::resize_file(path, size);
    const TestSheet sheet;
    EXPECT_EQ(S_OK, NewCueSheetService()->AnalyzeCueSheet(Wide(path).get(), sheet.Get())) << what;
    EXPECT_EQ(std::vector{"1: " + track}, Describe(*sheet.Get())) << what;
  }
}

} // namespace
