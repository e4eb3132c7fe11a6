#include <nlohmann/json.hpp>
#include <regex>

#include "tools/tool_run.h"

using nlohmann::json;

namespace {

constexpr const char* kSheet = "CATALOG 1234567890123\nTITLE \"Album\"\nFILE \"Data.bin\" BINARY\n"
                               "TRACK 01 AUDIO\nTITLE \"\x1b[31mRed\"\n" // Would colour a terminal.
                               "FLAGS DCP PRE\nISRC DEABC0700001\nINDEX 01 00:00:00\n"
                               "TRACK 02 AUDIO\nTITLE \"Gr\xF6\xDF" // Windows-1252.
                               "e\"\nINDEX 00 03:00:00\nINDEX 01 03:02:00\n";

class InfoTool : public ToolTest {
protected:
  InfoTool() {
    folder.Write("disc.cue", kSheet);
    folder.WriteSparse("data.BIN", UHYPER{27000} * 2352);
  }
  json Json(const std::string& arguments) const { return json::parse(RunTool(folder, arguments).out); }
};

TEST_F(InfoTool, JsonHoldsTheWholeRecord) {
  const json record = Json("info --json disc.cue");
  const json& sheet = record["pZSCueSheet"][0];
  const json& second = sheet["pZSTracks"][1];
  EXPECT_EQ(13U, record.size());
  EXPECT_EQ(21U, second.size());
  EXPECT_EQ("DATA.BIN", record["bstrImageBinaryFile"]);
  EXPECT_EQ(0xFFFFFFFFFFFFFFFFU, record["dwSeekEnd64"]);
  EXPECT_EQ(0x0D016802, record["dwDiscID"]);
  EXPECT_EQ(2, record["ZSTYPEPROJECT"]);
  EXPECT_EQ(json::parse(R"({"CDTextPresent": false, "bstrMCN": "1234567890123", "bstrTitle": "ALBUM",
                            "bstrComposer": null, "bstrPerformer": null, "bstrSongwriter": null, "bstrArranger": null,
                            "bstrGenre": null, "bstrMessage": null, "Language": 0})"),
            sheet["ZSCDTEXT"]);
  EXPECT_EQ(json({0xFFFFFFFFU, 0}), sheet["pZSTracks"][0]["pdwIndex"]);
  EXPECT_EQ("GR\u00D6\u00DFE", second["bstrTitle"]);
  EXPECT_EQ(31752000, second["dwReserved64"]);
  EXPECT_TRUE(second["varFiles"].is_null());
}

TEST_F(InfoTool, PageShowsDiscAndTracks) {
  const std::string page = Run("info disc.cue");
  for (const char* part : {"audio CD", "CUE sheet", "data.BIN (63.5 MB)", "0D016802", "1234567890123", "?[31MRED",
                           "GR\u00D6\u00DFE", "00:02:00       0  03:00:00    13500", "DCP PRE", "DEABC0700001",
                           "03:04:00   13650  02:58:00    13350     150"}) {
    EXPECT_PRED2(Contains, page, part);
  }
  EXPECT_FALSE(Contains(page, "Performer")) << "no track has one";
}

TEST_F(InfoTool, TabRepeatsTheTextBefore) {
  folder.Write("tab.cue", "TITLE \"Album\"\nPERFORMER \"Band\"\nFILE \"data.bin\" BINARY\n"
                          "TRACK 01 AUDIO\nTITLE \"One\"\nPERFORMER \"\t\"\nINDEX 01 00:00:00\n"
                          "TRACK 02 AUDIO\nTITLE \"\t\"\nPERFORMER \"Guest\"\nINDEX 01 01:00:00\n"
                          "TRACK 03 AUDIO\nTITLE \"\t\"\nPERFORMER \"\t\"\nINDEX 01 02:00:00\n");
  Run("cdtext encode tab.cue -o packs");
  for (const char* command : {"info tab.cue", "cdtext decode packs --tracks 3"}) {
    EXPECT_TRUE(std::regex_search(Run(command), std::regex("ONE +BAND\n.*ONE +GUEST\n.*ONE +GUEST\n"))) << Run(command);
  }
  EXPECT_EQ("\t", Json("info --json tab.cue")["pZSCueSheet"][0]["pZSTracks"][2]["bstrTitle"]);
}

