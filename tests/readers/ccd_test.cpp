#include "builders/byte_writer.h"
#include "builders/ccd_builder.h"
#include "readers/reader_checks.h"

namespace {

using Lines = std::vector<std::string>;

const PlannedTrack kAudio{ZSMODE_AUDIO, 20, 0, 2352};
const PlannedTrack kAudioBehindPregap{ZSMODE_AUDIO, 25, 3, 2352};

/// Two audio tracks, then a session of one.
std::string Text() { return CcdText({{{kAudio, kAudioBehindPregap}, {kAudio}}}); }

std::vector<BYTE> Packs() {
  return ByteWriter()
      .Byte(0x80)
      .Zeros(3)
      .Text("ALBUM", 6)
      .Text("FIRST", 6)
      .Zeros(2)
      .Byte(0x80)
      .Byte(2)
      .Zeros(2)
      .Text("SECOND", 12)
      .Zeros(2)
      .Get();
}

class Ccd : public testing::Test {
protected:
  std::string Write(const std::string& text) const { return m_folder.Write("a.ccd", text); }

  TemporaryFolder m_folder;
};

TEST_F(Ccd, BuildsTracksFromTheTableOfContents) {
  const std::string leadIn = "[Disc]\nSessions=1\n[Entry 0]\nPoint=162\nSession=1\nPLBA=500\n";
  const std::string track1 = "[ENTRY 1]\nPoint=0x01\nSession=1\nPLBA=7\n[TRACK 1]\nMODE=0\nINDEX 1=0\n";
  const std::string track2 = "[Entry 2]\nPoint=99\nSession=1\nPLBA=9\n[Track 2]\nmode=2\n";
  struct {
    const char* name;
    std::string text;
    Lines lines;
  } const cases[] = {
      {"position of the entry for an index 1 of 0",
       leadIn + track1,
       {"1: 7-500 pregap 0 mode 0 size 2352/2352 flags 0 index  at 0"}},
      {"without index 0",
       leadIn + track1 + track2 + "index 1=100\n",
       {"1: 7-100 pregap 0 mode 0 size 2352/2352 flags 0 index  at 0",
        "2: 100-500 pregap 0 mode 4 size 2352/2352 flags 0 index  at 0"}},
      {"with index 0",
       leadIn + track1 + track2 + "INDEX 1=100\nINDEX 0=0x58\nFLAGS= DCP 4CHPRE\n",
       {"1: 7-88 pregap 0 mode 0 size 2352/2352 flags 0 index  at 0",
        "2: 100-500 pregap 12 mode 4 size 2352/2352 flags 7 index  at 0"}},
      {"points that are no tracks",
       leadIn + "[Entry 1]\nPoint=0xB0\n[Entry 2]\nPoint=0xc0\n[Entry 3]\nPoint=100\n" +
           "[Entry 4]\nPoint=1\nSession=1\nPLBA=7\n[TRACK 1]\nMODE=1\nINDEX 1=\n",
       {"1: 7-500 pregap 0 mode 1 size 2352/2352 flags 0 index  at 0"}},
      {"a gap in the entries ends them",
       leadIn + track1 + "[Entry 3]\nPoint=0\nSession=9\n",
       {"1: 7-500 pregap 0 mode 0 size 2352/2352 flags 0 index  at 0"}},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.name);
    ImageRecord record(Write(test.text));
    ASSERT_EQ(S_OK, record.Result());
    EXPECT_EQ(test.lines, Describe(record.Sheet()));
  }
}

TEST_F(Ccd, CountsTrackSectionsThroughTheSessions) {
  const std::string text = WithValue(WithValue(Text(), "TRACK 3", "ISRC", "USRC17607839"), "TRACK 2", "FLAGS", "PRE");
  ImageRecord record(Write(text));
  ASSERT_EQ(S_OK, record.Result());
  EXPECT_EQ((Lines{"1: 0-20 pregap 0 mode 0 size 2352/2352 flags 0 index  at 0",
                   "2: 23-48 pregap 3 mode 0 size 2352/2352 flags 2 index  at 0"}),
            Describe(record.Sheet(0)));
  EXPECT_EQ(Lines{"1: 11298-11318 pregap 0 mode 0 size 2352/2352 flags 0 index  at 0"}, Describe(record.Sheet(1)));
  EXPECT_EQ("USRC17607839", Narrow(record.Track(0, 1).bstrISRC));
  EXPECT_EQ(~UHYPER{0}, UHYPER{record->dwSeekEnd64});
  EXPECT_EQ(Write(text), Narrow(record->bstrImageBinaryFile));
  EXPECT_EQ(0, LONG{record->lMask});

  // Without the lead-out between the sessions the last track of the first ends where the next one begins.
  ASSERT_EQ(S_OK, record.Read(Write(WithValue(text, "Entry 7", "Point", "0xB0"))));
  EXPECT_EQ(11298U, ULONG{record.Track(1, 0).dwEndLBA});
  EXPECT_EQ(48U, ULONG{record.Track(0, 1).dwEndLBA});
}

