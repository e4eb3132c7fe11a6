// Packs into texts and texts into packs: which text lands where, what ends or damages a scan, and each byte that is
// written.
#include <gtest/gtest.h>

#include <algorithm>

#include "cdtext/encoder.h"
#include "disc/track_table.h"
#include "foundation/strings.h"
#include "platform/task_memory.h"
#include "support/long_text.h"
#include "support/services.h"
#include "support/temporary_folder.h"

namespace {

using namespace std::string_literals;

/// A sheet of audio tracks whose texts come from packs or go into them.
class TextSheet : public TestSheet {
public:
  explicit TextSheet(UINT tracks = 0, std::string packs = {}) {
    AllocateTracks(Get(), tracks);
    Get()->ZSCDTEXT.Language = ZSCDTEXT_ENGLISH;
    Decode(std::move(packs));
  }
  void Decode(std::string packs) {
    EXPECT_EQ(S_OK, NewCueSheetService()->AnalyzeCDTextFromData(reinterpret_cast<BYTE*>(packs.data()),
                                                                static_cast<UINT>(packs.size()), Get()));
  }
  TextSheet& Disc(std::string_view text, TextField field = TextField::Title) {
    ReplaceText(&Get()->ZSCDTEXT, field, NewBstr(text));
    return *this;
  }
  TextSheet& Of(UINT track, std::string_view text, TextField field = TextField::Title) {
    ReplaceText(&Track(track), field, NewBstr(text));
    return *this;
  }
  std::string Encode(VARIANT_BOOL withSubChannel = VARIANT_FALSE) const {
    Get()->ZSCDTEXT.CDTextPresent = VARIANT_TRUE;
    BYTE* data = nullptr;
    LONG length = 0;
    EXPECT_EQ(S_OK, NewCueSheetService()->EncodeCDText(Get(), withSubChannel, &data, &length));
    const TaskMemory<BYTE> owner(data);
    return {reinterpret_cast<const char*>(data), static_cast<std::size_t>(length)};
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

/// One pack without a CRC, which decoding does not need. Texts are ended by '/' here.
std::string Pack(int type, int track, std::string text, int block = 0) {
  std::replace(text.begin(), text.end(), '/', '\0');
  text.resize(kPackTextSize);
  return std::string{static_cast<char>(type), static_cast<char>(track), 0, static_cast<char>(block)} + text + "\0\0"s;
}

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
      {"the tail behind the last track", 3,
       Pack(0x80, 0, "ALBUM/T1/T2/") + Pack(0x80, 3, "T3/some tail") + Pack(0x81, 0, "P/"), "P|-|-|-",
       TextField::Performer},
      {"a track left out moves the next one down", 3, Pack(0x80, 0, "A/T1/T3/"), "A|T1|T3|-"},
      {"an empty text holds the place", 3, Pack(0x80, 0, "A/T1//T3/"), "A|T1|-|T3"},
      {"the first block wins, the second fills", 2,
       Pack(0x80, 0, "A//B/") + Pack(0x81, 0, "P/") + Pack(0x80, 0, "X/Y/Z/", kSecondBlock), "A|Y|B"},
      {"double-byte from the start", 1, Pack(0x80, 0, "A/B/", kDouble) + Pack(0x80, 0, "C/D/"), "-|-"},
      {"double-byte ends the scan", 1, Pack(0x80, 0, "A/") + Pack(0x80, 0, "X/", kDouble) + Pack(0x80, 1, "B/"), "A|-"},
      {"the extension flag is ignored", 2, Pack(0x80, 0x81, "T1/T2/"), "-|T1|T2"},
      {"tracks from 100 on are counted and dropped", 3, Pack(0x80, 99, "X/Y/Z/V/W/") + Pack(0x80, 1, "B/"), "-|B|-|-"},
      {"without tracks only the disc has a text", 0, Pack(0x80, 0, "A/B/"), "A"},
      {"a text that no pack ends", 1, Pack(0x80, 0, "A/LONGLONGLO"), "A|-"},
      {"packs of other types, of which no tail is left", 2,
       Pack(0x86, 0, "ID/with tail") + Pack(0x80, 0, "A/") + Pack(0x8D, 0, "Close/a tail") + Pack(0x80, 1, "B/") +
           Pack(0x8E, 0, "123/ISRC/") + Pack(0x8F, 0, "\1/and a tail") + Pack(0x80, 2, "C/"),
       "A|B|C"},
      {"one byte short of a pack", 1, Pack(0x80, 0, "A/B/").substr(0, 17), "-|-"},
      {"the tail of a genre", 1, Pack(0x87, 0, "Pop/Rock and") + Pack(0x87, 1, "Roll/"), "Pop|Roll", TextField::Genre},
      {"many texts over the ends of packs and of any buffer", 1,
       Times(600, Pack(0x80, 0, "runs on and ") + Pack(0x80, 0, "ends/x")) + Pack(0x81, 0, "/Last/"), "-|Last",
       TextField::Performer},
      {"a text longer than any buffer", 1,
       Pack(0x80, 0, "A/bcdefghijk") + Times(600, Pack(0x80, 0, "abcdefghijkl")) + Pack(0x80, 1, "/B/"), "A|-"},
      {"a binary genre code", 0, Pack(0x87, 0, "/\2Pop/"), "-", TextField::Genre},
  };
  for (const Case& c : cases) {
    const TextSheet sheet(c.tracks, c.packs);
    EXPECT_EQ(c.texts, sheet.Texts(c.field)) << c.what;
    EXPECT_EQ(c.packs.size() >= kPackSize, sheet.HasText()) << c.what;
  }
  TextSheet sheet(2, Pack(0x80, 0, "A/B/C/"));
  sheet.Decode(Pack(0x80, 1, "New/"));
  EXPECT_EQ("A|New|C", sheet.Texts()) << "only what the packs say is replaced, and freed";
}

TEST(CDTextDecoder, ReadsTheFileBesideTheSheet) {
  const TemporaryFolder folder;
  folder.Write("disc.cdt", Pack(0x80, 0, "A/B/") + "\0"s);
  folder.Write("empty.CDT", std::string_view());
  const TextSheet sheet(1, "");
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

std::string PackAt(const std::string& data, std::size_t pack) { return data.substr(pack * kPackSize, kPackSize); }

/// The 36 bytes of the last three packs of plain output, whose headers and CRCs are tested on the way.
std::string SizeInfo(const std::string& data) {
  EXPECT_EQ(1U, data.size() % kPackSize);
  const std::size_t packs = data.size() / kPackSize;
  std::string info;
  for (std::size_t i = 0; i < packs; ++i) {
    const std::string pack = PackAt(data, i);
    const USHORT crc = CrcCDText(reinterpret_cast<const BYTE*>(pack.data()), 16);
    EXPECT_EQ(std::string({static_cast<char>(crc >> 8), static_cast<char>(crc)}), pack.substr(16)) << i;
    EXPECT_EQ(static_cast<char>(i), pack[2]);
    if (i + 3 >= packs) {
      EXPECT_EQ((std::string{'\x8F', static_cast<char>(i + 3 - packs), static_cast<char>(i), 0}), pack.substr(0, 4));
      info += pack.substr(4, 12);
    }
  }
  return info;
}

TEST(CDTextEncoder, WritesASingleTitle) {
  EXPECT_EQ(0xCE3C, CrcCDText(reinterpret_cast<const BYTE*>("123456789"), 9));
  EXPECT_EQ(0xFFFF, CrcCDText(nullptr, 0));
  const std::string data = TextSheet().Disc("ABC").Encode();
  ASSERT_EQ(73U, data.size());
  EXPECT_EQ("\x80\0\0\0ABC\0\0\0\0\0\0\0\0\0\x0E\x08"s, PackAt(data, 0));
  // The highest sequence number of the texts is 0, so the block counts as empty there.
  EXPECT_EQ("\1\1\0\0\1\0\0\0\0\0\0\0\0\0\0\0\0\0\0\3\0\0\0\0\0\0\0\0\x09\0\0\0\0\0\0\0"s, SizeInfo(data));
  EXPECT_EQ('\0', data.back());
}

TEST(CDTextEncoder, DescribesItsPacks) {
  TextSheet sheet(3);
  sheet.Track(0).Mode = ZSMODE_1;
  sheet.Of(0, "data").Of(1, "first").Of(2, "second one").Of(1, "pop", TextField::Genre);
  sheet.Track(2).bstrISRC = NewBstr("DEA010100001");
  const std::string data = sheet.Encode();
  EXPECT_EQ("\x80\2\0\0first\0second"s, PackAt(data, 0).substr(0, 16)) << "the data track has no text";
  EXPECT_EQ("\x80\3\1\6 one"s, PackAt(data, 1).substr(0, 8));
  EXPECT_EQ("\x87\2\2\0pop\0"s, PackAt(data, 2).substr(0, 8));
  EXPECT_EQ("\x8E\3\3\0DEA010100001"s, PackAt(data, 3).substr(0, 16));
  EXPECT_EQ("\x8E\3\4\x0C\0"s, PackAt(data, 4).substr(0, 5));
  EXPECT_EQ("\1\1\3\0\2\0\0\0\0\0\0\1\0\0\0\0\0\0\2\3\7\0\0\0\0\0\0\0\x09\0\0\0\0\0\0\0"s, SizeInfo(data));
}

TEST(CDTextEncoder, CountsThePositionOfATextAndOrdersTheTypes) {
  const auto startOf = [](std::size_t pack, std::size_t length) {
    return PackAt(TextSheet(1).Disc(std::string(length, 'x')).Of(0, "One").Encode(), pack).substr(0, 9);
  };
  EXPECT_EQ("\x80\1\1\0One\0\0"s, startOf(1, 11)) << "the zero byte fills the first pack";
  EXPECT_EQ("\x80\0\1\x0C\0One\0"s, startOf(1, 12)) << "the zero byte opens the second pack";
  EXPECT_EQ("\x80\0\2\x0Fxxxxx"s, startOf(2, 30)) << "15 or more";
  TextSheet sheet;
  for (TextField field : kTextFields) {
    sheet.Disc(std::to_string(static_cast<int>(field)), field);
  }
  sheet->ZSCDTEXT.bstrMCN = NewBstr("1234567890123"); // Not written.
  const std::string data = sheet.Encode();
  std::string types;
  std::string texts;
  for (std::size_t i = 0; i < data.size() / kPackSize; ++i) {
    types += PackAt(data, i)[0];
    texts += PackAt(data, i)[4];
  }
  EXPECT_EQ("\x80\x81\x82\x83\x84\x85\x87\x8F\x8F\x8F", types);
  EXPECT_EQ("0132465\1\0\0"s, texts);
  const TextSheet back(0, data);
  for (TextField field : kTextFields) {
    EXPECT_EQ(sheet.Texts(field), back.Texts(field));
  }
}

/// Six-bit symbols back into packs.
std::string Gather(std::span<const BYTE> symbols) {
  std::string bytes;
  UINT word = 0;
  for (std::size_t i = 0; i < symbols.size(); ++i) {
    EXPECT_GT(64, symbols[i]);
    word = word << 6 | symbols[i];
    if (i % 4 != 0) {
      bytes += static_cast<char>(word >> (6 - i % 4 * 2));
    }
  }
  return bytes;
}

TEST(CDTextEncoder, SpreadsPacksOverTheSubChannel) {
  // Number of text packs in, and groups out: a group for each whole four packs and for each pack more.
  constexpr std::pair<std::size_t, std::size_t> kCases[] = {{0, 3}, {1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 2}, {6, 3}};
  for (const auto& [textPacks, groups] : kCases) {
    TextSheet sheet;
    sheet.Disc(std::string(textPacks * kPackTextSize - (textPacks == 0 ? 0 : 1), 'x'));
    std::string plain = sheet.Encode();
    EXPECT_EQ((textPacks + 3) * kPackSize + 1, plain.size());
    plain.pop_back();
    CZSCDTextEncoder encoder;
    std::vector<BYTE> spread;
    EXPECT_TRUE(encoder.EncodePacks(*sheet.Get(), false, &spread));
    EXPECT_TRUE(encoder.EncodePacks(*sheet.Get(), true, &spread));
    EXPECT_EQ(sheet.Encode(VARIANT_TRUE), std::string(spread.begin(), spread.end()));
    ASSERT_EQ(groups * 96, spread.size()) << textPacks;
    EXPECT_EQ((plain + plain + plain + plain).substr(0, groups * 72), Gather(spread)) << textPacks;
  }
}

TEST(CDTextEncoder, NeedsThePresenceOfText) {
  const TextSheet sheet;
  EXPECT_EQ(55U, sheet.Encode().size());
  EXPECT_EQ(55U, sheet.Encode(1).size()) << "only VARIANT_TRUE asks for the sub-channel";
  BYTE byte = 0;
  BYTE* data = &byte;
  LONG length = 7;
  sheet->ZSCDTEXT.CDTextPresent = VARIANT_FALSE;
  EXPECT_EQ(S_FALSE, NewCueSheetService()->EncodeCDText(sheet.Get(), VARIANT_FALSE, &data, &length));
  EXPECT_TRUE(data == &byte && length == 7);
  std::vector<BYTE> bytes{1};
  EXPECT_FALSE(CZSCDTextEncoder().EncodePacks(*sheet.Get(), false, &bytes));
  EXPECT_EQ(std::vector<BYTE>{1}, bytes);
}

TEST(CDTextEncoder, CutsLongTextsBetweenCharacters) {
  const std::string a(253, 'a');
  const TextSheet back(1, TextSheet(1).Disc(a + "aaa").Of(0, a + "\xE3\x81\x82").Encode());
  EXPECT_EQ(a + "a|" + a, back.Texts());
}

TEST(CDTextEncoder, KeepsWholeTextsOfAFullBlock) {
  // Of the first length, the last text has room by its bytes and not by its packs.
  for (const std::size_t length : {22U, 23U, 30U, 200U, 254U}) {
    TextSheet sheet(99);
    for (UINT i = 0; i < 99; ++i) {
      const std::string number = std::to_string(i);
      sheet.Of(i, number + std::string(length - number.size(), 'a'));
      sheet.Of(i, number + std::string(length - number.size(), 'b'), TextField::Performer);
    }
    const std::string data = sheet.Encode();
    const std::string info = SizeInfo(data);
    const std::size_t packs = data.size() / kPackSize;
    EXPECT_LE(packs, 256U);
    EXPECT_GE(packs + (length + 1) / kPackTextSize + 1, 256U) << "no room is wasted";
    EXPECT_EQ(static_cast<char>(packs - 1), info[20]);
    EXPECT_EQ(packs - 3, std::size_t{static_cast<BYTE>(info[4])} + static_cast<BYTE>(info[5]));
    const TextSheet back(99, data);
    for (const TextField field : {TextField::Title, TextField::Performer}) {
      const std::string texts = back.Texts(field) + "|-";
      EXPECT_TRUE((sheet.Texts(field) + "|").starts_with(texts.substr(0, texts.find("|-") + 1))) << texts;
    }
  }
  TextSheet sheet(99); // 252 packs, then a text whose zero byte has no room, and one that would have some.
  for (UINT i = 0; i < 99; ++i) {
    sheet.Of(i, std::string(29, 'a'));
  }
  sheet.Disc(std::string(48, 'a')).Disc("twelve bytes", TextField::Performer).Disc("end", TextField::Songwriter);
  EXPECT_EQ(255 * kPackSize + 1, sheet.Encode().size());
}

} // namespace
