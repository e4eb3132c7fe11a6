// Packs into texts: which text lands where, and what ends or damages a scan.
#include <gtest/gtest.h>

#include <algorithm>

#include "cdtext/decoder.h"
#include "disc/track_table.h"
#include "support/services.h"
#include "support/temporary_folder.h"

namespace {

using namespace std::string_literals;

/// One pack without a CRC, which decoding does not need. Texts are ended by '/' here.
std::string Pack(int type, int track, std::string text, int block = 0) {
  std::replace(text.begin(), text.end(), '/', '\0');
  text.resize(kPackTextSize);
  return std::string{static_cast<char>(type), static_cast<char>(track), 0, static_cast<char>(block)} + text + "\0\0"s;
}

/// A sheet with tracks, and what decoding leaves in it.
class DecodedSheet : public TestSheet {
public:
  DecodedSheet(UINT tracks, std::string packs) {
    AllocateTracks(Get(), tracks);
    Decode(std::move(packs));
  }
  void Decode(std::string packs) {
    EXPECT_EQ(S_OK, NewCueSheetService()->AnalyzeCDTextFromData(reinterpret_cast<BYTE*>(packs.data()),
                                                                static_cast<UINT>(packs.size()), Get()));
  }
  bool HasText() const { return Get()->ZSCDTEXT.CDTextPresent == VARIANT_TRUE; }
  /// The disc's text and those of the tracks, with '|' between them and '-' for none.
  std::string Texts(TextField field = TextField::Title) const {
    const auto shown = [](BSTR text) { return text == nullptr ? "-" : Narrow(text); };
    std::string texts = shown(TextOf(Get()->ZSCDTEXT, field));
    for (UINT i = 0; i < Get()->nTracks; ++i) {
      texts += "|" + shown(TextOf(Track(i), field));
    }
    return texts;
  }
};

TEST(CDTextDecoder, EndsTextsByPlace) {
  constexpr int kDouble = 0x80;
  constexpr int kSecondBlock = 0x10;
  struct Case {
    const char* what;
    UINT tracks;
    std::string packs;
    std::string texts;
    TextField field = TextField::Title;
  };
  const Case cases[] = {
      {"disc and tracks in a row", 3, Pack(0x80, 0, "ALBUM/T1/T2/") + Pack(0x80, 3, "T3///////"), "ALBUM|T1|T2|T3"},
      {"a text over three packs", 1,
       Pack(0x80, 0, "ABCDEFGHIJKL") + Pack(0x80, 0, "MNOPQRSTUVWX") + Pack(0x80, 0, "Y/One/"),
       "ABCDEFGHIJKLMNOPQRSTUVWXY|One"},
      {"a track left out moves the next one down", 3, Pack(0x80, 0, "A/T1/T3/"), "A|T1|T3|-"},
      {"an empty text holds the place", 3, Pack(0x80, 0, "A/T1//T3/"), "A|T1|-|T3"},
      {"the first block wins, the second fills", 2,
       Pack(0x80, 0, "A//B/") + Pack(0x81, 0, "P/") + Pack(0x80, 0, "X/Y/Z/", kSecondBlock), "A|Y|B"},
      {"double-byte from the start", 1, Pack(0x80, 0, "A/B/", kDouble) + Pack(0x80, 0, "C/D/"), "-|-"},
      {"double-byte ends the scan", 1, Pack(0x80, 0, "A/") + Pack(0x80, 0, "X/", kDouble) + Pack(0x80, 1, "B/"), "A|-"},
      {"the extension flag is ignored", 2, Pack(0x80, 0x81, "T1/T2/"), "-|T1|T2"},
      {"tracks from 100 on are counted and dropped", 3, Pack(0x80, 99, "X/Y/Z/V/W/") + Pack(0x80, 1, "B/"), "-|B|-|-"},
      {"without tracks only the disc has a text", 0, Pack(0x80, 0, "A/B/"), "A"},
      {"a text without end", 1, Pack(0x80, 0, "A/B"), "A|B"},
      {"a text that no pack ends", 1, Pack(0x80, 0, "A/LONGLONGLO"), "A|-"},
      {"packs of other types", 1,
       Pack(0x86, 0, "ID/") + Pack(0x8D, 0, "Closed/") + Pack(0x8E, 0, "123/ISRC/") + Pack(0x8F, 0, "\1\1\1\1") +
           Pack(0x80, 0, "A/B/"),
       "A|B"},
      {"bytes behind the last pack", 1, Pack(0x80, 0, "A/B/") + "\0rest"s, "A|B"},
      {"one byte short of a pack", 1, Pack(0x80, 0, "A/B/").substr(0, 17), "-|-"},
      {"one genre per pack", 1, Pack(0x87, 0, "Pop/Rock/"), "Pop|-", TextField::Genre},
      {"the tail of a genre", 1, Pack(0x87, 0, "Pop/Rock and") + Pack(0x87, 1, "Roll/"), "Pop|Roll", TextField::Genre},
      {"a binary genre code", 0, Pack(0x87, 0, "/\2Pop/"), "-", TextField::Genre},
  };
  for (const Case& c : cases) {
    const DecodedSheet sheet(c.tracks, c.packs);
    EXPECT_EQ(c.texts, sheet.Texts(c.field)) << c.what;
    EXPECT_EQ(c.packs.size() >= kPackSize, sheet.HasText()) << c.what;
  }
  DecodedSheet sheet(2, Pack(0x80, 0, "A/B/C/"));
  sheet.Decode(Pack(0x80, 1, "New/"));
  EXPECT_EQ("A|New|C", sheet.Texts()) << "only what the packs say is replaced, and freed";
}

TEST(CDTextDecoder, ReadsAllBlocksOfALargeDisc) {
  // Eight full blocks of texts that do not end on pack borders; the last one alone names the performer.
  std::string packs;
  for (int i = 0; i < 8 * 255; ++i) {
    packs += Pack(0x80, 0, i % 5 == 4 ? "ends/x" : "runs on and ", i / 255 << 4);
  }
  packs += Pack(0x81, 0, "/Last/", 7 << 4) + Pack(0x81, 1, "Last/");
  EXPECT_EQ("-|Last", DecodedSheet(1, packs).Texts(TextField::Performer));
  std::string endless = Pack(0x80, 0, "A/bcdefghijk");
  for (int i = 0; i < 600; ++i) {
    endless += Pack(0x80, 0, "abcdefghijkl");
  }
  EXPECT_EQ("A|-", DecodedSheet(1, endless + Pack(0x80, 1, "/B/")).Texts()) << "a text longer than any buffer";
}

TEST(CDTextDecoder, ReadsTheFileBesideTheSheet) {
  const TemporaryFolder folder;
  folder.Write("disc.cdt", Pack(0x80, 0, "A/B/") + "\0"s);
  folder.Write("empty.CDT", std::string_view());
  const DecodedSheet sheet(1, "");
  const auto load = [&sheet](const std::string& path) {
    return NewCueSheetService()->AnalyzeCDText(Wide(path).get(), sheet.Get());
  };
  EXPECT_EQ(S_FALSE, load(""));
  EXPECT_EQ(S_FALSE, load(folder.Path("other.cue")));
  EXPECT_EQ(S_OK, load(folder.Path("empty.cue")));
  EXPECT_FALSE(sheet.HasText());
  EXPECT_EQ(S_OK, load(folder.Path("disc.cue")));
  EXPECT_EQ("A|B", sheet.Texts());
}

} // namespace
