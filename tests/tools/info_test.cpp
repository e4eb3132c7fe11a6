#include <gtest/gtest.h>

#include <sstream>

#include <nlohmann/json.hpp>

#include "builders/nrg_builder.h"
#include "support/temporary_folder.h"
#include "tools/tool_run.h"

using nlohmann::json;

namespace {

/// A volume descriptor at sector 16 of a plain image.
std::vector<BYTE> PlainImage(std::size_t sectors) {
  std::vector<BYTE> image(sectors * 2048);
  const std::vector<BYTE> descriptor = VolumeDescriptor("LINUX");
  std::copy(descriptor.begin(), descriptor.end(), image.begin() + 16 * 2048);
  return image;
}

constexpr const char* kSheet = "CATALOG 1234567890123\n"
                               "TITLE \"Album\"\n"
                               "FILE \"Data.bin\" BINARY\n"
                               "TRACK 01 AUDIO\n"
                               "TITLE \"\x1b[31mRed\"\n" // Would colour a terminal.
                               "FLAGS DCP PRE\n"
                               "ISRC DEABC0700001\n"
                               "INDEX 01 00:00:00\n"
                               "TRACK 02 AUDIO\n"
                               "TITLE \"Gr\xF6\xDF"
                               "e\"\n" // Windows-1252.
                               "INDEX 00 03:00:00\n"
                               "INDEX 01 03:02:00\n";

class InfoTool : public testing::Test {
protected:
  std::string WriteSheet() {
    folder.WriteSparse("data.BIN", UHYPER{27000} * 2352);
    return folder.Write("disc.cue", kSheet);
  }

