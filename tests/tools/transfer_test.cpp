#include <gtest/gtest.h>

#include <filesystem>

#include <nlohmann/json.hpp>

#include "builders/mds_builder.h"
#include "builders/nrg_builder.h"
#include "support/temporary_folder.h"
#include "tools/tool_run.h"

using nlohmann::json;

namespace {

std::string Text(const std::vector<BYTE>& bytes) { return {bytes.begin(), bytes.end()}; }

/// The bytes of a track from index 1 on.
std::string ProperSectors(const DiscPlan& disc, std::size_t track) {
  const PlacedTrack placed = PlaceTracks(disc)[track];
  return Text(TrackSectors(disc, placed)).substr(std::size_t{placed.pregap} * placed.size);
}

class TransferTool : public testing::Test {
protected:
  std::string Path(const char* name) const { return folder.Path(name); }

  /// Extracts into "out" and gives the bytes.
  std::string Extract(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "extract");
    arguments.insert(arguments.end(), {"-o", Path("out")});
    const ToolResult result = RunTool(arguments);
    EXPECT_EQ(0, result.status) << result.err;
    return result.status == 0 ? folder.Read("out") : "";
  }

  void ExpectFailure(const std::vector<std::string>& arguments, const char* code, const char* words) {
    const ToolResult result = RunTool(arguments);
    EXPECT_EQ(1, result.status) << words;
    EXPECT_NE(std::string::npos, result.err.find(code)) << result.err;
    EXPECT_NE(std::string::npos, result.err.find(words)) << result.err;
  }

  /// Two tracks of audio, the second with a pregap, and text.
  std::string WriteAudio() {
    folder.Write("disc.bin", DiscSectors(audio));
    return folder.Write("disc.cue", "TITLE \"Album\"\nFILE \"disc.bin\" BINARY\n"
                                    "TRACK 01 AUDIO\nTITLE \"One\"\nINDEX 01 00:00:00\n"
                                    "TRACK 02 AUDIO\nTITLE \"Two\"\nFLAGS DCP\nISRC DEABC0700002\n"
                                    "INDEX 00 00:00:40\nINDEX 01 00:00:50\n");
  }

  const DiscPlan audio{{{{ZSMODE_AUDIO, 40}, {ZSMODE_AUDIO, 30, 10}}}, ""};
  TemporaryFolder folder;
};

TEST_F(TransferTool, ExtractsTracksByteForByte) {
  const std::string cue = WriteAudio();
  EXPECT_EQ(ProperSectors(audio, 0), Extract({cue, "--track", "1"}));
  EXPECT_EQ(ProperSectors(audio, 1), Extract({cue, "--session", "1", "--track", "2", "--block-size", "0"}));
  EXPECT_EQ(ProperSectors(audio, 1), RunTool({"extract", cue, "--track", "2", "-o", "-"}).out);
  ASSERT_EQ(0, RunTool({"extract", cue, "--all", Path("new/all")}).status);
  EXPECT_EQ(ProperSectors(audio, 0), folder.Read("new/all/session-1-track-01.bin"));
  EXPECT_EQ(ProperSectors(audio, 1), folder.Read("new/all/session-1-track-02.bin"));
}

TEST_F(TransferTool, CutsSectorsByTheTracksOwnMode) {
  // The record's own offset fits the last data track alone.
  const DiscPlan disc{{{{ZSMODE_1, 20}, {ZSMODE_AUDIO, 5}, {ZSMODE_2, 20}}}};
  const std::string image = folder.Write("disc.nrg", NrgImage(disc));
  const std::string first = ProperSectors(disc, 0);
  const std::string third = ProperSectors(disc, 2);
  const std::string cooked = Extract({image, "--track", "1", "--block-size", "2048"});
  const std::string form1 = Extract({image, "--track", "3", "--block-size", "2048"});
  const std::string form2 = Extract({image, "--track", "3", "--block-size", "2336"});
  ASSERT_EQ(20U * 2048, cooked.size());
  for (std::size_t i = 0; i < 20; ++i) {
    EXPECT_EQ(first.substr(i * 2352 + 16, 2048), cooked.substr(i * 2048, 2048));
    EXPECT_EQ(third.substr(i * 2352 + 24, 2048), form1.substr(i * 2048, 2048));
    EXPECT_EQ(third.substr(i * 2352 + 16, 2336), form2.substr(i * 2336, 2336));
  }
  ExpectFailure({"extract", image, "--track", "1", "--block-size", "2340", "-o", Path("x")}, "E_INVALIDARG",
                "hold no block of 2340 bytes");
}

