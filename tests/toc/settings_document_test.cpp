#include "toc/settings_document.h"

#include <gtest/gtest.h>

#include <sstream>

#include "support/temporary_folder.h"

namespace {

const std::string kDeclaration = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\" ?>\n";

std::string TextOf(const CZSSettingsDocument& document) {
  std::ostringstream stream;
  document.WriteText(stream);
  return stream.str().substr(kDeclaration.size());
}

TEST(SettingsDocument, PathsAddressValues) {
  const std::string nothing = "<>\n</>\n"; // A path of fewer than two names addresses nothing.
  const std::pair<const char*, std::string> cases[] = {
      {nullptr, nothing},
      {"A", nothing},
      {"A:", nothing},
      {"::", "<>\n   <>2</>\n</>\n"},
      {"A:B", "<A>\n   <B>2</B>\n</A>\n"},
      {"A:B:", "<A>\n   <B>2</B>\n</A>\n"},
      {"A::B", "<A>\n   <>\n      <B>2</B>\n   </>\n</A>\n"},
  };
  for (const auto& [path, text] : cases) {
    CZSSettingsDocument document;
    LONG number = 1;
    EXPECT_TRUE(document.SetValue(path, "2"));
    EXPECT_EQ(TextOf(document), text);
    EXPECT_EQ(document.GetValue(path, &number, 7), text != nothing) << text;
    EXPECT_EQ(number, text == nothing ? 7 : 2) << text;
  }
}

TEST(SettingsDocument, KeepsOrderOfAssignment) {
  CZSSettingsDocument document;
  for (const char* path : {"A:B:K1", "A:C:K2", "A:B:K3", "A:K4", "A:B:K1:", "A:C"}) {
    EXPECT_TRUE(document.SetValue(path, path));
  }
  EXPECT_EQ(TextOf(document), "<A>\n   <K4>A:K4</K4>\n   <C>A:C</C>\n"
                              "   <B>\n      <K1>A:B:K1:</K1>\n      <K3>A:B:K3</K3>\n   </B>\n"
                              "   <C>\n      <K2>A:C:K2</K2>\n   </C>\n</A>\n");
}

TEST(SettingsDocument, SetterRenamesRootWithoutSearchingIt) {
  CZSSettingsDocument document;
  document.SetValue("A:K4", "4");
  document.SetValue("A:B:K3", "3");
  document.SetValue("R:B:K5", "5");
  std::string value;
  EXPECT_FALSE(document.GetValue("A:K4", &value, "none"));
  EXPECT_EQ(value, "none");
  EXPECT_TRUE(document.GetValue("R:B:K3", &value, ""));
  EXPECT_FALSE(document.GetValue("R:B:K5", &value, "")); // The first B has no K5.
  EXPECT_EQ(document.Root().Children().size(), 2U);
}

TEST(SettingsDocument, ParsesLeadingNumbers) {
  constexpr LONG kNone = -9;
  const std::pair<const char*, LONG> cases[] = {
      {"12abc", 12}, {"", kNone}, {" \t\r\n\v\f7", 7},   {"+-5", kNone},
      {"+5", 5},     {"0x10", 0}, {"2147483648", kNone}, {"-2147483649", kNone}};
  for (const auto& [text, expected] : cases) {
    CZSSettingsDocument document;
    document.SetValue("R:K", text);
    LONG number = 0;
    EXPECT_EQ(document.GetValue("R:K", &number, kNone), expected != kNone) << text;
    EXPECT_EQ(number, expected) << text;
  }
}

TEST(SettingsDocument, FilesEndLinesInCarriageReturnAndLineFeed) {
  const TemporaryFolder folder;
  CZSSettingsDocument document;
  document.SetValue("R:K", "V & > ");
  document.SetValue("R:C:L", "two\nlines");
  document.Save(folder.Path("a"));
  EXPECT_EQ(folder.Read("a"), "<?xml version=\"1.0\" encoding=\"ISO-8859-1\" ?>\r\n<R>\r\n   <K>V & > </K>\r\n"
                              "   <C>\r\n      <L>two\r\nlines</L>\r\n   </C>\r\n</R>\r\n");
  CZSSettingsDocument read;
  read.SetValue("OLD:NODE:KEY", "replaced");
  read.Load(folder.Path("a"));
  EXPECT_EQ(TextOf(read), TextOf(document));
}

TEST(SettingsDocument, LoadsAnyText) {
  const std::pair<const char*, const char*> cases[] = {
      {"<?xml ?> plain", "<>\n</>\n"},
      {"<K>top values have no node</K>", "<>\n</>\n"},
      {"<R a=\"1\"><K>1</K><L/> <K x>2</K><N><M>1</M></N><N><M>2</M></N></R>"
       "<S><N><M>3</M></N><E>\n</E></S><T>dropped</T>",
       "<S>\n   <K>2</K>\n   <L></L>\n   <E>\n</E>\n   <N>\n      <M>1</M>\n   </N>\n"
       "   <N>\n      <M>2</M>\n   </N>\n   <N>\n      <M>3</M>\n   </N>\n</S>\n"},
  };
  const TemporaryFolder folder;
  CZSSettingsDocument document;
  for (const auto& [text, expected] : cases) {
    document.SetValue("R:OLD", "V");
    document.Load(folder.Write("a", text));
    EXPECT_EQ(TextOf(document), expected) << text;
  }
  EXPECT_EQ(document.Root().Entries().front().attributes, "x");
  EXPECT_EQ(document.Root().Children().front().parent, &document.Root());
  std::string value;
  EXPECT_TRUE(document.GetValue("S:N:M", &value, ""));
  EXPECT_EQ(value, "1"); // The first N is read.

  // A missing file and a missing folder are not reported.
  document.Load(folder.Path("missing"));
  EXPECT_EQ(TextOf(document), cases[2].second);
  document.Save(folder.Path("missing/folder"));
}

} // namespace
