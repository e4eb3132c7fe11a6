#include "platform/text.h"

#include <random>

#include "support/test.h"

namespace {

TEST(NarrowText, MixesUtf8AndWindows1252) {
  const std::tuple<const char*, const char16_t*, const char*> kCases[] = {
      // Narrow text, as wide text, and that as narrow text.
      {"plain", u"plain", "plain"},
      {"caf\xC3\xA9", u"café", "caf\xE9"},                                       // UTF-8
      {"caf\xE9", u"café", "caf\xE9"},                                           // Windows-1252
      {"\x80 \x9F \xFF", u"€ Ÿ ÿ", "\x80 \x9F \xFF"},                            // upper control characters
      {"\x81\x8D\x8F\x90\x9D", u"\x81\x8D\x8F\x90\x9D", "\x81\x8D\x8F\x90\x9D"}, // its free bytes
      {"\xE9\xC3\xA9", u"éé", "\xE9\xE9"},                                       // a lead byte alone, then a sequence
      {"\xC3\x83\xA9", u"Ã©", "\xC3\x83\xA9"}, // would read as one character if both were single bytes
      {"\xE9\xA9", u"é©", "\xE9\xA9"},
      {"\xC0\xAF", u"À¯", "\xC0\xAF"},                      // over-long forms are not UTF-8
      {"\xED\xA0\x80", u"í\xA0€", "\xED\xA0\x80"},          // surrogates are not UTF-8
      {"\xF4\x90\x80\x80", u"ô\x90€€", "\xF4\x90\x80\x80"}, // numbers above 0x10FFFF are not UTF-8
      {"\xF0\x9F\x8E\xB5", u"🎵", "\xF0\x9F\x8E\xB5"},
      {"\xE9\x9F\xB3\xE6\xA5\xBD/", u"音楽/", "\xE9\x9F\xB3\xE6\xA5\xBD/"},
      {"\xE9\x9F", u"éŸ", "\xE9\x9F"}, // a sequence that is cut
  };
  for (const auto& [narrow, wide, written] : kCases) {
    EXPECT_EQ(wide, MultiByteToWideChar(narrow)) << narrow;
    EXPECT_EQ(written, WideCharToMultiByte(wide));
    EXPECT_EQ(wide, MultiByteToWideChar(NarrowToUtf8(narrow)));
  }
  EXPECT_EQ("a?b", WideCharToMultiByte(std::u16string{u'a', char16_t(0xD800), u'b'}));
}

TEST(NarrowText, ReturnsTheSameWideText) {
  // Lead bytes, continuation bytes, control characters, first and last characters of each length.
  constexpr std::u16string_view kPieces[] = {
      u"a",      u"/",      u"\x80",   u"\x81",   u"\x9F",       u"\xA0",   u"\xA9",      u"\xBF",
      u"\xC2",   u"\xC3",   u"\xDF",   u"\xE0",   u"\xE9",       u"\xEF",   u"\xF0",      u"\xF4",
      u"\xFF",   u"\x178",  u"\x3B1",  u"\x7FF",  u"\x800",      u"\x2022", u"\x20AC",    u"\x97F3",
      u"\xD7FF", u"\xE000", u"\xFFFD", u"\xFFFF", u"\U00010000", u"🎵",      u"\U0010FFFF"};
  std::minstd_rand random(1);
  for (int i = 0; i < 200000; ++i) {
    std::u16string text;
    for (auto length = random() % 12; length > 0; --length) {
      text += kPieces[random() % std::size(kPieces)];
    }
    ASSERT_EQ(text, MultiByteToWideChar(WideCharToMultiByte(text))) << "round " << i;
  }
}

TEST(UpperCase, ConvertsCharacterByCharacter) {
  const std::pair<const char16_t*, const char16_t*> kCases[] = {
      {u"track.bin", u"TRACK.BIN"}, {u"äöüéÿ÷ß", u"ÄÖÜÉŸ÷ß"},   {u"αβςσώ", u"ΑΒΣΣΏ"}, {u"яёџ", u"ЯЁЏ"},
      {u"āžſı", u"ĀŽSI"},           {u"音楽ａｚ", u"音楽ＡＺ"}, {u"ĸŉ", u"ĸŉ"},       {u"ǆ", u"ǆ"}};
  for (const auto& [lower, upper] : kCases) {
    std::string text = WideCharToMultiByte(lower);
    CharUpperA(&text);
    EXPECT_EQ(upper, MultiByteToWideChar(text));
  }
  std::string utf8 = "caf\xC3\xA9.cue";
  CharUpperA(&utf8);
  EXPECT_EQ("CAF\xC9.CUE", utf8);
  const std::tuple<const char*, const char*, int> kOrders[] = {{"a", "B", -1},       {"b", "A", 1},
                                                               {"ab", "A", 1},       {"a", "\xE9", -1},
                                                               {"s", "\xC5\xBF", 0}, {"\xE9.B", "\xC3\x89.b", 0}};
  for (const auto& [left, right, sign] : kOrders) {
    const int order = lstrcmpiA(left, right);
    EXPECT_EQ(sign, (order > 0) - (order < 0)) << left << ' ' << right;
  }
}

} // namespace