TEST_F(Ccd, FindsCompanions) {
  m_folder.Write("a.img", "");
  m_folder.Write("a.sub", "");
  ImageRecord record(Write(Text()));
  ASSERT_EQ(S_OK, record.Result());
  EXPECT_EQ(m_folder.Path("a.IMG"), Narrow(record->bstrImageBinaryFile));
  EXPECT_EQ(ZSIMAGEMASK_SUBCHANNEL, LONG{record->lMask});
}

TEST_F(Ccd, JudgesEachValue) {
  struct {
    const char* section;
    const char* key;
    const char* value; ///< Null takes the key away.
    HRESULT result;
  } const cases[] = {
      {"Disc", "Sessions", nullptr, ZSE_BADIMAGE},
      {"Disc", "Sessions", "-2", ZSE_BADIMAGE},
      {"Disc", "Sessions", "", ZSE_BADIMAGE}, // 0, so that no entry has its session.
      {"Disc", "Sessions", "1", ZSE_BADIMAGE},
      {"Disc", "Sessions", "99", S_OK},
      {"Disc", "Sessions", "100", ZSE_OUTOFRESOURCES},
      {"Entry 2", "Session", "0", ZSE_BADIMAGE},
      {"Entry 2", "Session", "100", ZSE_BADIMAGE},
      {"Entry 2", "Session", "99", S_OK},
      {"Entry 3", "Session", "0", ZSE_BADIMAGE},
      {"Entry 3", "Session", "3", ZSE_BADIMAGE},
      {"Entry 3", "Session", nullptr, ZSE_BADIMAGE},
      {"Entry 3", "Point", nullptr, ZSE_BADIMAGE}, // The first session stays without a track.
      {"Entry 3", "Point", "-5", S_OK},
      {"TRACK 1", "INDEX 0", "-2147483648", S_OK},
      {"TRACK 1", "INDEX 1", nullptr, ZSE_BADIMAGE},
      {"TRACK 3", "INDEX 1", "-1", ZSE_BADIMAGE},
      {"TRACK 1", "MODE", nullptr, ZSE_BADIMAGE},
      {"TRACK 1", "MODE", "3", ZSE_BADIMAGE},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(std::string(test.section) + "/" + test.key + "=" + (test.value == nullptr ? "(none)" : test.value));
    ImageRecord record(Write(test.value == nullptr ? WithoutKey(Text(), test.section, test.key)
                                                   : WithValue(Text(), test.section, test.key, test.value)));
    EXPECT_EQ(test.result, record.Result());
    ExpectWholeOrEmpty(record);
  }
  ImageRecord empty(Write("[Disc]\nSessions=0\n"));
  EXPECT_EQ(S_OK, empty.Result());
  EXPECT_EQ(0, empty->nSessions);
}

TEST_F(Ccd, DecodesPacksWrittenInHexadecimal) {
  const std::string text = WithPacks(Text(), Packs());
  struct {
    const char* section;
    const char* key;
    const char* value;
    const char* album; ///< Null where the image goes without CD-Text.
    const char* second;
  } const cases[] = {
      {"CDText", "Entries", "2", "ALBUM", "SECOND"},
      {"CDText", "Entries", "1", "ALBUM", "(null)"},
      {"CDText", "Entries", "2000", "ALBUM", "SECOND"}, // Writing stops at the block's end.
      {"CDText", "Entries", "2147483647", nullptr, "(null)"},
      {"CDText", "Entries", "-2", nullptr, "(null)"},
      {"Disc", "CDTextLength", "54", "ALBUM", "SECOND"},
      {"Disc", "CDTextLength", "20", "ALBUM", "(null)"},
      {"Disc", "CDTextLength", "17", nullptr, "(null)"},
      {"Disc", "CDTextLength", "-36", nullptr, "(null)"},
      {"Disc", "CDTextLength", "2147483647", nullptr, "(null)"},
      {"CDText", "Entry 1", "80 02 00 00 41 62 xx 64", "ALBUM", "Ab"},
      {"CDText", "Entry 1", "80  2 00 00 41 142", "ALBUM", "AB"},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(std::string(test.key) + "=" + test.value);
    ImageRecord record(Write(WithValue(text, test.section, test.key, test.value)));
    ASSERT_EQ(S_OK, record.Result());
    EXPECT_EQ(test.album == nullptr ? 0 : ZSIMAGEMASK_CDTEXT, LONG{record->lMask});
    EXPECT_EQ(test.album == nullptr ? "(null)" : test.album, Narrow(record.Sheet().ZSCDTEXT.bstrTitle));
    EXPECT_EQ(test.second, Narrow(record.Track(1).bstrTitle));
    EXPECT_EQ("(null)", Narrow(record.Track(0, 1).bstrTitle));
  }
}

TEST_F(Ccd, SurvivesEveryCut) { ExpectNoCutHurts(m_folder, "a.ccd", WithPacks(Text(), Packs())); }

} // namespace