TEST_F(TransferTool, FindsTracksThatTheDiscHasElsewhere) {
  const DiscPlan sessions{{{{ZSMODE_AUDIO, 30}, {ZSMODE_AUDIO, 20, 5}}, {{ZSMODE_1, 25}, {ZSMODE_1, 20, 4}}}};
  const DiscPlan mixed{{{{ZSMODE_1, 20, 0, 2048}, {ZSMODE_AUDIO, 15, 6}, {ZSMODE_AUDIO, 8}}}};
  for (const DiscPlan& disc : {sessions, mixed}) {
    const std::string nrg = folder.Write("disc.nrg", NrgImage(disc));
    const std::vector<PlacedTrack> tracks = PlaceTracks(disc);
    for (std::size_t i = 0; i < tracks.size(); ++i) {
      const UINT before = tracks[i].session == 0 ? 0 : 2;
      EXPECT_EQ(ProperSectors(disc, i), Extract({nrg, "--session", std::to_string(tracks[i].session + 1), "--track",
                                                 std::to_string(tracks[i].number - before)}))
          << i;
    }
  }
  folder.Write("disc.mdf", DiscSectors(sessions));
  const std::string mds = folder.Write("disc.mds", MdsOf(sessions).Build());
  EXPECT_EQ(ProperSectors(sessions, 2), Extract({mds, "--session", "2", "--track", "1"}));
  // The silence that a PREGAP line asks for is not in the file.
  folder.Write("disc.bin", DiscSectors(audio));
  const std::string cue = folder.Write("gap.cue", "FILE \"disc.bin\" BINARY\nTRACK 01 AUDIO\nINDEX 01 00:00:00\n"
                                                  "TRACK 02 AUDIO\nPREGAP 00:00:07\nINDEX 01 00:00:50\n");
  EXPECT_EQ(ProperSectors(audio, 1), Extract({cue, "--track", "2"}));
}

TEST_F(TransferTool, ReportsWhatWentWrongWithAnExtraction) {
  const std::string cue = WriteAudio();
  ExpectFailure({"extract", cue, "--track", "3", "-o", Path("x")}, "E_INVALIDARG", "no track 3 in session 1");
  ExpectFailure({"extract", cue, "--session", "2", "--track", "1", "-o", Path("x")}, "E_INVALIDARG", "no session 2");
  ExpectFailure({"extract", cue, "--track", "1", "-o", "/dev/full"}, "ERROR_DISK_FULL", "the disk is full");
  ExpectFailure({"extract", cue, "--track", "1", "-o", Path("no/x")}, "ERROR_PATH_NOT_FOUND", "folder");
  ExpectFailure({"extract", cue, "--track", "1", "-o", Path("disc.bin")}, "E_INVALIDARG", "own data file");
  EXPECT_EQ(Text(DiscSectors(audio)), folder.Read("disc.bin"));
  folder.Write("short.mdf", std::string(45 * 2352 + 100, 'x'));
  const std::string mds = folder.Write("short.mds", MdsOf(audio).Build());
  ExpectFailure({"extract", mds, "--track", "2", "-o", Path("x")}, "ERROR_HANDLE_EOF", "30 of its 30 sectors");
  ExpectFailure({"extract", mds, "--all", Path("all")}, "ERROR_HANDLE_EOF", "; the part that is there has been saved");
  EXPECT_EQ(40U * 2352, folder.Read("all/session-1-track-01.bin").size()) << "whole tracks are kept";
}

TEST_F(TransferTool, ShowsProgressAndCancels) {
  const std::string image = folder.WriteSparse("big.iso", UHYPER{32} << 30);
  const ToolResult result = InterruptTool({"extract", image, "--track", "1", "-o", Path("out")}, "MB/s");
  EXPECT_EQ(130, result.status);
  EXPECT_NE(std::string::npos, result.out.find("% ")) << result.out;
  EXPECT_NE(std::string::npos, result.out.find("cancelled")) << result.out;
  EXPECT_FALSE(std::filesystem::exists(Path("out")));
}

