#include <gtest/gtest.h>

#include <filesystem>

#include "builders/nrg_builder.h"
#include "support/temporary_folder.h"
#include "tools/tool_run.h"

namespace {

/// Tells what a browser makes of a picture: counts, the width of each track, and texts that touch each other or stick
/// out of the picture.
constexpr const char* kMeasure = R"(<script>
  const all = (q) => [...document.querySelectorAll(q)];
  const frame = document.querySelector('svg').getBoundingClientRect();
  const boxes = all('text').map((t) => t.getBoundingClientRect()).filter((b) => b.width > 0);
  const apart = (a, b) => a.right <= b.left || b.right <= a.left || a.bottom <= b.top + 3 || b.bottom <= a.top + 3;
  const bad = boxes.filter((a, i) => a.left < 0 || a.right > frame.right || boxes.some((b, j) => j > i && !apart(a, b)));
  const share = (t) => Math.round(100 * t.querySelector('rect').getBoundingClientRect().width / frame.width);
  const tracks = all('#line .track');
  document.body.dataset.seen = [tracks.length, all('#disc .track').length, all('.row').length, all('.stretch.lead').length,
    bad.length].join(' ') + (tracks.length < 9 ? ' ' + tracks.map(share).join(' ') : '');
</script>)";

class MapTool : public testing::Test {
protected:
  void SetUp() override {
    if (!std::filesystem::exists("/usr/bin/chromium")) {
      GTEST_SKIP() << "chromium is not here";
    }
  }

  std::string Render(const std::string& page) {
    return RunSystemProgram("/usr/bin/chromium",
                            {"--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                             "--disable-background-networking", "--disable-component-update", "--disable-sync",
                             "--user-data-dir=" + folder.Path("profile"), "--dump-dom", "file://" + page})
        .out;
  }

  /// What the browser saw of an image: tracks on the line and on the disc, rows, leads, bad texts, shares.
  std::string See(const std::string& image) {
    const ToolResult result = RunTool({"map", image, "-o", folder.Path("map.html")});
    EXPECT_EQ(0, result.status) << result.err;
    const std::string page = folder.Write("measured.html", folder.Read("map.html") + kMeasure);
    document = Render(page);
    const std::size_t begin = document.find("data-seen=\"") + 11;
    return document.substr(begin, document.find('"', begin) - begin);
  }

  /// A sheet with tracks of so many seconds, all with one title.
  std::string Sheet(const std::vector<unsigned>& seconds, const std::string& title) {
    std::string sheet = "TITLE \"" + title + "\"\nPERFORMER \"" + title + "\"\nFILE \"disc.bin\" BINARY\n";
    unsigned at = 0;
    for (std::size_t i = 0; i < seconds.size(); at += seconds[i++]) {
      sheet += "TRACK " + std::to_string(i + 1) + " AUDIO\nTITLE \"" + title + "\"\nPERFORMER \"" + title +
               "\"\nINDEX 01 " + std::to_string(at / 60) + ":" + std::to_string(at % 60) + ":00\n";
    }
    folder.WriteSparse("disc.bin", UHYPER{at} * 75 * 2352);
    return folder.Write("disc.cue", sheet);
  }

  TemporaryFolder folder;
  std::string document;
};

TEST_F(MapTool, DrawsTracksToScaleInABrowser) {
  EXPECT_EQ("3 3 3 4 0 15 31 46", See(Sheet({600, 1200, 1800}, "A <B> & 'C'")));
  EXPECT_NE(std::string::npos, document.find("A &lt;B&gt; &amp; 'C'")) << document;
  const DiscPlan sessions{{{{ZSMODE_AUDIO, 30}, {ZSMODE_AUDIO, 20, 5}}, {{ZSMODE_1, 25}}, {{ZSMODE_2, 25}}}};
  EXPECT_EQ("4 4 4 12 0 25 16 20 20", See(folder.Write("disc.nrg", NrgImage(sessions))));
}

TEST_F(MapTool, KeepsTextsInTheirPlaces) {
  for (const char* title : {"WWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWW", "I",
                            "\u97F3\u697D\u97F3\u697D\u97F3\u697D\u97F3\u697D\u97F3\u697D\u97F3\u697D\u97F3\u697D"
                            "\u97F3\u697D\u97F3\u697D\u97F3\u697D\u97F3\u697D\u97F3\u697D\u97F3\u697D\u97F3\u697D"}) {
    EXPECT_EQ("99 99 99 4 0", See(Sheet(std::vector<unsigned>(99, 40), title))) << title;
  }
  EXPECT_EQ("2 2 2 4 0 0 92", See(Sheet({1, 4000}, "Short and long")));
}

TEST_F(MapTool, WritesAnSvgThatStandsAlone) {
  ASSERT_EQ(0, RunTool({"map", Sheet({5}, "\x01\xEF\xBF\xBF & more"), "-o", folder.Path("disc.svg")}).status);
  const std::string seen = Render(folder.Path("disc.svg"));
  EXPECT_NE(std::string::npos, seen.find("?? &amp; MORE")) << seen;
  EXPECT_EQ(std::string::npos, seen.find("parsererror")) << seen;
  EXPECT_EQ(1, RunTool({"map", folder.Path("disc.cue"), "-o", folder.Path("disc.png")}).status);
}

} // namespace
