#include "foundation/file.h"
#include "support/test.h"

namespace {

TEST(Strings, NewBstrEndsAtAZeroAndBetweenCharacters) {
  const std::string pair = "\xF0\x9F\x98\x80"; // One character of two wide units.
  const std::tuple<std::string, std::size_t, std::string> kCases[] = {{std::string("AB\0C", 4), 4, "AB"},
                                                                      {std::string("\0C", 2), 2, "(null)"},
                                                                      {"ABC", 2, "AB"},
                                                                      {"AB" + pair, 3, "AB"},
                                                                      {"AB" + pair, 4, "AB" + pair},
                                                                      {pair, 1, "(null)"}};
  for (const auto& [narrow, limit, expected] : kCases) {
    EXPECT_EQ(expected, Narrow(UniqueBstr(NewBstr(narrow, limit)).get())) << limit;
  }
}

TEST(File, ReadsAndWritesAllOrFails) {
  const TemporaryFolder folder;
  CZSFile file;
  ASSERT_TRUE(file.OpenForReading(folder.Write("a.bin", "0123")));
  char bytes[5] = {};
  EXPECT_FALSE(file.Read(bytes, 5)) << "four are left";
  EXPECT_TRUE(CZSFile().Read(bytes, 0)) << "no file is needed";
  EXPECT_FALSE(file.Write(bytes, 1)) << "open for reading";
  ASSERT_TRUE(file.Open(folder.Path("b.bin"), GENERIC_WRITE, FILE_SHARE_NONE, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL));
  EXPECT_TRUE(file.Write(bytes, 4));
}

} // namespace
