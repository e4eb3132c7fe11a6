// Texts into packs, to the byte, and the way back through the decoder.
#include <gtest/gtest.h>

#include "cdtext/encoder.h"
#include "disc/track_table.h"
#include "foundation/strings.h"
#include "platform/task_memory.h"
#include "support/services.h"

namespace {

using namespace std::string_literals;

/// A sheet of audio tracks that says it has CD-Text.
class TextSheet : public TestSheet {
public:
  explicit TextSheet(UINT tracks = 0) {
    AllocateTracks(Get(), tracks);
    Get()->ZSCDTEXT.CDTextPresent = VARIANT_TRUE;
    Get()->ZSCDTEXT.Language = ZSCDTEXT_ENGLISH;
  }
  /// What packs decode to.
  TextSheet(UINT tracks, std::string packs) : TextSheet(tracks) {
    DecodeCDTextPacks(reinterpret_cast<BYTE*>(packs.data()), packs.size(), Get());
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
    BYTE* data = nullptr;
    LONG length = 0;
    EXPECT_EQ(S_OK, NewCueSheetService()->EncodeCDText(Get(), withSubChannel, &data, &length));
    const TaskMemory<BYTE> owner(data);
    return {reinterpret_cast<const char*>(data), static_cast<std::size_t>(length)};
  }
  /// The texts of the disc and of the tracks.
  std::vector<std::string> Texts(TextField field) const {
    std::vector<std::string> texts{Narrow(TextOf(Get()->ZSCDTEXT, field))};
    for (UINT i = 0; i < Get()->nTracks; ++i) {
      texts.push_back(Narrow(TextOf(Track(i), field)));
    }
    return texts;
  }
};

std::string PackAt(const std::string& data, std::size_t pack) { return data.substr(pack * kPackSize, kPackSize); }
std::string Header(const std::string& data, std::size_t pack) { return PackAt(data, pack).substr(0, 4); }

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
  const std::string eleven = TextSheet(1).Disc("ABCDEFGHIJK").Of(0, "One").Encode();
  EXPECT_EQ("\x80\1\1\0"s, Header(eleven, 1)) << "the zero byte fills the first pack";
  const std::string twelve = TextSheet(1).Disc("ABCDEFGHIJKL").Of(0, "One").Encode();
  EXPECT_EQ("\x80\0\1\x0C\0One\0"s, PackAt(twelve, 1).substr(0, 9)) << "the zero byte opens the second pack";
  const std::string thirty = TextSheet().Disc("ABCDEFGHIJKLMNOPQRSTUVWXYZABCD").Encode();
  EXPECT_EQ("\x80\0\1\x0C"s, Header(thirty, 1));
  EXPECT_EQ("\x80\0\2\x0F"s, Header(thirty, 2)) << "15 or more";
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
    EXPECT_TRUE(encoder.EncodePacks(*sheet.Get(), true, &spread)) << "which does not build the packs again";
    EXPECT_EQ(sheet.Encode(VARIANT_TRUE), std::string(spread.begin(), spread.end()));
    ASSERT_EQ(groups * 96, spread.size()) << textPacks;
    EXPECT_EQ((plain + plain + plain + plain).substr(0, groups * 72), Gather(spread)) << textPacks;
  }
}

TEST(CDTextEncoder, NeedsThePresenceOfText) {
  const ComPtr<IZSCueSheet> service = NewCueSheetService();
  const TextSheet sheet;
  EXPECT_EQ(55U, sheet.Encode().size());
  EXPECT_EQ(55U, sheet.Encode(1).size()) << "only VARIANT_TRUE asks for the sub-channel";
  BYTE byte = 0;
  BYTE* data = &byte;
  LONG length = 7;
  EXPECT_EQ(E_INVALIDARG, service->EncodeCDText(nullptr, VARIANT_FALSE, &data, &length));
  EXPECT_EQ(E_INVALIDARG, service->EncodeCDText(sheet.Get(), VARIANT_FALSE, nullptr, &length));
  EXPECT_EQ(E_INVALIDARG, service->EncodeCDText(sheet.Get(), VARIANT_FALSE, &data, nullptr));
  sheet->ZSCDTEXT.CDTextPresent = 0;
  EXPECT_EQ(S_FALSE, service->EncodeCDText(sheet.Get(), VARIANT_FALSE, &data, &length));
  EXPECT_EQ(&byte, data);
  EXPECT_EQ(7, length);
  std::vector<BYTE> bytes{1};
  EXPECT_FALSE(CZSCDTextEncoder().EncodePacks(*sheet.Get(), false, &bytes));
  EXPECT_EQ(std::vector<BYTE>{1}, bytes);
}

TEST(CDTextEncoder, CutsLongTextsBetweenCharacters) {
  const std::string a(253, 'a');
  const TextSheet back(1, TextSheet(1).Disc(a + "aaa").Of(0, a + "\xE3\x81\x82").Encode());
  EXPECT_EQ((std::vector{a + "a", a}), back.Texts(TextField::Title));
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
      const std::vector<std::string> given = sheet.Texts(field);
      const std::vector<std::string> kept = back.Texts(field);
      for (std::size_t i = 0; i < kept.size(); ++i) {
        EXPECT_TRUE(kept[i] == given[i] || kept[i] == "(null)") << kept[i];
      }
    }
  }
}

TEST(CDTextEncoder, ComesBackThroughTheDecoder) {
  for (std::size_t length = 1; length < 40; ++length) { // Each place in a pack is once the start and once the end.
    TextSheet sheet(3);
    for (TextField field : kTextFields) {
      sheet.Disc(std::string(length, 'd'), field);
      for (UINT i = 0; i < 3 && field != TextField::Genre; ++i) { // Several genres would share a pack.
        sheet.Of(i, "caf\xC3\xA9" + std::string(length % (7 + i), 't'), field);
      }
    }
    const TextSheet back(3, sheet.Encode());
    for (TextField field : kTextFields) {
      EXPECT_EQ(sheet.Texts(field), back.Texts(field)) << length;
    }
  }
}

} // namespace
