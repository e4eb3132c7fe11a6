#include <bitset>

#include "cdtext/encoder.h"
#include "support/test.h"

namespace {

using namespace std::string_literals;

/// A sheet of audio tracks with texts.
class TextSheet : public TestSheet {
public:
  explicit TextSheet(UINT tracks = 0, const std::string& packs = "") {
    AllocateTracks(Get(), tracks);
    Get()->ZSCDTEXT.Language = ZSCDTEXT_ENGLISH;
    Decode(packs);
  }
  void Decode(std::string packs) {
    EXPECT_EQ(S_OK, NewCueSheetService()->AnalyzeCDTextFromData(reinterpret_cast<BYTE*>(packs.data()),
                                                                static_cast<UINT>(packs.size()), Get()));
  }
  /// Sets a text of the disc, as track 0, or of a track from 1.
  TextSheet& Set(UINT track, std::string_view text, TextField field = TextField::Title) {
    track == 0 ? ReplaceText(&Get()->ZSCDTEXT, field, NewBstr(text))
               : ReplaceText(&Track(track - 1), field, NewBstr(text));
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
  /// Returns the texts of the disc and of each track, with '|' between them and '-' for none.
  std::string Texts(TextField field = TextField::Title) const {
    const auto shown = [](BSTR text) { return text == nullptr ? "-" : Narrow(text); };
    std::string texts = shown(TextOf(Get()->ZSCDTEXT, field));
    for (UINT i = 0; i < Get()->nTracks; ++i) {
      texts += "|" + shown(TextOf(Track(i), field));
    }
    return texts;
  }
};

/// Returns a pack with a CRC of 0, which decoding does not check. Each '/' of the text becomes a zero byte.
std::string Pack(int type, int track, std::string text, int block = 0) {
  std::replace(text.begin(), text.end(), '/', '\0');
  text.resize(kPackTextSize);
  return std::string{static_cast<char>(type), static_cast<char>(track), 0, static_cast<char>(block)} + text + "\0\0"s;
}

TEST(CDTextDecoder, PacksBecomeTexts) {
  constexpr int kDoubleByte = 0x80;
  constexpr int kSecondBlock = 0x10;
  const struct {
    const char* what;
    UINT tracks;
    std::string packs;
    std::string texts;
    TextField field = TextField::Title;
  } cases[] = {
      {"padding after the last track", 3,
       Pack(0x80, 0, "ALBUM/T1/T2/") + Pack(0x80, 3, "T3/some padd") + Pack(0x81, 0, "P/"), "P|-|-|-",
       TextField::Performer},
      {"texts belong to the disc and to tracks in order", 3, Pack(0x80, 0, "A/T1/T3/"), "A|T1|T3|-"},
      {"an empty text skips its track", 3, Pack(0x80, 0, "A/T1//T3/"), "A|T1|-|T3"},
      {"the second block fills gaps of the first", 2,
       Pack(0x80, 0, "A//B/") + Pack(0x81, 0, "P/") + Pack(0x80, 0, "X/Y/Z/", kSecondBlock), "A|Y|B"},
      {"double-byte text at the start", 1, Pack(0x80, 0, "A/B/", kDoubleByte) + Pack(0x80, 0, "C/D/"), "-|-"},
      {"double-byte text ends the scan", 1,
       Pack(0x80, 0, "A/") + Pack(0x80, 0, "X/", kDoubleByte) + Pack(0x80, 1, "B/"), "A|-"},
      {"the extension flag of the track is ignored", 2, Pack(0x80, 0x81, "T1/T2/"), "-|T1|T2"},
      {"texts of tracks from 100 on are dropped", 3, Pack(0x80, 99, "X/Y/Z/V/W/") + Pack(0x80, 1, "B/"), "-|B|-|-"},
      {"a disc without tracks", 0, Pack(0x80, 0, "A/B/"), "A"},
      {"a text without an end", 1, Pack(0x80, 0, "A/LONGLONGLO"), "A|-"},
      {"packs of other types, with padding", 2,
       Pack(0x86, 0, "ID/with padd") + Pack(0x80, 0, "A/") + Pack(0x8D, 0, "Close/a padd") + Pack(0x80, 1, "B/") +
           Pack(0x8E, 0, "123/ISRC/") + Pack(0x8F, 0, "\1/and a padd") + Pack(0x80, 2, "C/"),
       "A|B|C"},
      {"one byte short of a pack", 1, Pack(0x80, 0, "A/B/").substr(0, 17), "-|-"},
      {"a genre over two packs", 1, Pack(0x87, 0, "Pop/Rock and") + Pack(0x87, 1, "Roll/"), "Pop|Roll",
       TextField::Genre},
      {"many texts that run over packs and the scan buffer", 1,
       Times(600, Pack(0x80, 0, "runs on and ") + Pack(0x80, 0, "ends/x")) + Pack(0x81, 0, "/Last/"), "-|Last",
       TextField::Performer},
      {"a text longer than the scan buffer", 1,
       Pack(0x80, 0, "A/bcdefghijk") + Times(600, Pack(0x80, 0, "abcdefghijkl")) + Pack(0x80, 1, "/B/"), "A|-"},
      {"a binary genre code", 0, Pack(0x87, 0, "/\2Pop/"), "-", TextField::Genre},
  };
  for (const auto& [what, tracks, packs, texts, field] : cases) {
    const TextSheet sheet(tracks, packs);
    EXPECT_EQ(texts, sheet.Texts(field)) << what;
    EXPECT_EQ(packs.size() >= kPackSize ? VARIANT_TRUE : 0, sheet->ZSCDTEXT.CDTextPresent) << what;
  }
  TextSheet sheet(2, Pack(0x80, 0, "A/B/C/"));
  sheet.Decode(Pack(0x80, 1, "New/"));
  EXPECT_EQ("A|New|C", sheet.Texts()) << "texts that the packs lack stay";
}

TEST(CDTextDecoder, CompanionFileIsRead) {
  const TemporaryFolder folder;
  folder.Write("disc.cdt", Pack(0x80, 0, "A/B/") + "\0"s);
  folder.Write("empty.CDT", std::string_view());
  const TextSheet sheet(1);
  const auto load = [&sheet](const std::string& path) {
    return NewCueSheetService()->AnalyzeCDText(Wide(path).get(), sheet.Get());
  };
  EXPECT_EQ(S_FALSE, load(""));
  EXPECT_EQ(S_FALSE, load(folder.Path("other.cue")));
  EXPECT_EQ(S_OK, load(folder.Path("empty.cue")));
  EXPECT_EQ(0, +sheet->ZSCDTEXT.CDTextPresent);
  EXPECT_EQ(S_OK, load(folder.Path("disc.cue")));
  EXPECT_EQ("A|B", sheet.Texts());
}

std::string PackAt(const std::string& data, std::size_t pack) { return data.substr(pack * kPackSize, kPackSize); }

/// Checks CRC and sequence number of each pack. Returns the 36 bytes of text in the three size packs, the last ones.
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

TEST(CDTextEncoder, SingleTitleIsOnePack) {
  EXPECT_EQ(0xCE3C, CrcCDText(reinterpret_cast<const BYTE*>("123456789"), 9));
  EXPECT_EQ(0xFFFF, CrcCDText(nullptr, 0));
  const std::string data = TextSheet().Set(0, "ABC").Encode();
  ASSERT_EQ(73U, data.size());
  EXPECT_EQ("\x80\0\0\0ABC\0\0\0\0\0\0\0\0\0\x0E\x08"s, PackAt(data, 0));
  // The last sequence number of a block is 0. See "single pack" in docs/compatibility.md.
  EXPECT_EQ("\1\1\0\0\1\0\0\0\0\0\0\0\0\0\0\0\0\0\0\3\0\0\0\0\0\0\0\0\x09\0\0\0\0\0\0\0"s, SizeInfo(data));
  EXPECT_EQ('\0', data.back());
}

TEST(CDTextEncoder, SizePacksCountTheOthers) {
  TextSheet sheet(3);
  sheet.Track(0).Mode = ZSMODE_1;
  sheet.Set(1, "data").Set(2, "first").Set(3, "second one").Set(2, "pop", TextField::Genre);
  sheet.Track(2).bstrISRC = NewBstr("DEA010100001");
  const std::string data = sheet.Encode();
  EXPECT_EQ("\x80\2\0\0first\0second"s, PackAt(data, 0).substr(0, 16)) << "without the text of a data track";
  EXPECT_EQ("\x80\3\1\6 one"s, PackAt(data, 1).substr(0, 8));
  EXPECT_EQ("\x87\2\2\0pop\0"s, PackAt(data, 2).substr(0, 8));
  EXPECT_EQ("\x8E\3\3\0DEA010100001"s, PackAt(data, 3).substr(0, 16));
  EXPECT_EQ("\x8E\3\4\x0C\0"s, PackAt(data, 4).substr(0, 5));
  EXPECT_EQ("\1\1\3\0\2\0\0\0\0\0\0\1\0\0\0\0\0\0\2\3\7\0\0\0\0\0\0\0\x09\0\0\0\0\0\0\0"s, SizeInfo(data));
}

TEST(CDTextEncoder, PacksAreOrderedByTypeAndStatePositions) {
  const auto startOf = [](std::size_t pack, std::size_t length) {
    return PackAt(TextSheet(1).Set(0, std::string(length, 'x')).Set(1, "One").Encode(), pack).substr(0, 9);
  };
  EXPECT_EQ("\x80\1\1\0One\0\0"s, startOf(1, 11)) << "the first pack ends with the zero byte";
  EXPECT_EQ("\x80\0\1\x0C\0One\0"s, startOf(1, 12)) << "the second pack starts with the zero byte";
  EXPECT_EQ("\x80\0\2\x0Fxxxxx"s, startOf(2, 30)) << "15 means 15 or more";
  TextSheet sheet;
  for (TextField field : kTextFields) {
    sheet.Set(0, std::to_string(static_cast<int>(field)), field);
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

/// Returns the lowest bits of each byte as digits. The others must be 0.
std::string Bits(std::string_view bytes, std::size_t width) {
  std::string bits;
  for (const char byte : bytes) {
    const std::bitset<8> digits(static_cast<BYTE>(byte));
    EXPECT_TRUE((digits >> width).none());
    bits += digits.to_string().substr(8 - width);
  }
  return bits;
}

TEST(CDTextEncoder, SubChannelGroupsHoldFourPacks) {
  // Text packs and groups: three size packs follow, and each pack after the last four has a group of its own.
  constexpr std::pair<std::size_t, std::size_t> kCases[] = {{0, 3}, {1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 2}, {6, 3}};
  for (const auto& [textPacks, groups] : kCases) {
    TextSheet sheet;
    sheet.Set(0, std::string(textPacks * kPackTextSize - (textPacks == 0 ? 0 : 1), 'x'));
    std::string plain = sheet.Encode();
    EXPECT_EQ((textPacks + 3) * kPackSize + 1, plain.size());
    plain.pop_back();
    CZSCDTextEncoder encoder;
    std::vector<BYTE> bytes;
    EXPECT_TRUE(encoder.EncodePacks(*sheet.Get(), false, &bytes)); // An encoder can be used again.
    EXPECT_TRUE(encoder.EncodePacks(*sheet.Get(), true, &bytes));
    const std::string spread(bytes.begin(), bytes.end());
    EXPECT_EQ(sheet.Encode(VARIANT_TRUE), spread);
    ASSERT_EQ(groups * 96, spread.size()) << textPacks;
    EXPECT_EQ(Bits((plain + plain + plain + plain).substr(0, groups * 72), 8), Bits(spread, 6)) << textPacks;
  }
}

TEST(CDTextEncoder, SheetWithoutCDTextChangesNothing) {
  const TextSheet sheet;
  EXPECT_EQ(55U, sheet.Encode().size());
  EXPECT_EQ(55U, sheet.Encode(1).size()) << "1 is not VARIANT_TRUE";
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

TEST(CDTextEncoder, LongTextsAreCutBetweenCharacters) {
  const std::string a(253, 'a');
  const TextSheet back(1, TextSheet(1).Set(0, a + "aaa").Set(1, a + "\xE3\x81\x82").Encode());
  EXPECT_EQ(a + "a|" + a, back.Texts());
}

TEST(CDTextEncoder, FullBlockHoldsWholeTexts) {
  // For the first length, the bytes of the last text would fit, its packs do not.
  for (const std::size_t length : {22U, 23U, 30U, 200U, 254U}) {
    TextSheet sheet(99);
    for (UINT track = 1; track <= 99; ++track) {
      const std::string number = std::to_string(track);
      sheet.Set(track, number + std::string(length - number.size(), 'a'));
      sheet.Set(track, number + std::string(length - number.size(), 'b'), TextField::Performer);
    }
    const std::string data = sheet.Encode();
    const std::string info = SizeInfo(data);
    const std::size_t packs = data.size() / kPackSize;
    EXPECT_LE(packs, 256U);
    EXPECT_GE(packs + (length + 1) / kPackTextSize + 1, 256U) << "another text would fit";
    EXPECT_EQ(static_cast<char>(packs - 1), info[20]);
    EXPECT_EQ(packs - 3, std::size_t{static_cast<BYTE>(info[4])} + static_cast<BYTE>(info[5]));
    const TextSheet back(99, data);
    for (const TextField field : {TextField::Title, TextField::Performer}) {
      const std::string texts = back.Texts(field) + "|-";
      EXPECT_TRUE((sheet.Texts(field) + "|").starts_with(texts.substr(0, texts.find("|-") + 1))) << texts;
    }
  }
  TextSheet sheet(99); // 252 packs; then a text without room for its zero byte, and one that would fit.
  for (UINT track = 1; track <= 99; ++track) {
    sheet.Set(track, std::string(29, 'a'));
  }
  sheet.Set(0, std::string(48, 'a')).Set(0, "twelve bytes", TextField::Performer).Set(0, "end", TextField::Songwriter);
  EXPECT_EQ(255 * kPackSize + 1, sheet.Encode().size());
}

} // namespace
