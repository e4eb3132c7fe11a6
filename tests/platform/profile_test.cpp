#include "platform/profile.h"

#include "platform/files.h"
#include "support/test.h"

namespace {

TEST(Profile, FirstOfEqualNamesInAnyCaseCounts) {
  const TemporaryFolder folder;
  const std::string path = folder.Write(
      "a.ini", "lost=0\r\n[Disc]\r\n  Title \t=  One two  \r\n;Hidden=1\r\nQuoted=\" kept \"\nSingle='x'\nHalf=\"x\n"
               "TITLE=later\r\nno key here\r\nEmpty=\r\nEquals=a=b\r\nM\xFCller=1252\n"
               "[ Other ] ignored\nTitle=other\n[DISC]\nAdded=never\n[Open\nLast=end");
  const std::tuple<std::string, std::string, std::string> kCases[] = {
      {"Disc", "Title", "One two"}, {"DISC", "tITLE", "One two"},
      {"Disc", "Quoted", " kept "}, {"Disc", "Single", "x"},
      {"Disc", "Half", "\"x"},      {"Disc", "Empty", ""},
      {"Disc", "Equals", "a=b"},    {"Disc", "m\xC3\x9CLLER", "1252"},
      {"Other", "Title", "other"},  {"Open", "LAST", "end"},
      {"Disc", "Hidden", "none"},   {"Disc", ";Hidden", "none"},
      {"Disc", "Added", "none"},    {"", "lost", "none"},
      {"Disc", "Last", "none"},     {"Disc", "Disc", "none"},
      {"Disc\nTitle", "", "none"}};
  ProfileFile profile;
  EXPECT_TRUE(profile.Load(path));
  for (const auto& [section, key, value] : kCases) {
    EXPECT_EQ(value, profile.GetSection(section).Find(key).value_or("none")) << section << '/' << key;
    EXPECT_FALSE(profile.GetSection("Nowhere").Find(key)) << key;
  }
  EXPECT_EQ("One", profile.GetSection("Disc").GetString("Title", 4));
  EXPECT_EQ("", profile.GetSection("Disc").GetString("Title", 0));
  EXPECT_EQ("", profile.GetSection("Disc").GetString("Missing", 99));
  EXPECT_FALSE(profile.Load(folder.Path("missing.ini")));
  EXPECT_EQ(ERROR_FILE_NOT_FOUND, GetLastError());
  EXPECT_FALSE(profile.GetSection("Disc").Find("Title"));
}

TEST(Profile, FindsEachOfManyKeys) {
  const TemporaryFolder folder;
  ProfileFile profile;
  EXPECT_TRUE(profile.Load(folder.Write("a.ini", "[S]\n" + Times(1000, "K#=#\n") + Times(1000, "k#=later\n"))));
  for (LONG i = 0; i < 1000; ++i) {
    EXPECT_EQ(i, profile.GetSection("s").GetInt("k" + std::to_string(i), -1));
  }
}

TEST(Profile, ParsesIntegersUpToOtherCharacters) {
  const TemporaryFolder folder;
  const std::pair<std::string, LONG> kCases[] = {
      {"162", 162},  {"0xa2", 0xA2}, {"0XA2", 0xA2}, {"-150", -150}, {"+7", 7},        {"-0x10", -16},
      {"12abc", 12}, {"0x", 0},      {"abc", 0},     {"", 0},        {"\"0x14\"", 20}, {"4294967295", -1},
      {"1 2", 1},    {"--1", 0},     {"0xg", 0},     {"010", 10},    {" 5 ", 5},       {"2147483648", INT32_MIN}};
  for (const auto& [text, value] : kCases) {
    ProfileFile profile;
    EXPECT_TRUE(profile.Load(folder.Write("a.ini", "[S]\nK=" + text + "\n")));
    EXPECT_EQ(value, profile.GetSection("s").GetInt("k", 77)) << text;
    EXPECT_EQ(-1, profile.GetSection("s").GetInt("other", -1));
  }
}

} // namespace
