#include <gtest/gtest.h>

#include <algorithm>

#include <nlohmann/json.hpp>

#include "anomaly/operations.h"
#include "builders/mds_builder.h"
#include "builders/mpeg_stream.h"
#include "builders/sectors.h"
#include "support/temporary_folder.h"
#include "tools/tool_run.h"

using nlohmann::json;

namespace {

constexpr const char* kSheet = "CATALOG 4006381333931\nFILE \"disc.bin\" BINARY\nTRACK 01 MODE1/2352\n"
                               "INDEX 01 00:00:00\nTRACK 02 MODE2/2352\nINDEX 01 00:00:20\nTRACK 03 AUDIO\n"
                               "ISRC DEABC0700001\nINDEX 00 00:00:40\nINDEX 01 00:00:45\n";

class CheckTool : public testing::Test {
protected:
  /// Kinds of faults behind the tracks that have them, such as "1:edc".
  std::string Faults(const std::string& path, const std::vector<std::string>& options = {}) {
    std::vector<std::string> arguments{"check", "--json", path};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const ToolResult result = RunTool(arguments);
    const json report = json::parse(result.out, nullptr, false);
    if (!report.contains("tracks")) {
      return result.out + result.err;
    }
    std::string faults;
    const auto add = [&](std::size_t track, const json& findings) {
      for (const json& finding : findings) {
        faults += !finding["fault"] ? "" : std::to_string(track) + ":" + finding["kind"].get<std::string>() + " ";
      }
    };
    add(0, report["findings"]);
    for (std::size_t i = 0; i < report["tracks"].size(); ++i) {
      add(i + 1, report["tracks"][i]["findings"]);
    }
    EXPECT_EQ(faults.empty() ? 0 : 1, result.status);
    EXPECT_EQ(faults.empty(), report["good"]);
    return faults;
  }

  std::string WithSheet(const std::string& sheet) {
    folder.Write("disc.bin", image);
    return folder.Write("disc.cue", sheet);
  }