TEST_F(TransferTool, ConvertsToASheet) {
  const std::string cue = WriteAudio();
  const ToolResult result = RunTool({"convert", cue, Path("new.cue")});
  ASSERT_EQ(0, result.status) << result.err;
  EXPECT_NE(std::string::npos, result.out.find("NEW.BIN; no such file yet")) << result.out;
  EXPECT_EQ("CDTEXTFILE \"NEW.CDT\"\r\nFILE \"NEW.BIN\" BINARY\r\n  TRACK 01 AUDIO\r\n    INDEX 01 00:00:00\r\n"
            "  TRACK 02 AUDIO\r\n    ISRC DEABC0700002\r\n    FLAGS DCP \r\n    INDEX 00 00:00:40\r\n"
            "    INDEX 01 00:00:50\r\n",
            folder.Read("new.cue"));
  ASSERT_EQ(0, RunTool({"convert", cue, Path("new.cue"), "--with-data"}).status);
  EXPECT_EQ(Text(DiscSectors(audio)), folder.Read("NEW.BIN"));
  const json sheet = json::parse(RunTool({"info", "--json", Path("new.cue")}).out)["pZSCueSheet"][0];
  EXPECT_EQ("ALBUM", sheet["ZSCDTEXT"]["bstrTitle"]);
  EXPECT_EQ("TWO", sheet["pZSTracks"][1]["bstrTitle"]);
  EXPECT_EQ(80, sheet["pZSTracks"][1]["dwEndLBA"]);
}

TEST_F(TransferTool, GivesEachPositionOfASheetItsSector) {
  // A PREGAP line becomes silence in the new file; the sub-channel behind each sector stays behind.
  folder.Write("disc.bin", DiscSectors(audio));
  const std::string cue = folder.Write("gap.cue", "FILE \"disc.bin\" BINARY\nTRACK 01 AUDIO\nINDEX 01 00:00:00\n"
                                                  "TRACK 02 AUDIO\nPREGAP 00:00:07\nINDEX 01 00:00:50\n");
  ASSERT_EQ(0, RunTool({"convert", cue, Path("silent.cue"), "--with-data"}).status);
  const std::string whole = Text(DiscSectors(audio));
  EXPECT_EQ(whole.substr(0, 50 * 2352) + std::string(7 * 2352, '\0') + whole.substr(50 * 2352),
            folder.Read("SILENT.BIN"));
  const DiscPlan wide{{{{ZSMODE_1, 20, 0, 2448}, {ZSMODE_1, 6, 0, 2448}}}};
  folder.Write("wide.mdf", DiscSectors(wide));
  const std::string mds = folder.Write("wide.mds", MdsOf(wide).Build());
  ASSERT_EQ(0, RunTool({"convert", mds, Path("narrow.cue"), "--with-data"}).status);
  const std::string narrow = folder.Read("NARROW.BIN");
  ASSERT_EQ(26U * 2352, narrow.size());
  for (std::size_t i = 0; i < 26; ++i) {
    EXPECT_EQ(Text(DiscSectors(wide)).substr(i * 2448, 2352), narrow.substr(i * 2352, 2352));
  }
  const DiscPlan mixed{{{{ZSMODE_1, 20, 0, 2048}, {ZSMODE_AUDIO, 15}}}};
  const std::string nrg = folder.Write("mixed.nrg", NrgImage(mixed));
  ExpectFailure({"convert", nrg, Path("mixed.cue"), "--with-data"}, "ZSE_FAILED", "different block sizes");
  EXPECT_FALSE(std::filesystem::exists(Path("MIXED.BIN")));
}

TEST_F(TransferTool, ConvertsToATocFile) {
  const DiscPlan disc{{{{ZSMODE_AUDIO, 30}, {ZSMODE_AUDIO, 20, 5}}, {{ZSMODE_1, 25}}}};
  const std::string nrg = folder.Write("disc.nrg", NrgImage(disc));
  const ToolResult result = RunTool({"convert", nrg, Path("new.zsi"), "--with-data"});
  ASSERT_EQ(0, result.status) << result.err;
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(ProperSectors(disc, i),
              Extract({Path("new.zsi"), "--session", i < 2 ? "1" : "2", "--track", std::to_string(i < 2 ? i + 1 : 1)}));
  }
  const std::string cue = WriteAudio();
  ASSERT_EQ(0, RunTool({"convert", cue, Path("text.zsi")}).status);
  EXPECT_EQ(
      "TWO",
      json::parse(RunTool({"info", "--json", Path("text.zsi")}).out)["pZSCueSheet"][0]["pZSTracks"][1]["bstrTitle"]);
  ASSERT_EQ(0, RunTool({"convert", cue, Path("text.zsi"), "--no-cdtext"}).status);
  EXPECT_EQ(std::string::npos, folder.Read("text.zsi").find("CDTEXT"));
  folder.Write("packs", std::string("\x80\0\0\0X\0\0\0\0\0\0\0\0\0\0\0\1\2\3", 19));
  ASSERT_EQ(0, RunTool({"convert", cue, Path("text.zsi"), "--cdtext", Path("packs")}).status);
  EXPECT_NE(std::string::npos, folder.Read("text.zsi").find("<LENGTH>19</LENGTH>"));
  EXPECT_NE(std::string::npos, folder.Read("text.zsi").find("<ENTRY-2>03 </ENTRY-2>"));
}

