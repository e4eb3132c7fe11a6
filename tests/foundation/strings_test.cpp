#include <gtest/gtest.h>

#include "foundation/strings.h"
#include "support/services.h"

namespace {

TEST(Strings, NewTextEndsAtAZeroAndBetweenCharacters) {
  const std::string smile = "\xF0\x9F\x98\x80"; // Two units.
  EXPECT_EQ("AB", Narrow(UniqueBstr(NewBstr(std::string_view("AB\0C", 4))).get()));
  EXPECT_EQ(nullptr, UniqueBstr(NewBstr(std::string_view("\0C", 2))));
  struct {
    std::string narrow;
    std::size_t limit;
    std::string expected;
  } const cases[] = {
      {"ABC", 2, "AB"},
      {"ABC", 3, "ABC"},
      {"AB" + smile, 3, "AB"},
      {"AB" + smile, 4, "AB" + smile},
      {"A" + smile + "B", 3, "A" + smile},
      {smile, 1, "(null)"},
      {smile, 0, "(null)"},
  };
  for (const auto& test : cases) {
    EXPECT_EQ(test.expected, Narrow(UniqueBstr(NewBstr(test.narrow, test.limit)).get())) << test.limit;
  }
}

} // namespace
