#include <regex>

#include "builders/nrg_builder.h"
#include "tools/tool_run.h"

namespace {

/// A script that measures a picture in a browser: counts, the width of each track, and texts that touch each other or
/// leave the picture.
constexpr const char* kMeasure = R"(<script>
  const all = (q) => [...document.querySelectorAll(q)];
  const frame = document.querySelector('.back').getBoundingClientRect();
  const boxes = all('text').map((t) => t.getBoundingClientRect()).filter((b) => b.width > 0);
  const apart = (a, b) => a.right <= b.left || b.right <= a.left || a.bottom <= b.top + 3 || b.bottom <= a.top + 3;
  const bad = boxes.filter((a, i) => a.left < 0 || a.right > frame.right || a.bottom > frame.bottom ||
    boxes.some((b, j) => j > i && !apart(a, b)));
  const share = (t) => Math.round(100 * t.querySelector('rect').getBoundingClientRect().width / frame.width);
  const tracks = all('#line .track');
  document.body.dataset.seen = [tracks.length, all('#disc .track').length, all('.row').length, all('.segment.lead').length,
    all('.inside').length, all('#legend text').length, all('text').filter((t) => /^Session/.test(t.textContent)).length,
    all('#disc .segment')[0].r.baseVal.value, bad.length].join(' ') + (tracks.length < 9 ? ' ' + tracks.map(share).join(' ') : '');
</script>)";

class MapTool : public ToolTest {
protected:
  void SetUp() override {
    if (RunShell("command -v chromium").status != 0) {
      GTEST_SKIP() << "chromium is not installed";
    }
  }

  std::string Render(const std::string& page) const {
    return RunShellIn(folder, "chromium --headless --no-sandbox --disable-gpu --disable-quic --no-first-run "
                              "--disable-background-networking --disable-component-update --disable-sync "
                              "--user-data-dir=profile --dump-dom \"file://$PWD/" +
                                  page + "\"")
        .out;
  }

  /// Draws an image and returns what the browser measures: tracks on the line and on the disc, rows, leads, texts in
  /// tracks, entries of the legend, names of sessions, the outermost radius, bad texts, and the width of each track in
  /// percent.
  std::string Measure(const std::string& image) {
    Run("map -f -o map.html " + image);
    folder.Write("measured.html", folder.Read("map.html") + kMeasure);
    document = Render("measured.html");
    const std::size_t begin = document.find("data-seen=\"") + 11;
    return document.substr(begin, document.find('"', begin) - begin);
  }

  /// Writes a sheet with tracks of these lengths in seconds, all with one title, and returns its name.
  std::string WriteSheet(const std::vector<unsigned>& seconds, const std::string& title) {
    const std::string texts = "TITLE \"" + title + "\"\nPERFORMER \"" + title + "\"\n";
    std::string sheet = texts + "FILE \"disc.bin\" BINARY\n";
    unsigned start = 0;
    for (std::size_t i = 0; i < seconds.size(); start += seconds[i++]) {
      sheet += "TRACK " + std::to_string(i + 1) + " AUDIO\n" + texts + "INDEX 01 " + std::to_string(start / 60) + ":" +
               std::to_string(start % 60) + ":00\n";
    }
    folder.WriteSparse("disc.bin", UHYPER{start} * 75 * 2352);
    folder.Write("disc.cue", sheet);
    return "disc.cue";
  }

  std::string document;
};

TEST_F(MapTool, TracksAreDrawnToScale) {
  EXPECT_EQ("3 3 3 4 6 2 0 146 0 15 31 46", Measure(WriteSheet({600, 1200, 1800}, "A <B> & 'C'")));
  EXPECT_PRED2(Contains, document, "A &lt;B&gt; &amp; 'C'");
  const DiscPlan sessions{{{{ZSMODE_AUDIO, 30}, {ZSMODE_AUDIO, 20, 5}}, {{ZSMODE_1, 25}}, {{ZSMODE_2, 25}}}};
  folder.Write("disc.nrg", NrgImage(sessions));
  folder.Write("empty.iso", "");
  EXPECT_PRED2(Contains, Run("map empty.iso -o -"), "none: the image is empty");
  EXPECT_EQ("4 4 4 12 4 5 6 146 0 25 16 20 20", Measure("disc.nrg"));
}

TEST_F(MapTool, TextsDoNotTouch) {
  for (const std::string& title : {std::string(84, 'W'), std::string("I"), Times(20, "\u97F3\u697D")}) {
    EXPECT_EQ("99 99 99 4 0 2 0 146 0", Measure(WriteSheet(std::vector<unsigned>(99, 40), title))) << title;
  }
  EXPECT_PRED2(Contains, document, "\u697D\u2026");
  EXPECT_EQ("2 2 2 4 2 2 0 146 0 0 92", Measure(WriteSheet({1, 4000}, "Short and long")));
}

TEST_F(MapTool, SvgIsWellFormed) {
  WriteSheet({5}, "\x01\xEF\xBF\xBF & more");
  Run("map disc.cue -o disc.svg");
  const std::string seen = Render("disc.svg");
  EXPECT_PRED2(Contains, seen, "?? &amp; MORE");
  EXPECT_FALSE(Contains(seen, "parsererror")) << seen;
  EXPECT_EQ(1, RunTool(folder, "map disc.cue -o disc.png").status);
}

TEST(MapPicture, ColoursNeedNoStyleVariables) {
  const TemporaryFolder folder;
  RunTool(folder, "map '" SAMPLE_IMAGES "/cdplus.nrg' -o disc.svg");
  const ToolResult drawn = RunShell("rsvg-convert -f svg '" + folder.Path("disc.svg") + "'");
  if (drawn.status == 127) {
    GTEST_SKIP() << drawn.err;
  }
  const std::regex colour(R"(rgb\([^)]*\))");
  const std::set<std::string> colours(std::sregex_token_iterator(drawn.out.begin(), drawn.out.end(), colour), {});
  EXPECT_LE(5U, colours.size()) << drawn.err;
}

} // namespace
