#include "toc/tag_parser.h"

#include "support/test.h"

namespace {

/// Writes "<name|attributes>" for a start, "name|attributes=value;" for a value and "</name|attributes>" for an end.
class Recorder final : public IZSTagHandler {
public:
  void OnStartElement(const std::string& name, const std::string& attributes) override {
    events += "<" + name + "|" + attributes + ">";
  }
  void OnValueElement(const std::string& name, const std::string& value, const std::string& attributes) override {
    events += name + "|" + attributes + "=" + value + ";";
  }
  void OnEndElement(const std::string& name, const std::string& attributes) override {
    events += "</" + name + "|" + attributes + ">";
  }
  std::string events;
};

TEST(TagParser, ReportsElements) {
  const std::pair<std::string, const char*> cases[] = {
      {"", ""},
      {"<?xml version=\"1.0\" ?>", ""},
      {"<a>1</a>\r\n<b> 2 </b>", "a|=1;b|= 2 ;"},
      {"<a x=\"1\" y><b z/></a>", "<a|x=\"1\" y>b|z/=;</a|x=\"1\" y>"},
      {"<a><a>1</a></a><a>2</a>", "<a|>a|=1;</a|>a|=2;"},
      {"<a><a x>1</a></a>", "<a|></a|>"}, // The tag with attributes is not counted.
      {"<a>1 < 2</a>", "<a|></a|>"},
      {"<a>&lt; > \"</a>", "a|=&lt; > \";"},
      {"<a><!-- <b> --><b>1</b></a>", "<a|>b|=1;</a|>"},
      {"<a><![CDATA[x]]><b>1</b></a><c></c>", "<a|></a|>c|=;"},
      {"<><b>1</b></>", "b|=1;"},
      {"<a>1</a ></A>", ""},
      {"<a>1</ba><x/a></a><b>2</b>", "<a|></a|>b|=2;"}, // Neither "</ba>" nor "<x/a>" closes "a".
      {"<a><<a></a><b>1</b></a>", "<a|></a|>"},         // "<<a>" contains the opening tag "<a>".
      {"<ba><a>1</a></ba>", "<ba|>a|=1;</ba|>"},
      {"<xLETTERS>1</xLETTERS><yLETTERS>2</yLETTERS><xLETTERS>3</xLETTERS>", "xLETTERS|=1;yLETTERS|=2;xLETTERS|=3;"},
      {"<r><a>1</r>2</a><b></b>", "<r|></r|>"},
      {"<r><a><b/></a><c>1</c></r><d>2</d>", "<r|><a|>b|=;</a|></r|>d|=2;"},
      {"<r><a><b/> </a><c>1</c></r>", "<r|><a|>b|=;</a|>c|=1;</r|>"},
  };
  for (const auto& [text, events] : cases) {
    Recorder recorder;
    CZSTagParser parser;
    parser.SetHandler(&recorder);
    EXPECT_EQ(parser.Parse(text.data(), static_cast<LONG>(text.size())), !text.empty());
    EXPECT_EQ(recorder.events, events) << text;
  }
}

} // namespace
