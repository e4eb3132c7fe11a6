#include "builders/byte_writer.h"
#include "builders/ccd_builder.h"
#include "readers/reader_checks.h"

namespace {

const std::string kText = CcdText(kThreeTracks);
const std::string kSummary = "1: 0-20, 2: 23-48 pregap 3 | 1: 11298-11318";

/// Returns the description with titles for the disc and for both tracks of the first session.
std::string TextWithPacks() {
  ByteWriter packs;
  packs.Byte(0x80).Zeros(3).Text("ALBUM", 6).Text("FIRST", 6).Zeros(2);
  packs.Byte(0x80).Byte(2).Zeros(2).Text("SECOND", 12).Zeros(2);
  return WithPacks(kText, packs.Get());
}

struct Case {
  const char* section;
  const char* key;
  const char* value; ///< Null removes the key.
  std::string summary = kSummary;
};

/// Reads a description with one change a case.
void ExpectSummaries(const std::vector<Case>& cases, const std::string& text = kText) {
  for (const auto& [section, key, value, summary] : cases) {
    SCOPED_TRACE(std::string(section) + "/" + key + "=" + (value == nullptr ? "(none)" : value));
    EXPECT_EQ(summary, ReadSummary("a.ccd", value == nullptr ? WithoutKey(text, section, key)
                                                             : WithValue(text, section, key, value)));
  }
}

TEST(Ccd, EachValueYieldsItsRecordOrError) {
  ExpectSummaries({
      {"Disc", "Sessions", nullptr, "ZSE_BADIMAGE"},
      {"Disc", "Sessions", "1", "ZSE_BADIMAGE"},
      {"Disc", "Sessions", "99", kSummary + " of 99 sessions"},
      {"Disc", "Sessions", "100", "ZSE_OUTOFRESOURCES"},
      {"Entry 2", "Session", "0", "ZSE_BADIMAGE"},
      {"Entry 2", "Session", "100", "ZSE_BADIMAGE"},
      {"Entry 2", "Session", "99"},
      {"Entry 2", "PLBA", "500", "1: 0-20, 2: 23-500 pregap 3 | 1: 11298-11318"},
      {"Entry 3", "Session", "0", "ZSE_BADIMAGE"},
      {"Entry 3", "PLBA", "7", "1: 7-20, 2: 23-48 pregap 3 | 1: 11298-11318"}, // Used if index 1 is 0.
      {"Entry 3", "Point", nullptr, "ZSE_BADIMAGE"},                           // The first session stays empty.
      {"Entry 3", "Point", "-5"},
      {"Entry 3", "Point", "99"},
      {"Entry 4", "Point", "100", "1: 0-48 | 1: 23-11318 pregap 3"}, // Not a track: the next one has its section.
      // Without a lead-out between sessions, a track ends where the next session begins.
      {"Entry 7", "Point", "0xB0", "1: 0-20, 2: 23-11298 pregap 3 | 1: 11298-48"},
      {"Entry 8", "Point", nullptr, "1: 0-20, 2: 23-48 pregap 3 of 2 sessions"}, // Entries end at the first gap.
      {"TRACK 1", "INDEX 0", "-2147483648", "1: 0-20 pregap -2147483648, 2: 23-48 pregap 3 | 1: 11298-11318"},
      {"TRACK 1", "INDEX 1", ""},
      {"TRACK 2", "INDEX 0", nullptr, "1: 0-23, 2: 23-48 | 1: 11298-11318"},
      {"TRACK 2", "INDEX 0", "0x0A", "1: 0-10, 2: 23-48 pregap 13 | 1: 11298-11318"},
      {"TRACK 3", "INDEX 1", "-1", "ZSE_BADIMAGE"},
      {"TRACK 1", "MODE", "1", "1: 0-20 mode 1, 2: 23-48 pregap 3 | 1: 11298-11318"},
      {"TRACK 3", "MODE", "2", "1: 0-20, 2: 23-48 pregap 3 | XA 1: 11298-11318 mode 4"},
      {"TRACK 1", "MODE", "3", "ZSE_BADIMAGE"},
      {"TRACK 3", "FLAGS", " DCP 4CHPRE", kSummary + " flags 7"},
      {"TRACK 3", "ISRC", "USRC17607839", kSummary + " ISRC USRC17607839"},
  });
  const TemporaryFolder folder;
  EXPECT_EQ("", ReadSummary("a.ccd", std::string("[Disc]\nSessions=0\n")));
  EXPECT_EQ("ZSE_BADIMAGE",
            ReadSummary("a.ccd", WithValue(WithValue(kText, "Disc", "Sessions", "99"), "Entry 3", "Session", "100")));
  folder.Write("a.sub", "");
  EXPECT_EQ(kSummary + " mask 4", ReadSummary(folder.Write("a.ccd", kText)));
}

/// Returns the summary of the description with texts.
std::string SummaryWith(const std::string& album, const std::string& first, const std::string& second) {
  return "1: 0-20" + first + ", 2: 23-48 pregap 3" + second + album + " | 1: 11298-11318 mask 1";
}

TEST(Ccd, PacksInHexadecimalBecomeTexts) {
  const std::string all = SummaryWith(" album ALBUM", " title FIRST", " title SECOND");
  const std::string firstPack = SummaryWith(" album ALBUM", " title FIRST", "");
  ExpectSummaries(
      {
          {"CDText", "Entries", "2", all},
          {"CDText", "Entries", "1", firstPack},
          {"CDText", "Entries", "2048", all}, // More entries than the length has room for.
          {"CDText", "Entries", "2049", kSummary},
          {"CDText", "Entries", "-2", kSummary},
          {"Disc", "CDTextLength", "20", firstPack},
          {"Disc", "CDTextLength", "17", kSummary},
          {"Disc", "CDTextLength", "-36", kSummary},
          {"Disc", "CDTextLength", "36864", all},
          {"Disc", "CDTextLength", "36865", kSummary},
          {"CDText", "Entry 1", "80 02 00 00 41 62 xx 64", SummaryWith(" album ALBUM", " title FIRST", " title Ab")},
          {"CDText", "Entry 1", "80  2 00 00 41 142", SummaryWith(" album ALBUM", " title FIRST", " title AB")},
      },
      TextWithPacks());
}

TEST(Ccd, EveryTruncationIsSafe) { ReadTruncations("a.ccd", TextWithPacks()); }

} // namespace
