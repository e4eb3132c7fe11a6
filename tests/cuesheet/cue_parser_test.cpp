#include "cuesheet/cue_parser.h"

#include <gtest/gtest.h>

#include "support/services.h"
#include "support/temporary_folder.h"

namespace {

constexpr UHYPER kRaw = 2352;

/// A sheet beside a data file of so many bytes of zeros.
class SheetOnDisk {
public:
  SheetOnDisk(std::string_view text, UHYPER size) {
    m_folder.WriteSparse("disc.bin", size);
    m_path = m_folder.Write("disc.cue", text);
  }
  HRESULT Analyze() { return NewCueSheetService()->AnalyzeCueSheet(Wide(m_path).get(), m_sheet.Get()); }
  TestSheet& Sheet() noexcept { return m_sheet; }

private:
  TemporaryFolder m_folder;
  std::string m_path;
  TestSheet m_sheet;
};

constexpr char kFile[] = "FILE \"disc.bin\" BINARY\r\n";

TEST(CueParser, PlacesTracks) {
  const struct {
    const char* what;
    const char* text;
    UHYPER size;
    std::vector<std::string> tracks;
  } kCases[] = {
      {"pregap by index 0",
       "TRACK 01 AUDIO\nINDEX 01 00:00:00\nTRACK 02 AUDIO\nINDEX 00 10:00:00\nINDEX 01 10:02:00\n",
       50000 * kRaw,
       {"1: 0-45000 pregap 0 mode 0 size 2352/2352 flags 0 index -,0 at 0",
        "2: 45150-50000 pregap 150 mode 0 size 2352/2352 flags 0 index 45000,45150 at 105840000"}},
      {"index 0 of the first track leaves no trace",
       "TRACK 01 AUDIO\nINDEX 00 00:00:00\nINDEX 01 00:02:00\n",
       1000 * kRaw,
       {"1: 150-1000 pregap 0 mode 0 size 2352/2352 flags 0 index -,150 at 0"}},
      {"index 0 at the very start counts as absent",
       "TRACK 01 AUDIO\nINDEX 01 00:00:00\nTRACK 02 AUDIO\nINDEX 00 00:00:00\nINDEX 01 00:02:00\n",
       1000 * kRaw,
       {"1: 0-150 pregap 0 mode 0 size 2352/2352 flags 0 index -,0 at 0",
        "2: 150-1000 pregap 0 mode 0 size 2352/2352 flags 0 index 0,150 at 352800"}},
      {"PREGAP lines move every later start",
       "TRACK 01 AUDIO\nINDEX 01 00:00:00\nTRACK 02 AUDIO\nPREGAP 00:02:00\nINDEX 01 20:00:00\n"
       "TRACK 03 AUDIO\nINDEX 01 30:00:00\n",
       200000 * kRaw,
       {"1: 0-90000 pregap 0 mode 0 size 2352/2352 flags 0 index -,0 at 0",
        "2: 90150-135000 pregap 0 mode 0 size 2352/2352 flags 0 index -,90000 at 211680000",
        "3: 135150-200000 pregap 0 mode 0 size 2352/2352 flags 0 index -,135000 at 317167200"}},
      {"higher indexes only add entries",
       "TRACK 01 AUDIO\nINDEX 01 00:00:00\nINDEX 02 00:01:00\nINDEX 05 00:02:00\n",
       1000 * kRaw,
       {"1: 0-1000 pregap 0 mode 0 size 2352/2352 flags 0 index -,0,75,150 at 0"}},
      {"kinds of tracks",
       "TRACK 1 mode1/2048\nINDEX 1 0:0:0\nTRACK 2 MODE1\nINDEX 1 0:0:10\nTRACK 3 MODE2/2324\nINDEX 1 0:0:20\n"
       "TRACK 4 MODE2/2336\nINDEX 1 0:0:30\nTRACK 5 MODE2/0\nINDEX 1 0:0:40\nTRACK 6 CDG\nINDEX 1 0:0:50\n",
       2048 * 60,
       {"1: 0-10 pregap 0 mode 1 size 2048/2048 flags 0 index -,0 at 0",
        "2: 10-20 pregap 0 mode 1 size 2048/2048 flags 0 index -,10 at 20480",
        "3: 20-30 pregap 0 mode 4 size 2324/2048 flags 0 index -,20 at 40960",
        "4: 30-40 pregap 0 mode 4 size 2336/2336 flags 0 index -,30 at 64200",
        "5: 40-50 pregap 0 mode 4 size 2048/2048 flags 0 index -,40 at 87560",
        "6: 50-0 pregap 0 mode 0 size 0/0 flags 0 index -,50 at 108040"}},
      {"flags, each word of them",
       "TRACK 01 AUDIO\nFLAGS dcp 4CH\nINDEX 01 00:00:00\nTRACK 02 AUDIO\nFLAGS PRE\nINDEX 01 00:01:00\n",
       100 * kRaw,
       {"1: 0-75 pregap 0 mode 0 size 2352/2352 flags 5 index -,0 at 0",
        "2: 75-100 pregap 0 mode 0 size 2352/2352 flags 2 index -,75 at 176400"}},
      {"a second file goes on in the same positions",
       "TRACK 01 AUDIO\nINDEX 01 00:00:00\nFILE \"other.bin\" BINARY\nTRACK 02 AUDIO\nINDEX 01 00:01:00\n",
       100 * kRaw,
       {"1: 0-75 pregap 0 mode 0 size 2352/2352 flags 0 index -,0 at 0",
        "2: 75-100 pregap 0 mode 0 size 2352/2352 flags 0 index -,75 at 176400"}},
      {"no track at all", "REM nothing here\n", 100 * kRaw, {}},
  };
  for (const auto& test : kCases) {
    SheetOnDisk disk(std::string(kFile) + test.text, test.size);
    EXPECT_EQ(S_OK, disk.Analyze()) << test.what;
    EXPECT_EQ(test.tracks, Describe(*disk.Sheet().Get())) << test.what;
  }
}

TEST(CueParser, WritesNothingOutsideItsTable) {
  const struct {
    const char* what;
    const char* text;
    std::vector<std::string> tracks;
  } kCases[] = {
      {"lines before the first track, one of them a file with the word in its name",
       "FILE \"Track 01.bin\" BINARY\nISRC ABCDE1234567\nFLAGS DCP\nINDEX 01 00:01:00\n"
       "TRACK 01 AUDIO\nINDEX 01 00:00:00\n",
       {"1: 0-100 pregap 0 mode 0 size 2352/2352 flags 0 index -,0 at 0"}},
      {"numbers that the table does not have",
       "TRACK 07 AUDIO\nFLAGS DCP\nINDEX 01 00:01:00\nTRACK -1 AUDIO\nINDEX 01 00:01:00\n"
       "TRACK 02 AUDIO\nINDEX 01 00:00:00\nTRACK 00 AUDIO\nINDEX 01 00:01:00\n",
       {"0: 0-0 pregap 0 mode 0 size 0/0 flags 0 index  at 0",
        "2: 0-0 pregap 0 mode 0 size 2352/2352 flags 0 index -,0 at 0",
        "0: 0-0 pregap 0 mode 0 size 0/0 flags 0 index  at 0", "0: 0-0 pregap 0 mode 0 size 0/0 flags 0 index  at 0"}},
      {"a number that does not scan keeps the track before",
       "TRACK 01 AUDIO\nINDEX 01 00:00:00\nREM TRACK LIST\nINDEX 02 00:00:10\n",
       {"1: 0-100 pregap 0 mode 0 size 2352/2352 flags 0 index -,0,10 at 0"}},
      {"numbers of one line stand for what the next leaves out",
       "TRACK 01 AUDIO\nINDEX 01 00:00:05\nINDEX\nINDEX 02\n",
       {"1: 5-100 pregap 0 mode 0 size 2352/2352 flags 0 index -,5,5,5 at 0"}},
      {"numbers wider than 32 bits wrap",
       "TRACK 4294967297 AUDIO\nINDEX 01 00:00:00\n",
       {"1: 0-100 pregap 0 mode 0 size 2352/2352 flags 0 index -,0 at 0"}},
  };
  for (const auto& test : kCases) {
    SheetOnDisk disk(std::string(kFile) + test.text, 100 * kRaw);
    EXPECT_EQ(S_OK, disk.Analyze()) << test.what;
    EXPECT_EQ(test.tracks, Describe(*disk.Sheet().Get())) << test.what;
  }
}

TEST(CueParser, StopsIndexTablesAtWhatTheirCountHolds) {
  std::string text = std::string(kFile) + "TRACK 01 AUDIO\n";
  for (int i = 0; i < 300; ++i) {
    text += "INDEX 02 00:00:07\n";
  }
  SheetOnDisk disk(text, 100 * kRaw);
  EXPECT_EQ(S_OK, disk.Analyze());
  EXPECT_EQ(255, disk.Sheet().Track(0).nCountIndex);
}

TEST(CueParser, TakesTextAndCodes) {
  SheetOnDisk disk(std::string("CATALOG \"1234567890123\"\nTITLE \"The \"Best\" of\"\nrem genre Prog Rock \t\r\n"
                               "REM COMMENT \"first\"\nMESSAGE second\nSONGWRITER \"half open\nCOMPOSER \"\"\n") +
                       kFile +
                       "TRACK 01 AUDIO\nTITLE \"caf\xC3\xA9\"\nPERFORMER \"caf\xE9\"\nISRC abcde12345678\n"
                       "ARRANGER \"x\"\nARRANGER \"\"\nINDEX 01 00:00:00\n",
                   100 * kRaw);
  EXPECT_EQ(S_OK, disk.Analyze());
  const ::ZSCDTEXT& text = disk.Sheet()->ZSCDTEXT;
  EXPECT_EQ("1234567890123", Narrow(text.bstrMCN));
  EXPECT_EQ("THE \"BEST\" OF", Narrow(text.bstrTitle));
  EXPECT_EQ("PROG ROCK", Narrow(text.bstrGenre));
  EXPECT_EQ("SECOND", Narrow(text.bstrMessage));
  EXPECT_EQ("HALF OPEN", Narrow(text.bstrSongwriter));
  EXPECT_TRUE(text.bstrComposer == nullptr);
  EXPECT_TRUE(text.CDTextPresent == 0);
  const ZSTRACK& track = disk.Sheet().Track(0);
  EXPECT_EQ("CAF\xC9", Narrow(track.bstrTitle));
  EXPECT_EQ("CAF\xC9", Narrow(track.bstrPerformer));
  EXPECT_EQ("ABCDE1234567", Narrow(track.bstrISRC));
  EXPECT_TRUE(track.bstrArranger == nullptr);
}

TEST(CueParser, LongLinesArriveInPieces) {
  // The piece behind 254 characters is a line of its own, and here it is a track.
  SheetOnDisk disk(kFile + std::string(254, ' ') + "TRACK 01 AUDIO\nINDEX 01 00:00:03\n", 100 * kRaw);
  EXPECT_EQ(S_OK, disk.Analyze());
  EXPECT_EQ(1U, UINT{disk.Sheet()->nTracks});
}

TEST(CueParser, ReportsWhatIsWrong) {
  const TemporaryFolder folder;
  folder.WriteSparse("odd.bin", 100001);
  folder.WriteSparse("even.bin", 2048);
  std::string signedFile(100001, '\0');
  signedFile.replace(0x8001, 5, "CD001");
  folder.Write("signed.bin", signedFile);
  const struct {
    const char* text;
    HRESULT result;
    UINT tracks;
  } kCases[] = {
      {"FILE \"missing.bin\"\nTRACK 01 AUDIO\n", ZSE_CANNOTOPENIMAGE, 0},
      {"FILE \"odd.bin\"\nTRACK 01 AUDIO\n", ZSE_BADIMAGE, 0},
      {"FILE \"signed.bin\"\nTRACK 01 AUDIO\nINDEX 01 00:00:00\n", S_OK, 1},
      {"FILE even.bin\nTRACK 01 AUDIO\n", ZSE_BADIMAGE, 0}, // Without quotes the sheet itself is measured.
      {"CDTEXTFILE \"x.cdt\"\nFILE \"EVEN.BIN\"\n", S_OK, 0},
      {"FILE \"sub\\even.bin\"\n", ZSE_CANNOTOPENIMAGE, 0}, // Not joined to the sheet's folder.
  };
  for (const auto& test : kCases) {
    TestSheet sheet;
    const std::string path = folder.Write("sheet.cue", test.text);
    EXPECT_EQ(test.result, NewCueSheetService()->AnalyzeCueSheet(Wide(path).get(), sheet.Get())) << test.text;
    EXPECT_EQ(test.tracks, UINT{sheet->nTracks}) << test.text;
  }
}

TEST(BinaryFile, IsTheFirstOneNamedOrThePathItself) {
  const TemporaryFolder folder;
  const struct {
    const char* sheet;
    const char* text;
    std::string file;
  } kCases[] = {
      {"a.cue", "cdtextfile \"x.cdt\"\nREM file \"first.bin\"\nFILE \"second.bin\"\n", folder.Path("FIRST.BIN")},
      {"a.cue", "FILE \"no end\nFILE \"b.bin\" BINARY", folder.Path("B.BIN")},
      {"a.cue", "FILE \"dir\\b.bin\"\n", "DIR\\B.BIN"},
      {"a.cue", "FILE \"/abs/b.bin\"\n", "/ABS/B.BIN"},
      {"a.cue", "FILE \"\"\n", folder.Path("")},
      {"a.cue", "nothing\n", folder.Path("a.cue")},
      {"a.cue.txt", "FILE \"b.bin\"\n", folder.Path("B.BIN")},
      {"a.txt", "FILE \"b.bin\"\n", folder.Path("a.txt")},
  };
  const ComPtr<IZSCueSheet> service = NewCueSheetService();
  for (const auto& test : kCases) {
    BSTR file = nullptr;
    EXPECT_EQ(S_OK, service->GetBinaryFile(Wide(folder.Write(test.sheet, test.text)).get(), &file));
    const UniqueBstr owned(file);
    EXPECT_EQ(test.file, Narrow(file)) << test.text;
  }
  BSTR file = nullptr;
  EXPECT_EQ(S_OK, service->GetBinaryFile(Wide(folder.Path("missing.cue")).get(), &file));
  EXPECT_EQ(folder.Path("missing.cue"), Narrow(UniqueBstr(file).get()));
}

/// The start of a raw sector with the given bytes from its mode byte on.
std::string RawStart(std::string_view fromMode) { return std::string(15, '\0').append(fromMode); }

TEST(PlainImage, IsOneTrackByItsSizeAndFirstBytes) {
  std::string iso(100001, '\0');
  iso.replace(0x8001, 5, "CD001");
  const struct {
    const char* what;
    std::string start;
    UHYPER size;
    const char* track;
  } kCases[] = {
      {"both sizes fit", "", 301056, "1: 0-147 pregap 0 mode 1 size 2048/2048 flags 0 index  at 0"},
      {"nothing", "", 0, "1: 0-0 pregap 0 mode 1 size 2048/2048 flags 0 index  at 0"},
      {"silence", "", 2352, "1: 0-1 pregap 0 mode 0 size 2352/2352 flags 0 index  at 0"},
      {"mode 1", RawStart("\1"), 2352, "1: 0-1 pregap 0 mode 1 size 2352/2352 flags 0 index  at 0"},
      {"form 2", RawStart({"\2\0\0\x20\0\0\0\x20\0", 9}), 2352,
       "1: 0-1 pregap 0 mode 5 size 2352/2352 flags 0 index  at 0"},
      {"copies differ", RawStart({"\2\0\0\x20\0\0\0\x21\0", 9}), 2352,
       "1: 0-1 pregap 0 mode 4 size 2352/2352 flags 0 index  at 0"},
      {"form 1", RawStart({"\2\0\0\x08\0\0\0\x08\0", 9}), 2352,
       "1: 0-1 pregap 0 mode 4 size 2352/2352 flags 0 index  at 0"},
      {"mode 2 without headers", "", 2336 * 3, "1: 0-3 pregap 0 mode 4 size 2336/2336 flags 0 index  at 0"},
      {"odd size with a descriptor", iso, 100001, "1: 0-0 pregap 0 mode 1 size 0/0 flags 0 index  at 0"},
  };
  for (const auto& test : kCases) {
    const TemporaryFolder folder;
    const std::string path = folder.Write("plain.iso", test.start);
    std::filesystem::resize_file(path, test.size);
    TestSheet sheet;
    EXPECT_EQ(S_OK, NewCueSheetService()->AnalyzeCueSheet(Wide(path).get(), sheet.Get())) << test.what;
    EXPECT_EQ(std::vector<std::string>{test.track}, Describe(*sheet.Get())) << test.what;
  }
}

} // namespace
