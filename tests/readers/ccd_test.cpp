#include <algorithm>

#include "builders/byte_writer.h"
#include "builders/ccd_builder.h"
#include "readers/reader_checks.h"

namespace {

const std::string kText = CcdText(kThreeTracks);
const std::string kWhole = "1: 0-20, 2: 23-48 pregap 3 | 1: 11298-11318";

/// The description with texts for the disc and for the tracks of the first session.
std::string TextWithPacks() {
  ByteWriter packs;
  packs.Byte(0x80).Zeros(3).Text("ALBUM", 6).Text("FIRST", 6).Zeros(2);
  packs.Byte(0x80).Byte(2).Zeros(2).Text("SECOND", 12).Zeros(2);
  return WithPacks(kText, packs.Get());
}

TEST(Ccd, JudgesEachValue) {
  const TemporaryFolder folder;
  const struct {
    const char* section;
    const char* key;
    const char* value; ///< Null takes the key away.
    std::string outcome = kWhole;
  } cases[] = {
      {"Disc", "Sessions", nullptr, "ZSE_BADIMAGE"},
      {"Disc", "Sessions", "1", "ZSE_BADIMAGE"},
      {"Disc", "Sessions", "99", kWhole + " of 99 sessions"},
      {"Disc", "Sessions", "100", "ZSE_OUTOFRESOURCES"},
      {"Entry 2", "Session", "0", "ZSE_BADIMAGE"},
      {"Entry 2", "Session", "100", "ZSE_BADIMAGE"},
      {"Entry 2", "Session", "99"},
      {"Entry 2", "PLBA", "500", "1: 0-20, 2: 23-500 pregap 3 | 1: 11298-11318"},
      {"Entry 3", "Session", "0", "ZSE_BADIMAGE"},
      {"Entry 3", "PLBA", "7", "1: 7-20, 2: 23-48 pregap 3 | 1: 11298-11318"}, // Counts for an index 1 of 0.
      {"Entry 3", "Point", nullptr, "ZSE_BADIMAGE"},                           // The first session stays empty.
      {"Entry 3", "Point", "-5"},
      {"Entry 3", "Point", "99"},
      {"Entry 4", "Point", "100", "1: 0-48 | 1: 23-11318 pregap 3"}, // No track, so that the sections move up.
      // Without a lead-out between them, the last track of a session ends where the next one begins.
      {"Entry 7", "Point", "0xB0", "1: 0-20, 2: 23-11298 pregap 3 | 1: 11298-48"},
      {"Entry 8", "Point", nullptr, "1: 0-20, 2: 23-48 pregap 3 of 2 sessions"}, // A gap ends the entries.
      {"TRACK 1", "INDEX 0", "-2147483648", "1: 0-20 pregap -2147483648, 2: 23-48 pregap 3 | 1: 11298-11318"},
      {"TRACK 1", "INDEX 1", ""},
      {"TRACK 2", "INDEX 0", nullptr, "1: 0-23, 2: 23-48 | 1: 11298-11318"},
      {"TRACK 2", "INDEX 0", "0x0A", "1: 0-10, 2: 23-48 pregap 13 | 1: 11298-11318"},
      {"TRACK 3", "INDEX 1", "-1", "ZSE_BADIMAGE"},
      {"TRACK 1", "MODE", "1", "1: 0-20 mode 1, 2: 23-48 pregap 3 | 1: 11298-11318"},
      {"TRACK 3", "MODE", "2", "1: 0-20, 2: 23-48 pregap 3 | XA 1: 11298-11318 mode 4"},
      {"TRACK 1", "MODE", "3", "ZSE_BADIMAGE"},
      {"TRACK 3", "FLAGS", " DCP 4CHPRE", kWhole + " flags 7"},
      {"TRACK 3", "ISRC", "USRC17607839", kWhole + " ISRC USRC17607839"},
  };
  for (const auto& [section, key, value, outcome] : cases) {
    SCOPED_TRACE(std::string(section) + "/" + key + "=" + (value == nullptr ? "(none)" : value));
    EXPECT_EQ(outcome, Outcome(folder.Write("a.ccd", value == nullptr ? WithoutKey(kText, section, key)
                                                                      : WithValue(kText, section, key, value))));
  }
  EXPECT_EQ("", Outcome(folder.Write("a.ccd", "[Disc]\nSessions=0\n")));
  EXPECT_EQ("ZSE_BADIMAGE", Outcome(folder.Write("a.ccd", WithValue(WithValue(kText, "Disc", "Sessions", "99"),
                                                                    "Entry 3", "Session", "100"))));
  folder.Write("a.sub", "");
  EXPECT_EQ(kWhole + " mask 4", Outcome(folder.Write("a.ccd", kText)));
}

/// What a description with packs comes to.
std::string WithTitles(const std::string& album, const std::string& first, const std::string& second) {
  return "1: 0-20" + first + ", 2: 23-48 pregap 3" + second + album + " | 1: 11298-11318 mask 1";
}

TEST(Ccd, DecodesPacksWrittenInHexadecimal) {
  const TemporaryFolder folder;
  const std::string all = WithTitles(" album ALBUM", " title FIRST", " title SECOND");
  const std::string firstPack = WithTitles(" album ALBUM", " title FIRST", "");
  const struct {
    const char* section;
    const char* key;
    const char* value;
    std::string outcome;
  } cases[] = {
      {"CDText", "Entries", "2", all},
      {"CDText", "Entries", "1", firstPack},
      {"CDText", "Entries", "2048", all}, // Writing stops at the block's end.
      {"CDText", "Entries", "2049", kWhole},
      {"CDText", "Entries", "-2", kWhole},
      {"Disc", "CDTextLength", "20", firstPack},
      {"Disc", "CDTextLength", "17", kWhole},
      {"Disc", "CDTextLength", "-36", kWhole},
      {"Disc", "CDTextLength", "36864", all},
      {"Disc", "CDTextLength", "36865", kWhole},
      {"CDText", "Entry 1", "80 02 00 00 41 62 xx 64", WithTitles(" album ALBUM", " title FIRST", " title Ab")},
      {"CDText", "Entry 1", "80  2 00 00 41 142", WithTitles(" album ALBUM", " title FIRST", " title AB")},
  };
  for (const auto& [section, key, value, outcome] : cases) {
    SCOPED_TRACE(std::string(key) + "=" + value);
    EXPECT_EQ(outcome, Outcome(folder.Write("a.ccd", WithValue(TextWithPacks(), section, key, value))));
  }
}

TEST(Ccd, LackOfMemoryForTextsCostsTheTextsAlone) {
  const TemporaryFolder folder;
  const std::vector<std::string> outcomes = ReadWithoutMemory(folder.Write("a.ccd", TextWithPacks()), "1: 0-20");
  EXPECT_GE(std::count(outcomes.begin(), outcomes.end(), kWhole),
            3); // Of the packs as text, as bytes, and their table.
}

TEST(Ccd, SurvivesEveryCut) { ExpectNoCutHurts("a.ccd", TextWithPacks()); }

} // namespace