  TemporaryFolder folder;
};

TEST_F(InfoTool, GivesTheWholeRecordAsJson) {
  const ToolResult result = RunTool({"info", "--json", WriteSheet()});
  ASSERT_EQ(0, result.status) << result.err;
  const json record = json::parse(result.out);
  const json& sheet = record["pZSCueSheet"][0];
  const json& second = sheet["pZSTracks"][1];
  EXPECT_EQ(13U, record.size());
  EXPECT_EQ(21U, second.size());
  EXPECT_EQ(10U, sheet["ZSCDTEXT"].size());
  EXPECT_EQ(folder.Path("DATA.BIN"), record["bstrImageBinaryFile"]);
  EXPECT_EQ(0xFFFFFFFFFFFFFFFFU, record["dwSeekEnd64"]);
  EXPECT_EQ(0x0D016802, record["dwDiscID"]);
  EXPECT_EQ(2, record["ZSTYPEPROJECT"]);
  EXPECT_EQ(json({{"CDTextPresent", false},
                  {"bstrMCN", "1234567890123"},
                  {"bstrTitle", "ALBUM"},
                  {"bstrComposer", nullptr},
                  {"bstrPerformer", nullptr},
                  {"bstrSongwriter", nullptr},
                  {"bstrArranger", nullptr},
                  {"bstrGenre", nullptr},
                  {"bstrMessage", nullptr},
                  {"Language", 0}}),
            sheet["ZSCDTEXT"]);
  EXPECT_EQ(json({0xFFFFFFFFU, 0}), sheet["pZSTracks"][0]["pdwIndex"]);
  EXPECT_EQ(3, sheet["pZSTracks"][0]["Flags"]);
  EXPECT_EQ("GR\u00D6\u00DFE", second["bstrTitle"]);
  EXPECT_EQ(150, second["Pregap"]);
  EXPECT_EQ(31752000, second["dwReserved64"]);
  EXPECT_TRUE(second["varFiles"].is_null());
}

TEST_F(InfoTool, ShowsAPageForAPerson) {
  const ToolResult result = RunTool({"info", WriteSheet()});
  ASSERT_EQ(0, result.status) << result.err;
  for (const char* part : {"audio CD", "CUE sheet", "data.BIN (63.5 MB)", "0D016802", "1234567890123", "?[31MRED",
                           "GR\u00D6\u00DFE", "00:02:00       0  03:00:00    13500", "DCP PRE", "DEABC0700001",
                           "03:04:00   13650  02:58:00    13350     150"}) {
    EXPECT_NE(std::string::npos, result.out.find(part)) << part << " in\n" << result.out;
  }
  EXPECT_EQ(std::string::npos, result.out.find("Performer")) << "no track has one";
}

TEST_F(InfoTool, ShowsAnIsoImage) {
  const std::string path = folder.Write("disc.iso", PlainImage(181));
  const json record = json::parse(RunTool({"info", "--json", path}).out);
  EXPECT_EQ(1, record["ZSTYPEPROJECT"]);
  EXPECT_EQ(181, record["pZSCueSheet"][0]["pZSTracks"][0]["dwEndLBA"]);
  EXPECT_TRUE(record["pZSCueSheet"][0]["pZSTracks"][0]["pdwIndex"].is_null());
}

struct BadCase {
  const char* name;
  const char* code;
  const char* number;
  const char* words;
};

TEST_F(InfoTool, SaysWhatIsWrongAndWhatToDo) {
  folder.Write("lost.cue", "FILE \"Gone.bin\" BINARY\nTRACK 01 AUDIO\nINDEX 01 00:00:00\n");
  folder.Write("bare.bin", std::string(2352, ' '));
  folder.Write("notes.txt", "text");
  folder.Write("odd.iso", "odd");
  folder.Write("none.nrg", "not an image at all");
  folder.Write("folder.iso/file", "");
  folder.Write("many.ccd", "[Disc]\nSessions=100\n");
  const BadCase cases[] = {
      {"missing.iso", "ZSE_CANNOTOPENIMAGE", "0x809F001A", "no such file"},
      {"folder.iso", "ZSE_CANNOTOPENIMAGE", "0x809F001A", "this is a folder"},
      {"lost.cue", "ZSE_FILENOTFOUND", "0x809F000F", "the sheet names GONE.BIN; no such file beside it"},
      {"bare.bin", "ZSE_BADIMAGE", "0x809F001B", "give the .cue, .ccd or .mds file"},
      {"notes.txt", "ZSE_BADIMAGE", "0x809F001B", "images are read by their"},
      {"odd.iso", "ZSE_BADIMAGE", "0x809F001B", "no whole number of sectors"},
      {"none.nrg", "ZSE_BADIMAGE", "0x809F001B", "damaged"},
      {"many.ccd", "ZSE_OUTOFRESOURCES", "0x809F0014", "more than 99 sessions"},
  };
  for (const BadCase& bad : cases) {
    const ToolResult result = RunTool({"info", "--json", folder.Path(bad.name)});
    EXPECT_EQ(1, result.status) << bad.name;
    EXPECT_EQ(json({{"result", bad.code}, {"code", bad.number}}), json::parse(result.out)) << bad.name;
    for (const char* part : {bad.name, bad.code, bad.words}) {
      EXPECT_NE(std::string::npos, result.err.find(part)) << part << " in " << result.err;
    }
  }
  EXPECT_EQ("", RunTool({"info", folder.Path("missing.iso")}).out);
}

TEST_F(InfoTool, ShowsSeveralImagesAndReportsTheRest) {
  const std::string image = folder.WriteSparse("disc.iso", 2048);
  const ToolResult result = RunTool({"info", "--json", WriteSheet(), folder.Path("missing.iso"), image});
  EXPECT_EQ(1, result.status);
  std::istringstream lines(result.out);
  std::vector<json> records;
  for (std::string line; std::getline(lines, line);) {
    records.push_back(json::parse(line));
  }
  ASSERT_EQ(3U, records.size());
  EXPECT_EQ(0x0D016802, records[0]["dwDiscID"]);
  EXPECT_EQ("ZSE_CANNOTOPENIMAGE", records[1]["result"]);
  EXPECT_EQ(image, records[2]["bstrImageBinaryFile"]);
}

TEST_F(InfoTool, FindsPositions) {
  const std::string path = WriteSheet();
  EXPECT_EQ(json({{"pSeek64", 31752000}, {"pLength64", 31046400}}),
            json::parse(RunTool({"position", "--json", path, "13650"}).out));
  EXPECT_EQ(json({{"pSeek64", 63504000}, {"pLength64", nullptr}}),
            json::parse(RunTool({"position", "--json", path, "13500"}).out));
  EXPECT_NE(std::string::npos, RunTool({"position", path, "0"}).out.find("31752000 bytes"));
  // Nothing can be walked over in an image without sessions.
  const std::string empty = folder.Write("empty.nrg", NrgBuilder().Build());
  const ToolResult result = RunTool({"position", "--json", empty, "0"});
  EXPECT_EQ(1, result.status);
  EXPECT_EQ("ZSE_FAILED", json::parse(result.out)["result"]);
}

TEST_F(InfoTool, TellsUsageFromFailure) {
  for (const std::vector<std::string>& wrong :
       {std::vector<std::string>{}, {"info"}, {"position", "x.cue", "many"}, {"extract", "x.cue"}, {"unknown"}}) {
    EXPECT_EQ(2, RunTool(wrong).status);
  }
  EXPECT_EQ(0, RunTool({"info", "--help"}).status);
}

} // namespace
