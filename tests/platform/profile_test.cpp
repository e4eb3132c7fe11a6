#include "platform/profile.h"

#include <gtest/gtest.h>

#include "support/temporary_folder.h"

namespace {

TEST(Profile, FindsTheFirstOfEqualNamesInAnyCase) {
  const TemporaryFolder folder;
  const std::string path = folder.Write("a.ini", "lost=0\r\n"
                                                 "[Disc]\r\n"
                                                 "  Title \t=  One two  \r\n"
                                                 ";Hidden=1\r\n"
                                                 "Quoted=\" kept \"\nSingle='x'\nHalf=\"x\n"
                                                 "TITLE=later\r\n"
                                                 "no key here\r\n"
                                                 "Empty=\r\n"
                                                 "Equals=a=b\r\n"
                                                 "M\xFCller=1252\n"
                                                 "[ Other ] ignored\n"
                                                 "Title=other\n"
                                                 "[DISC]\n"
                                                 "Added=never\n"
                                                 "[Open\n"
                                                 "Last=end");
  struct {
    const char* section;
    const char* key;
    const char* value; ///< Null when the key is not there.
  } const cases[] = {
      {"Disc", "Title", "One two"}, {"DISC", "tITLE", "One two"},
      {"Disc", "Quoted", " kept "}, {"Disc", "Single", "x"},
      {"Disc", "Half", "\"x"},      {"Disc", "Empty", ""},
      {"Disc", "Equals", "a=b"},    {"Disc", "m\xC3\x9CLLER", "1252"},
      {"Other", "Title", "other"},  {"Open", "LAST", "end"},
      {"Disc", "Hidden", nullptr},  {"Disc", ";Hidden", nullptr},
      {"Disc", "Added", nullptr},   {"", "lost", nullptr},
      {"Disc", "Last", nullptr},    {"Disc", "Disc", nullptr},
      {"Disc\nTitle", "", nullptr},
  };
  const ProfileFile profile(path);
  for (const auto& test : cases) {
    SCOPED_TRACE(std::string(test.section) + "/" + test.key);
    const auto found = profile.GetSection(test.section).Find(test.key);
    ASSERT_EQ(test.value != nullptr, found.has_value());
    EXPECT_EQ(test.value == nullptr ? "" : test.value, found.value_or(""));
  }
  EXPECT_EQ("One", profile.GetSection("Disc").GetString("Title", 4));
  EXPECT_EQ("", profile.GetSection("Disc").GetString("Title", 0));
  EXPECT_EQ("default", GetPrivateProfileStringA("Disc", "Missing", "default", 99, path));
  EXPECT_EQ("other", GetPrivateProfileStringA("Other", "Title", "default", 99, path));
}

TEST(Profile, ReadsIntegersAsFarAsTheyGo) {
  const TemporaryFolder folder;
  struct {
    const char* text;
    LONG value;
  } const cases[] = {
      {"162", 162},  {"0xa2", 0xA2}, {"0XA2", 0xA2}, {"-150", -150}, {"+7", 7},        {"-0x10", -16},
      {"12abc", 12}, {"0x", 0},      {"abc", 0},     {"", 0},        {"\"0x14\"", 20}, {"4294967295", -1},
      {"1 2", 1},    {"--1", 0},     {"0xg", 0},     {"010", 10},    {" 5 ", 5},       {"2147483648", INT32_MIN},
  };
  for (const auto& test : cases) {
    const std::string path = folder.Write("a.ini", std::string("[S]\nK=") + test.text + "\n");
    EXPECT_EQ(test.value, GetPrivateProfileIntA("s", "k", 77, path)) << test.text;
  }
  EXPECT_EQ(-1, GetPrivateProfileIntA("s", "other", -1, folder.Path("a.ini")));
  EXPECT_EQ(-1, GetPrivateProfileIntA("s", "k", -1, folder.Path("missing.ini")));
}

TEST(Profile, KeepsManyKeysApart) {
  const TemporaryFolder folder;
  std::string text;
  for (int section = 0; section < 100; ++section) {
    text += "[" + std::string(20000, 's') + std::to_string(section) + "]\n";
    for (int key = 0; key < 500; ++key) {
      text += "key" + std::to_string(key) + "=" + std::to_string(section * 1000 + key) + "\n";
    }
  }
  const ProfileFile profile(folder.Write("many.ini", text));
  const std::string name(20000, 'S');
  EXPECT_EQ(0, profile.GetSection(name + "0").GetInt("KEY0", -1));
  EXPECT_EQ(42007, profile.GetSection(name + "42").GetInt("KEY7", -1));
  EXPECT_EQ(99499, profile.GetSection(name + "99").GetInt("KEY499", -1));
  EXPECT_EQ(-1, profile.GetSection(name + "99").GetInt("KEY500", -1));
}

} // namespace
