#include <nlohmann/json.hpp>

#include "builders/byte_writer.h"
#include "builders/mds_builder.h"
#include "builders/sectors.h"
#include "tools/tool_run.h"

using nlohmann::json;

namespace {

constexpr const char* kSheet = "CATALOG 4006381333931\nFILE \"disc.bin\" BINARY\nTRACK 01 MODE1/2352\n"
                               "INDEX 01 00:00:00\nTRACK 02 MODE2/2352\nINDEX 01 00:00:20\nTRACK 03 AUDIO\n"
                               "ISRC DEABC0700001\nINDEX 00 00:00:40\nINDEX 01 00:00:45\n";

class CheckTool : public ToolTest {
protected:
  /// Returns the faults that a check finds, with their tracks, such as "1:edc ", or 0 for the disc.
  std::string Faults(const std::string& arguments) const {
    const ToolResult result = RunTool(folder, "check --json " + arguments);
    const json report = json::parse(result.out, nullptr, false);
    if (!report.contains("tracks")) {
      return result.out + result.err;
    }
    std::string faults;
    for (std::size_t i = 0; i <= report["tracks"].size(); ++i) {
      for (const json& finding : (i == 0 ? report : report["tracks"][i - 1])["findings"]) {
        faults += finding["fault"] ? std::to_string(i) + ":" + finding["kind"].get<std::string>() + " " : "";
      }
    }
    EXPECT_EQ(faults.empty() ? 0 : 1, result.status);
    EXPECT_EQ(faults.empty(), report["good"]);
    return faults;
  }

  std::string FaultsWith(const std::string& sheet) const {
    folder.Write("disc.bin", image);
    folder.Write("disc.cue", sheet);
    return Faults("disc.cue");
  }