TEST_F(TransferTool, ReportsADescriptionThatWasNotWritten) {
  const std::string cue = WriteAudio();
  std::filesystem::create_symlink("/dev/full", Path("full.zsi"));
  std::filesystem::create_symlink("/dev/full", Path("full.cue"));
  std::filesystem::create_directory(Path("folder.zsi"));
  ExpectFailure({"convert", cue, Path("no/new.zsi")}, "ERROR_PATH_NOT_FOUND", "folder");
  ExpectFailure({"convert", cue, Path("full.zsi")}, "ERROR_DISK_FULL", "the disk is full");
  ExpectFailure({"convert", cue, Path("full.cue")}, "ERROR_DISK_FULL", "the disk is full");
  ExpectFailure({"convert", cue, Path("folder.zsi")}, "ERROR_ACCESS_DENIED", "this is a folder");
  ExpectFailure({"convert", cue, cue}, "E_INVALIDARG", "belongs to the image");
  ExpectFailure({"convert", cue, Path("new.txt")}, "E_INVALIDARG", ".cue or .zsi");
  EXPECT_EQ(0, RunTool({"info", cue}).status) << "the image must have survived";
}

TEST_F(TransferTool, DecodesAndEncodesText) {
  const std::string cue = WriteAudio();
  ASSERT_EQ(0, RunTool({"cdtext", "encode", cue, "-o", Path("new.cdt")}).status);
  const std::string packs = folder.Read("new.cdt");
  EXPECT_EQ(1U, packs.size() % 18);
  EXPECT_EQ(packs, RunTool({"cdtext", "encode", cue, "-o", "-"}).out);
  folder.Write("packs.raw", packs); // Any name will do.
  for (const char* name : {"new.cdt", "packs.raw"}) {
    const ToolResult result = RunTool({"cdtext", "decode", Path(name), "--tracks", "2", "--json"});
    ASSERT_EQ(0, result.status) << result.err;
    const json sheet = json::parse(result.out);
    EXPECT_EQ(true, sheet["ZSCDTEXT"]["CDTextPresent"]);
    EXPECT_EQ("ALBUM", sheet["ZSCDTEXT"]["bstrTitle"]);
    EXPECT_EQ("TWO", sheet["pZSTracks"][1]["bstrTitle"]);
  }
  EXPECT_NE(std::string::npos, RunTool({"cdtext", "decode", Path("new.cdt"), "--tracks", "2"}).out.find("2  TWO"));
  ASSERT_EQ(0, RunTool({"cdtext", "encode", cue, "-o", Path("sub"), "--subchannel"}).status);
  EXPECT_EQ(0U, folder.Read("sub").size() % 96);
  const ToolResult missing = RunTool({"cdtext", "decode", Path("gone.cdt"), "--tracks", "2", "--json"});
  EXPECT_EQ(1, missing.status);
  EXPECT_EQ(json({{"result", "ZSE_FILENOTFOUND"}, {"code", "0x809F000F"}}), json::parse(missing.out));
  const std::string fromFolder = ZSIMAGE_EMULATOR " '" ZSIMAGE_PATH "' cdtext decode - --tracks 1 < /";
  const ToolResult unread = RunSystemProgram("/bin/sh", {"-c", fromFolder});
  EXPECT_EQ(1, unread.status) << unread.out;
  EXPECT_NE(std::string::npos, unread.err.find("standard input: it cannot be read (ERROR_IO_DEVICE")) << unread.err;
  const std::string silent = folder.WriteSparse("silent.iso", 2048);
  ExpectFailure({"cdtext", "encode", silent, "-o", Path("x")}, "S_FALSE", "no text to encode");
}

} // namespace
