#include "toc/tag_parser.h"

#include <gtest/gtest.h>

#include <ctime>

#include "support/long_text.h"
#include "toc/tree_builder.h"

namespace {

using Events = std::vector<std::string>;

class Recorder final : public IZSTagHandler {
public:
  void OnStartElement(const std::string& name, const std::string& attributes) override {
    events.push_back("start " + name + "|" + attributes);
  }
  void OnValueElement(const std::string& name, const std::string& value, const std::string& attributes) override {
    events.push_back("value " + name + "|" + attributes + "|" + value);
  }
  void OnEndElement(const std::string& name, const std::string& attributes) override {
    events.push_back("end " + name + "|" + attributes);
  }
  Events events;
};

Events EventsOf(const std::string& text) {
  Recorder recorder;
  CZSTagParser parser;
  parser.SetHandler(&recorder);
  EXPECT_EQ(parser.Parse(text.data(), static_cast<LONG>(text.size())), !text.empty());
  return recorder.events;
}

TEST(TagParser, ReportsElements) {
  const struct {
    const char* text;
    Events events;
  } cases[] = {
      {"<?xml version=\"1.0\" ?>", {}},
      {"<a>1</a>\r\n<b> 2 </b>", {"value a||1", "value b|| 2 "}},
      {"<a x=\"1\" y><b z/></a>", {"start a|x=\"1\" y", "value b|z/|", "end a|x=\"1\" y"}},
      {"<a><a>1</a></a><a>2</a>", {"start a|", "value a||1", "end a|", "value a||2"}},
      {"<a><a x>1</a></a>", {"start a|", "end a|"}}, // The tag with attributes is not counted.
      {"<a>1 < 2</a>", {"start a|", "end a|"}},
      {"<a>&lt; > \"</a>", {"value a||&lt; > \""}},
      {"<a><!-- <b> --><b>1</b></a>", {"start a|", "value b||1", "end a|"}},
      {"<a><![CDATA[x]]><b>1</b></a><c></c>", {"start a|", "end a|", "value c||"}},
      {"<><b>1</b></>", {"value b||1"}},
      {"<a>1</a ></A>", {}},
      {"<a>1</ba><x/a></a><b>2</b>", {"start a|", "end a|", "value b||2"}}, // Neither "</ba>" nor "<x/a>" closes "a".
      {"<a><<a></a><b>1</b></a>", {"start a|", "end a|"}},                  // "<<a>" contains the opening tag "<a>".
      {"<ba><a>1</a></ba>", {"start ba|", "value a||1", "end ba|"}},
      {"<xLETTERS>1</xLETTERS><yLETTERS>2</yLETTERS><xLETTERS>3</xLETTERS>",
       {"value xLETTERS||1", "value yLETTERS||2", "value xLETTERS||3"}},
      {"<r><a>1</r>2</a><b></b>", {"start r|", "end r|"}},
      {"<r><a><b/></a><c>1</c></r><d>2</d>", {"start r|", "start a|", "value b||", "end a|", "end r|", "value d||2"}},
      {"<r><a><b/> </a><c>1</c></r>", {"start r|", "start a|", "value b||", "end a|", "value c||1", "end r|"}},
  };
  for (const auto& test : cases) {
    EXPECT_EQ(EventsOf(test.text), test.events) << test.text;
  }
}

/// A search that starts over for each tag needs quadratic time on these texts.
TEST(TagParser, ParsesHostileTextsInLinearTimeAndBoundedStack) {
  constexpr std::size_t kCount = 20000;
  std::string growing, closed;
  for (std::size_t i = 1; i < 1000; ++i) {
    growing += std::string(i, '<') + ">" + Times(2 * i, "</") + ">";
  }
  for (std::size_t i = kCount; i-- > 0;) {
    closed += "</n" + std::to_string(i) + ">";
  }
  for (const std::string& text :
       {Times(kCount, "<a>") + Times(2 * kCount, "</a>"), Times(kCount, "<a x>") + Times(kCount, "</a>"),
        Times(kCount, "<a></a"), Times(kCount, "<a><a>1</a>"), Times(kCount, "<a><b></a>"),
        std::string(kCount, '<') + Times(kCount, "</") + ">", growing, Times(kCount, "<n#>") + closed}) {
    const std::clock_t begin = std::clock();
    CZSTreeBuilder builder;
    CZSTagParser parser;
    parser.SetHandler(&builder);
    EXPECT_TRUE(parser.Parse(text.data(), static_cast<LONG>(text.size())));
    EXPECT_GT(begin + 5 * CLOCKS_PER_SEC, std::clock()) << text.substr(0, 40);
  }
}

} // namespace
