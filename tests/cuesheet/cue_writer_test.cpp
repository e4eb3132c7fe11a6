#include "support/test.h"

namespace {

ZSTRACK* AddTrack(TestSheet& sheet, ZSMODETYPE mode, ULONG start, LONG pregap = 0, ULONG blockSize = 2352) {
  ZSTRACK* track = AppendTrack(sheet.Get(), start, 0, pregap, blockSize);
  SetMode(sheet.Get(), track, mode);
  return track;
}

HRESULT Write(const std::string& path, const TestSheet& sheet) {
  return NewCueSheetService()->CreateCueFile(Wide(path).get(), sheet.Get());
}

TEST(CueWriter, LinesDependOnTheTrack) {
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
  const TestSheet empty;
  empty->ZSCDTEXT.CDTextPresent = 1; // Only VARIANT_TRUE counts.
  empty->ZSCDTEXT.bstrMCN = SysAllocStringLen(u"", 0);
  ASSERT_EQ(S_OK, Write(folder.Write("disc.txt", "longer than the new text, which replaces it"), empty));
  EXPECT_EQ("FILE \"DISC.TXT\" BINARY\r\n", folder.Read("disc.txt"));
  EXPECT_EQ(E_FAIL, Write(folder.Path("missing/disc.cue"), sheet));
  EXPECT_EQ(E_FAIL, Write("", sheet));
  EXPECT_EQ(S_OK, Write("/dev/full", sheet)) << "failed writes are not reported; see docs/compatibility.md";
}

} // namespace