TEST_F(InfoTool, OneFailureDoesNotStopTheRest) {
  folder.WriteSparse("disc.iso", 181 * 2048);
  ToolResult result = RunTool(folder, "info --json disc.cue missing.iso disc.iso");
  EXPECT_EQ(1, result.status);
  std::replace(result.out.begin(), result.out.end(), '\n', ',');
  const json records = json::parse("[" + result.out + "null]");
  ASSERT_EQ(4U, records.size());
  EXPECT_EQ(0x0D016802, records[0]["dwDiscID"]);
  EXPECT_EQ("ZSE_CANNOTOPENIMAGE", records[1]["result"]);
  EXPECT_TRUE(records[2]["pZSCueSheet"][0]["pZSTracks"][0]["pdwIndex"].is_null());
}

TEST_F(InfoTool, PositionsAreFound) {
  EXPECT_EQ(json({{"pSeek64", 31752000},
                  {"pLength64", 31046400},
                  {"session", 1},
                  {"track", 2},
                  {"file", "data.BIN"},
                  {"byte", 32107152}}),
            Json("position --json disc.cue 13651"));
  EXPECT_EQ(31752000, Json("position --json disc.cue 13500")["byte"]) << "in a pregap";
  EXPECT_EQ("Sector 13500 (03:02:00) begins at byte 31752000 of data.BIN, in the pregap of track 2 of session 1.\n",
            Run("position disc.cue 13500"));
  EXPECT_EQ("Sector 11295 (02:32:45) begins at byte 105840 of sessions.img, in track 2 of session 2.\n",
            std::regex_replace(Run("position '" SAMPLE_IMAGES "/sessions.ccd' 11295"), std::regex("of .*/"), "of "));
  for (const char* format : {"", "--json "}) {
    const ToolResult none = RunTool(folder, std::string("position disc.cue 99999 ") + format);
    EXPECT_EQ(1, none.status);
    EXPECT_PRED2(Contains, none.err, "sector 99999 (22:15:24) is in no track");
    EXPECT_TRUE(none.out.empty() || json::parse(none.out)["byte"].is_null()) << none.out;
  }
  // Sectors that are not in the file.
  folder.WriteSparse("gap.bin", 20 * 2352);
  folder.Write("gap.cue", "FILE \"gap.bin\" BINARY\nTRACK 01 AUDIO\nINDEX 01 00:00:00\n"
                          "TRACK 02 AUDIO\nPREGAP 00:00:05\nINDEX 00 00:00:10\nINDEX 01 00:00:12\n");
  folder.Write("cut.cue", "FILE \"gap.bin\" BINARY\nTRACK 01 AUDIO\nINDEX 01 00:00:00\n"
                          "TRACK 02 AUDIO\nINDEX 01 00:00:18\nTRACK 03 AUDIO\nINDEX 01 00:00:30\n");
  std::string volume(49151, '\0');
  folder.Write("odd.iso", volume.replace(16 * 2048, 6, "\1CD001"));
  for (const auto& [arguments, words] :
       {std::pair("gap.cue 9", "byte 21168 of gap.bin, in track 1"),
        std::pair("gap.cue 10", "is silence of a PREGAP line before track 2 of session 1"),
        std::pair("gap.cue 14", "is silence of a PREGAP line before track 2 of session 1"),
        std::pair("gap.cue 15", "byte 23520 of gap.bin, in the pregap of track 2"),
        std::pair("gap.cue 24", "byte 44688 of gap.bin, in track 2"),
        std::pair("cut.cue 19", "byte 44688 of gap.bin, in track 2"),
        std::pair("cut.cue 20", "is cut off: gap.bin ends before this sector of track 2"),
        std::pair("cut.cue 40", "is cut off: gap.bin ends before this sector of track 3"),
        std::pair("odd.iso 1", "2047 bytes are over after whole sectors")}) {
    const ToolResult result = RunTool(folder, std::string("position ") + arguments);
    EXPECT_PRED2(Contains, result.out + result.err, words);
    EXPECT_EQ(result.out.empty() ? 1 : 0, result.status);
  }
  EXPECT_PRED2(Contains, Run("info gap.cue"), "17  00:00:08        8") << "a length in the file";
  // Images without a session, or with a session without tracks, are refused.
  const std::string track = "[Entry 0]\nSession=1\nPoint=1\n[TRACK 1]\nMODE=0\nINDEX 1=0\n";
  for (const std::string& sessions : {std::string("0\n"), "2\n" + track}) {
    folder.Write("empty.ccd", "[Disc]\nSessions=" + sessions);
    EXPECT_EQ("ZSE_FAILED", Json("position --json empty.ccd 0")["result"]) << sessions;
  }
  folder.Write("empty.ccd", "[Disc]\nSessions=1\n" + track);
  EXPECT_EQ(1, RunTool(folder, "position empty.ccd 0").status) << "a track without sectors";
}

} // namespace
