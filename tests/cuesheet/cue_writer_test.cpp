// Sheets as CUE text: the lines to the byte, and the way back through the parser.
#include <gtest/gtest.h>

#include <random>

#include "cuesheet/cue_parser.h"
#include "disc/track_table.h"
#include "foundation/strings.h"
#include "support/services.h"
#include "support/temporary_folder.h"

namespace {

ZSTRACK* AddTrack(TestSheet& sheet, ZSMODETYPE mode, ULONG start, LONG pregap = 0, ULONG blockSize = 2352) {
  ZSTRACK* track = AppendTrack(sheet.Get());
  track->TNO = sheet->nTracks;
  track->dwLBA = start;
  track->Pregap = pregap;
  SetMode(sheet.Get(), track, mode);
  SetBlockSize(track, blockSize);
  return track;
}

HRESULT Write(const std::string& path, TestSheet& sheet) {
  return NewCueSheetService()->CreateCueFile(Wide(path).get(), sheet.Get());
}

TEST(CueWriter, WritesASmallSheet) {
  const TemporaryFolder folder;
  TestSheet sheet;
  AddTrack(sheet, ZSMODE_AUDIO, 150, 150);
  ASSERT_EQ(S_OK, Write(folder.Path("disc.cue"), sheet));
  EXPECT_EQ("FILE \"DISC.BIN\" BINARY\r\n"
            "  TRACK 01 AUDIO\r\n"
            "    INDEX 00 00:00:00\r\n"
            "    INDEX 01 00:02:00\r\n",
            folder.Read("disc.cue"));
}

TEST(CueWriter, WritesEachLineWhereItApplies) {
  const TemporaryFolder folder;
  TestSheet sheet;
  sheet->ZSCDTEXT.CDTextPresent = VARIANT_TRUE;
  sheet->ZSCDTEXT.bstrMCN = NewBstr("12345678901234567890");
  ZSTRACK* track = AddTrack(sheet, ZSMODE_1, 0, 150, 2048);
  track->Flags = 0xFF;
  track->bstrISRC = NewBstr("DEA0101000011234");
  AddTrack(sheet, ZSMODE_AUDIO, 0, 150)->Flags = 0x08;
  AddTrack(sheet, ZSMODE_2_FORM2, 449849, 0, 2336)->Flags = ZSTRACKFLAG_PRE;
  AddTrack(sheet, ZSMODE_UNKNOWN, 449850)->TNO = 100;
  AddTrack(sheet, static_cast<ZSMODETYPE>(2), 4575);
  AddTrack(sheet, ZSMODE_AUDIO, 4575, 75)->bstrISRC = SysAllocStringLen(u"", 0);
  ASSERT_EQ(S_OK, Write(folder.Path("a.cue.cue"), sheet));
  EXPECT_EQ("CATALOG \"1234567890123\"\r\n"
            "CDTEXTFILE \"A.CUE.CDT\"\r\n"
            "FILE \"A.BIN.BIN\" BINARY\r\n"
            "  TRACK 01 MODE1/2048\r\n    ISRC DEA010100001\r\n    FLAGS DCP PRE 4CH \r\n    INDEX 01 00:00:00\r\n"
            "  TRACK 02 AUDIO\r\n    INDEX 01 00:00:00\r\n"
            "  TRACK 03 MODE2/2336\r\n    FLAGS PRE \r\n    INDEX 01 99:57:74\r\n"
            "  TRACK 100 MODE2/2352\r\n    INDEX 01 255:255:255\r\n"
            "  TRACK 05 \r\n    INDEX 01 01:01:00\r\n"
            "  TRACK 06 AUDIO\r\n    INDEX 00 01:00:00\r\n    INDEX 01 01:01:00\r\n",
            folder.Read("a.cue.cue"));
}

TEST(CueWriter, TakesOnlyTrueForPresenceAndReplacesFiles) {
  const TemporaryFolder folder;
  const std::string path = folder.Write("disc.txt", "much longer than what replaces it ................");
  TestSheet sheet;
  sheet->ZSCDTEXT.CDTextPresent = 1;
  sheet->ZSCDTEXT.bstrMCN = SysAllocStringLen(u"", 0);
  ASSERT_EQ(S_OK, Write(path, sheet));
  EXPECT_EQ("FILE \"DISC.TXT\" BINARY\r\n", folder.Read("disc.txt"));
  EXPECT_EQ(E_FAIL, Write(folder.Path("missing/disc.cue"), sheet));
  EXPECT_EQ(E_FAIL, Write("", sheet));
}

TEST(CueWriter, ComesBackThroughTheParser) {
  std::mt19937 random(7);
  const auto number = [&random](ULONG from, ULONG to) {
    return std::uniform_int_distribution<ULONG>(from, to)(random);
  };
  for (int round = 0; round < 50; ++round) {
    const TemporaryFolder folder;
    TestSheet sheet;
    ULONG position = 0;
    const ULONG tracks = number(1, 99);
    for (ULONG i = 0; i < tracks; ++i) {
      const auto mode = std::array{ZSMODE_AUDIO, ZSMODE_1, ZSMODE_2}[number(0, 2)];
      // Index 0 is written for audio alone, and the parser leaves it out for the first track.
      const LONG pregap = mode == ZSMODE_AUDIO && i > 0 ? static_cast<LONG>(number(0, 300)) : 0;
      position += static_cast<ULONG>(pregap);
      ZSTRACK* track = AddTrack(sheet, mode, position, pregap);
      track->Flags = static_cast<LONG>(number(0, 7));
      track->bstrISRC = number(0, 1) == 0 ? nullptr : NewBstr("DEA01" + std::to_string(number(1000000, 9999999)));
      position += number(300, 4000);
      track->dwEndLBA = position;
    }
    folder.WriteSparse("DISC.BIN", UHYPER{position} * 2352);
    ASSERT_EQ(S_OK, Write(folder.Path("disc.cue"), sheet));
    TestSheet back;
    ASSERT_EQ(S_OK, ParseCueSheet(folder.Path("disc.cue"), back.Get()));
    ASSERT_EQ(tracks, back->nTracks);
    for (ULONG i = 0; i < tracks; ++i) {
      const auto fields = [](const ZSTRACK& track) {
        return std::tuple(UINT{track.TNO}, ULONG{track.dwLBA}, ULONG{track.dwEndLBA}, LONG{track.Pregap},
                          int{track.Mode}, int{track.BlockSize}, LONG{track.Flags}, Narrow(track.bstrISRC));
      };
      EXPECT_EQ(fields(sheet.Track(i)), fields(back.Track(i))) << i;
    }
  }
}

} // namespace