  const DiscPlan disc{{{{ZSMODE_1}, {ZSMODE_2}, {ZSMODE_AUDIO, 20, 5}}}};
  const std::vector<BYTE> sound = DiscSectors(disc);
  std::vector<BYTE> image = sound;
};

TEST_F(CheckTool, SectorFaults) {
  const std::vector<BYTE> sync(sound.begin(), sound.begin() + 12);
  std::vector<BYTE> form2(sound.begin() + 30 * 2352, sound.begin() + 31 * 2352 - 4);
  form2[18] = form2[22] = 0x20;
  const ULONG code = ErrorDetectionCode(form2.data() + 16, 2332);
  const std::tuple<int, int, std::vector<BYTE>, const char*> kCases[] = {
      {0, 0, {0}, ""}, // No change.
      {3, 5, {0}, "1:sync 1:edc "},
      {3, 13, {0x59}, "1:time 1:edc "},
      {3, 15, {2}, "1:mode 1:edc "},
      {19, 16, {0x55}, "1:edc "},
      {0, 2067, {0x55}, "1:edc "},
      {0, 2068, {0x55}, ""}, // After the code.
      {25, 12, {0x01}, "2:time "},
      {25, 22, {0x09}, "2:sub-header "},
      {39, 2071, {0x55}, "2:edc "},
      {30, 0, ByteWriter().Bytes(form2).Little32(0).Get(), ""}, // Form 2 without a code.
      {30, 0, ByteWriter().Bytes(form2).Little32(code).Get(), ""},
      {30, 0, ByteWriter().Bytes(form2).Little32(code + 1).Get(), "2:edc "},
      {50, 0, sync, "3:data "},
  };
  for (const auto& [sector, byte, bytes, faults] : kCases) {
    image = sound;
    std::copy(bytes.begin(), bytes.end(), image.begin() + sector * 2352 + byte);
    EXPECT_EQ(faults, FaultsWith(kSheet)) << sector << ' ' << byte;
  }
  image = sound;
  image[3 * 2352 + 16] ^= 1;
  image[5 * 2352 + 16] ^= 1;
  FaultsWith(kSheet);
  ExpectShown("check disc.cue", "in 2 of 20 sectors, the first is sector 3 (00:02:03)");
}

TEST_F(CheckTool, SheetFaults) {
  const std::tuple<std::string, const char*, const char*> kCases[] = {
      {"4006381333931", "4006381333932", "0:mcn "}, {"4006381333931", "400638133393", "0:mcn "},
      {"DEABC0700001", "DEABC070001", "3:isrc "},   {"DEABC0700001", "D1ABC0700001", "3:isrc "},
      {"00:00:45", "00:01:45", "3:missing "},
  };
  for (const auto& [text, instead, faults] : kCases) {
    std::string sheet = kSheet;
    sheet.replace(sheet.find(text), text.size(), instead);
    EXPECT_EQ(faults, FaultsWith(sheet)) << instead;
  }
}

TEST_F(CheckTool, RemarksOfSeveralTracksAreShownOnce) {
  FaultsWith(kSheet);
  folder.Write("many.cue", "FILE \"disc.bin\" BINARY\nTRACK 01 AUDIO\nINDEX 01 00:00:00\nTRACK 02 AUDIO\n"
                           "INDEX 01 00:00:20\nTRACK 03 AUDIO\nINDEX 01 00:00:40\n");
  ExpectShown("check many.cue", "  note   session 1, track 1 and 2 others: shorter than the 4 seconds");
  // A file that ends before the last track begins.
  folder.Write("disc.bin", std::vector<BYTE>(sound.begin(), sound.begin() + 30 * 2352));
  ExpectShown("info many.cue",
              "  20  cut off, 10 sectors missing\n        1      3  audio   2352  00:02:40      40         -"
              "        -  cut off, 10 sectors missing\n");
  ExpectShown("check many.cue", "4 faults, 30 of 40 sectors checked");
  ExpectShown("check many.cue", "fault  session 1, track 2 and 1 other: cut off, 10 sectors missing");
  ExpectShown("map many.cue -o -", "audio, cut off, 10 sectors missing</text>");
  EXPECT_EQ(1, RunTool(folder, "extract many.cue --track 3 -o x").status);
  folder.Write("disc.bin", "RIFF" + std::string(60 * 2352 - 4, '\0'));
  ExpectShown("info many.cue", "a sound file (RIFF) that is read as raw samples");
  ExpectShown("check many.cue", "fault  disc: the data file is a sound file (RIFF)");
  ExpectShown("check many.cue", "            disc      ");
}

TEST_F(CheckTool, SizesWithoutWholeSectorsAreReported) {
  folder.Write("empty.iso", "");
  ExpectShown("info empty.iso", "Kind        none: the image is empty");
  std::vector<BYTE> plain = DiscSectors({{{{ZSMODE_1, 20, 0, 2048}}}});
  plain.push_back(0);
  folder.Write("odd.iso", plain);
  const std::string over = "1 byte is over after whole sectors of 2048 bytes; 'zsimage extract --partial'";
  ExpectShown("info odd.iso", "Kind        none: " + over);
  ExpectShown("check odd.iso", over);
  ExpectShown("extract odd.iso --track 1 --partial -o -", std::string(plain.begin(), plain.end() - 1));
}

TEST_F(CheckTool, TracksMustMatchTheirData) {
  folder.Write("disc.mds", MdsOf(disc).Build());
  const auto withBytes = [&](std::size_t bytes) {
    image.resize(bytes);
    folder.Write("disc.mdf", image);
    return Faults("disc.mds");
  };
  EXPECT_EQ("", withBytes(sound.size()));
  EXPECT_EQ("3:missing ", withBytes(sound.size() - 1));
  EXPECT_EQ("2:missing 3:missing ", withBytes(39 * 2352 + 1000));
  // A TOC file states both ends of a track.
  image = sound;
  ASSERT_EQ("", FaultsWith(kSheet));
  Run("convert disc.cue toc.zsi --with-data");
  const std::string toc = folder.Read("toc.zsi");
  const auto withEnd = [&](const char* end) {
    std::string changed = toc;
    changed.replace(changed.find("<END-DATA>20<") + 10, 2, end);
    folder.Write("toc.zsi", changed);
    return Faults("toc.zsi");
  };
  EXPECT_EQ("", withEnd("20"));
  EXPECT_EQ("2:gap ", withEnd("18"));
  EXPECT_EQ("1:mode 1:edc 2:overlap ", withEnd("22"));
}

TEST_F(CheckTool, FileSystemMustBeWhole) {
  std::vector<BYTE> plain = DiscSectors({{{{ZSMODE_1, 40, 0, 2048}}}});
  plain[16 * 2048 + 80] = 40;
  folder.Write("whole.iso", plain);
  folder.Write("whole.cdt", "a stray file");
  EXPECT_EQ("", Faults("whole.iso"));
  plain.resize(39 * 2048);
  folder.Write("cut.iso", plain);
  EXPECT_EQ("0:volume ", Faults("cut.iso"));
}

TEST_F(CheckTool, FullCheckReadsEverySector) {
  image = DiscSectors({{{{ZSMODE_1, 600}}}});
  image[17 * 2352 + 100] ^= 1; // Between two sampled segments.
  EXPECT_EQ("", FaultsWith("FILE \"disc.bin\" BINARY\nTRACK 01 MODE1/2352\nINDEX 01 00:00:00\n"));
  EXPECT_EQ("1:edc ", Faults("disc.cue --full"));
}

TEST_F(CheckTool, CDTextMustMatchItsCheckBytes) {
  const std::string sheet = std::string("TITLE \"A\"\n") + kSheet;
  EXPECT_EQ("", FaultsWith(sheet));
  Run("cdtext encode disc.cue -o DISC.CDT");
  EXPECT_EQ("", Faults("disc.cue"));
  folder.Write("DISC.CDT", folder.Read("DISC.CDT").replace(5, 1, "?"));
  EXPECT_EQ("0:cdtext ", Faults("disc.cue"));
  folder.WriteSparse("DISC.CDT", 17 << 20);
  EXPECT_EQ("0:cdtext ", Faults("disc.cue"));
  ExpectShown("check disc.cue", ": DISC.CDT: this is too large");
}

TEST_F(CheckTool, SamplesAreGood) {
  for (const std::string& sample : kSampleImages) {
    const bool isRefused = sample.ends_with(".bwt");
    EXPECT_TRUE(isRefused || Faults("--full '" SAMPLE_IMAGES "/" + sample + "'").empty()) << sample;
  }
}

} // namespace
