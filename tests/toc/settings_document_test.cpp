#include "toc/settings_document.h"

#include <regex>

#include "support/test.h"

namespace {

/// Returns the text form without its declaration, and without the line ends and indents between tags.
std::string TextOf(const CZSSettingsDocument& document) {
  std::ostringstream stream;
  document.WriteText(stream);
  return std::regex_replace(stream.str(), std::regex("^<\\?.*\\?>|\n *(?=<)|\n$"), "");
}

TEST(SettingsDocument, PathsAddressValues) {
  constexpr LONG kNone = 7;
  const struct {
    std::vector<const char*> paths; ///< Their values are 1, 2, 3...
    const char* text;
    const char* read;
    LONG value;
  } cases[] = {
      // A path of fewer than two names addresses nothing.
      {{nullptr}, "<></>", nullptr, kNone},
      {{"A"}, "<></>", "A", kNone},
      {{"A:"}, "<></>", "A:", kNone},
      {{"::"}, "<><>1</></>", "::", 1},
      {{"A:B"}, "<A><B>1</B></A>", "A:B", 1},
      {{"A:B:"}, "<A><B>1</B></A>", "A:B:", 1},
      {{"A::B"}, "<A><><B>1</B></></A>", "A::B", 1},
      {{"A:B:K1", "A:C:K2", "A:B:K3", "A:K4", "A:B:K1:", "A:C"},
       "<A><K4>4</K4><C>6</C><B><K1>5</K1><K3>3</K3></B><C><K2>2</K2></C></A>",
       "A:B:K1",
       5},
      // A new name renames the root. The renamed root is not searched for nodes, and the first of equal nodes is read.
      {{"A:K", "A:B:K", "R:B:L"}, "<R><K>1</K><B><K>2</K></B><B><L>3</L></B></R>", "A:K", kNone},
      {{"A:K", "A:B:K", "R:B:L"}, "<R><K>1</K><B><K>2</K></B><B><L>3</L></B></R>", "R:B:K", 2},
      {{"A:K", "A:B:K", "R:B:L"}, "<R><K>1</K><B><K>2</K></B><B><L>3</L></B></R>", "R:B:L", kNone},
  };
  for (const auto& [paths, text, read, value] : cases) {
    CZSSettingsDocument document;
    LONG number = 0;
    for (const char* path : paths) {
      EXPECT_TRUE(document.SetValue(path, ++number));
    }
    EXPECT_EQ(TextOf(document), text);
    EXPECT_EQ(document.GetValue(read, &number, kNone), value != kNone) << text;
    EXPECT_EQ(number, value) << text;
  }
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
  EXPECT_EQ(TextOf(read), "<R><K>V & > </K><C><L>two\nlines</L></C></R>");
}

TEST(SettingsDocument, LoadsAnyText) {
  const TemporaryFolder folder;
  CZSSettingsDocument document;
  for (const char* text : {"<?xml ?> plain", "<K>top values have no node</K>"}) {
    document.SetValue("R:OLD", "V");
    document.Load(folder.Write("a", text));
    EXPECT_EQ(TextOf(document), "<></>") << text;
  }
  const std::string text = "<R a=\"1\"><K>1</K><L/> <K x>2</K><N><M>1</M></N><N><M>2</M></N></R>"
                           "<S><N><M>3</M></N><E>\n</E></S><T>dropped</T>";
  const std::string merged = "<S><K>2</K><L></L><E></E><N><M>1</M></N><N><M>2</M></N><N><M>3</M></N></S>";
  for (const std::string& path : {folder.Write("a", text), folder.Path("missing")}) { // The second changes nothing.
    document.Load(path);
    EXPECT_EQ(TextOf(document), merged);
  }
  EXPECT_EQ(document.Root().Entries().front().attributes, "x");
  EXPECT_EQ(document.Root().Children().front().parent, &document.Root());
  std::string value;
  EXPECT_TRUE(document.GetValue("S:N:M", &value, ""));
  EXPECT_EQ(value, "1"); // The first N is read.
  EXPECT_TRUE(document.GetValue("S:E", &value, ""));
  EXPECT_EQ(value, "\n");
  EXPECT_FALSE(document.GetValue("S:K0", &value, "none"));
  EXPECT_EQ(value, "none");
  document.Save(folder.Path("missing/folder")); // A missing folder is not reported.
}

} // namespace
