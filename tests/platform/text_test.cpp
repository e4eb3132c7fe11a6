#include "platform/text.h"

#include <gtest/gtest.h>

#include <random>

namespace {

TEST(CodePage, ReadsUtf8AndWindows1252InOneText) {
  const struct {
    const char* narrow;
    const char16_t* wide;
  } kCases[] = {
      {"plain", u"plain"},
      {"caf\xC3\xA9", u"café"},                          // UTF-8
      {"caf\xE9", u"café"},                              // Windows-1252
      {"\x80 \x9F \xFF", u"€ Ÿ ÿ"},                      // its upper controls
      {"\x81\x8D\x8F\x90\x9D", u"\x81\x8D\x8F\x90\x9D"}, // its free places
      {"\xE9\xC3\xA9", u"éé"},                           // a lead byte without its sequence, then one with it
      {"\xC0\xAF", u"À¯"},                               // over-long forms are no UTF-8
      {"\xED\xA0\x80", u"í\xA0€"},                       // nor are surrogates
      {"\xF4\x90\x80\x80", u"ô\x90€€"},                  // nor numbers above the last plane
      {"\xF0\x9F\x8E\xB5", u"🎵"},
      {"\xE9\x9F\xB3\xE6\xA5\xBD/", u"音楽/"},
      {"\xE9\x9F", u"éŸ"}, // cut off
  };
  for (const auto& test : kCases) {
    EXPECT_EQ(test.wide, MultiByteToWideChar(test.narrow)) << test.narrow;
  }
}

TEST(CodePage, WritesOneByteWhereThatReadsBack) {
  EXPECT_EQ("caf\xE9", WideCharToMultiByte(u"café"));
  EXPECT_EQ("\x80", WideCharToMultiByte(u"€"));
  EXPECT_EQ("\xC3\x83\xA9", WideCharToMultiByte(u"Ã©")) << "two bytes alone would read as one character";
  EXPECT_EQ("\xE9\xA9", WideCharToMultiByte(u"é©"));
  EXPECT_EQ("\xE9\x9F\xB3", WideCharToMultiByte(u"音"));
  EXPECT_EQ("a?b", WideCharToMultiByte(std::u16string{u'a', char16_t(0xD800), u'b'}));
}

/// Characters that meet each other badly: lead bytes, continuation bytes, controls, other planes.
std::u16string RandomText(std::minstd_rand* random) {
  static constexpr char32_t kTroublesome[] = {U'a',  U'/',   0x80,  0x81,   0x9F,   0xA0,   0xA9,    0xBF,    0xC2,
                                              0xC3,  0xDF,   0xE0,  0xE9,   0xEF,   0xF0,   0xF4,    0xFF,    0x20AC,
                                              0x178, 0x2022, 0x3B1, 0x97F3, 0xFFFD, 0xFFFF, 0x1F3B5, 0x10FFFF};
  std::u16string text;
  for (auto length = (*random)() % 12; length > 0; --length) {
    char32_t character = kTroublesome[(*random)() % std::size(kTroublesome)];
    if ((*random)() % 4 == 0) {
      character = static_cast<char32_t>((*random)() % 0xD800);
    }
    if (character > 0xFFFF) {
      text.push_back(static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10)));
      character = 0xDC00 + (character & 0x3FF);
    }
    text.push_back(static_cast<char16_t>(character));
  }
  return text;
}

TEST(CodePage, WideToNarrowToWideIsTheIdentity) {
  std::minstd_rand random(1);
  for (int i = 0; i < 200000; ++i) {
    const std::u16string text = RandomText(&random);
    ASSERT_EQ(text, MultiByteToWideChar(WideCharToMultiByte(text))) << "round " << i;
  }
}

TEST(CodePage, AnyBytesAreTextAndUtf8OfThemIsValid) {
  std::minstd_rand random(2);
  for (int i = 0; i < 50000; ++i) {
    std::string bytes;
    for (auto length = random() % 8; length > 0; --length) {
      bytes.push_back(static_cast<char>(random() % 2 == 0 ? random() : 0x80 + random() % 0x80));
    }
    ASSERT_EQ(MultiByteToWideChar(bytes), MultiByteToWideChar(NarrowToUtf8(bytes)));
  }
}

TEST(UpperCase, IsByCharacter) {
  const struct {
    const char16_t* lower;
    const char16_t* upper;
  } kCases[] = {{u"track.bin", u"TRACK.BIN"}, {u"äöüéÿ÷ß", u"ÄÖÜÉŸ÷ß"},   {u"αβςώ", u"ΑΒΣΏ"}, {u"яёџ", u"ЯЁЏ"},
                {u"āžſı", u"ĀŽSI"},           {u"音楽ａｚ", u"音楽ＡＺ"}, {u"ĸŉ", u"ĸŉ"},     {u"ǆ", u"ǆ"}};
  for (const auto& test : kCases) {
    std::string text = WideCharToMultiByte(test.lower);
    CharUpperA(&text);
    EXPECT_EQ(test.upper, MultiByteToWideChar(text));
  }
  std::string utf8 = "caf\xC3\xA9.cue";
  CharUpperA(&utf8);
  EXPECT_EQ("CAF\xC9.CUE", utf8);
  EXPECT_EQ(0, lstrcmpiA("\xE9.Bin", "\xC3\x89.bIN"));
  EXPECT_LT(lstrcmpiA("a", "B"), 0);
  EXPECT_GT(lstrcmpiA("b", "A"), 0);
}

} // namespace