  const DiscPlan disc{{{{ZSMODE_1}, {ZSMODE_2}, {ZSMODE_AUDIO, 20, 5}}}};
  std::vector<BYTE> image = DiscSectors(disc);
  TemporaryFolder folder;
};

struct ByteFault {
  std::size_t sector;
  std::size_t byte;
  BYTE value;
  const char* faults;
};

TEST_F(CheckTool, FindsAFaultInASector) {
  const ByteFault cases[] = {
      {0, 0, 0, ""}, // What is there already: nothing is wrong without a fault.
      {3, 5, 0, "1:sync 1:edc "},
      {3, 13, 0x59, "1:time 1:edc "},
      {3, 15, 2, "1:mode 1:edc "},
      {19, 16, 0x55, "1:edc "},
      {0, 2067, 0x55, "1:edc "},
      {0, 2068, 0x55, ""}, // Behind the code.
      {25, 12, 0x01, "2:time "},
      {25, 22, 0x09, "2:sub-header "},
      {39, 2071, 0x55, "2:edc "},
  };
  const std::vector<BYTE> sound = image;
  for (const ByteFault& fault : cases) {
    image = sound;
    image[fault.sector * 2352 + fault.byte] = fault.value;
    EXPECT_EQ(fault.faults, Faults(WithSheet(kSheet))) << fault.sector << " " << fault.byte;
  }
  image = sound;
  std::copy_n(image.begin(), 12, image.begin() + 50 * 2352);
  EXPECT_EQ("3:data ", Faults(WithSheet(kSheet)));
}

TEST_F(CheckTool, TakesForm2WithItsCodeOrWithout) {
  BYTE* sector = image.data() + 30 * 2352;
  sector[18] = sector[22] = 0x20;
  std::fill_n(sector + 2348, 4, BYTE{0});
  EXPECT_EQ("", Faults(WithSheet(kSheet)));
  const ULONG code = ErrorDetectionCode(sector + 16, 2332);
  for (std::size_t i = 0; i < 4; ++i) {
    sector[2348 + i] = static_cast<BYTE>(code >> (8 * i));
  }
  EXPECT_EQ("", Faults(WithSheet(kSheet)));
  sector[2348] ^= 1;
  EXPECT_EQ("2:edc ", Faults(WithSheet(kSheet)));
}

struct TextFault {
  const char* text;
  const char* instead;
  const char* faults;
};

TEST_F(CheckTool, FindsAFaultInASheet) {
  const TextFault cases[] = {
      {"4006381333931", "4006381333932", "0:mcn "}, {"4006381333931", "400638133393", "0:mcn "},
      {"DEABC0700001", "DEABC070001", "3:isrc "},   {"DEABC0700001", "D1ABC0700001", "3:isrc "},
      {"00:00:45", "00:01:45", "3:length "},
  };
  for (const TextFault& fault : cases) {
    std::string sheet = kSheet;
    sheet.replace(sheet.find(fault.text), std::string(fault.text).size(), fault.instead);
    EXPECT_EQ(fault.faults, Faults(WithSheet(sheet))) << fault.instead;
  }
}

TEST_F(CheckTool, FindsWhatADescriptionClaimsInVain) {
  const std::string mds = folder.Write("disc.mds", MdsOf(disc).Build());
  const auto withBytes = [&](std::size_t bytes) {
    folder.Write("disc.mdf", std::vector<BYTE>(image.begin(), image.begin() + static_cast<std::ptrdiff_t>(bytes)));
    return Faults(mds);
  };
  EXPECT_EQ("", withBytes(image.size()));
  EXPECT_EQ("3:missing ", withBytes(image.size() - 1));
  EXPECT_EQ("2:missing 3:missing ", withBytes(39 * 2352 + 1000));
  EXPECT_EQ(1, RunTool({"check", folder.Path("gone.cue")}).status);
  // A TOC file states both ends of a track.
  ASSERT_EQ(0, RunTool({"convert", WithSheet(kSheet), folder.Path("toc.zsi"), "--with-data"}).status);
  const std::string toc = folder.Read("toc.zsi");
  const auto withEnd = [&](const char* end) {
    std::string changed = toc;
    changed.replace(changed.find("<END-DATA>20<") + 10, 2, end);
    return Faults(folder.Write("toc.zsi", changed));
  };
  EXPECT_EQ("", withEnd("20"));
  EXPECT_EQ("2:gap ", withEnd("18"));
  EXPECT_EQ("1:mode 1:edc 2:overlap ", withEnd("22"));
}

TEST_F(CheckTool, FindsAFileSystemThatWasCutOff) {
  std::vector<BYTE> plain(40 * 2048);
  const std::vector<BYTE> descriptor = VolumeDescriptor("LINUX");
  std::copy(descriptor.begin(), descriptor.end(), plain.begin() + 16 * 2048);
  plain[16 * 2048 + 80] = 40;
  EXPECT_EQ("", Faults(folder.Write("disc.iso", plain)));
  plain.resize(39 * 2048);
  EXPECT_EQ("0:volume ", Faults(folder.Write("disc.iso", plain)));
}

TEST_F(CheckTool, LooksAtAllWhenAsked) {
  image = DiscSectors({{{{ZSMODE_1, 600}}}});
  image[17 * 2352 + 100] ^= 1; // Between two sampled stretches.
  const std::string path = WithSheet("FILE \"disc.bin\" BINARY\nTRACK 01 MODE1/2352\nINDEX 01 00:00:00\n");
  EXPECT_EQ("", Faults(path));
  EXPECT_EQ("1:edc ", Faults(path, {"--full"}));
}

TEST_F(CheckTool, ComparesTextWithItsCheckBytes) {
  const std::string path = WithSheet(std::string("TITLE \"A\"\n") + kSheet);
  ASSERT_EQ(0, RunTool({"cdtext", "encode", path, "-o", folder.Path("DISC.CDT")}).status);
  EXPECT_EQ("", Faults(path));
  std::string packs = folder.Read("DISC.CDT");
  packs[5] ^= 1;
  folder.Write("DISC.CDT", packs);
  EXPECT_EQ("0:cdtext ", Faults(path));
}

TEST_F(CheckTool, FindsNothingWrongWithTheSamples) {
  for (const std::string& image : kSampleImages) {
    if (!image.ends_with(".bwt")) {
      EXPECT_EQ("", Faults(SAMPLE_IMAGES "/" + image, {"--full"})) << image;
    }
  }
}

TEST_F(CheckTool, FindsNothingWrongWithARealVideoDisc) {
  const std::vector<BYTE> film = MpegStream(200);
  const std::string mpeg = folder.Write("film.mpg", film);
  const ToolResult maker =
      RunSystemProgram("/usr/bin/vcdimager", {"-q", "-b", folder.Path("vcd.bin"), "-c", folder.Path("vcd.cue"), mpeg});
  if (maker.status != 0) {
    GTEST_SKIP() << "vcdimager is not here";
  }
  EXPECT_EQ("", Faults(folder.Path("vcd.cue"), {"--full"}));
}

} // namespace
