#include "toc/toc_writer.h"

#include <regex>

#include "readers/reader_checks.h"

namespace {

constexpr BYTE kPacks[20] = {0x80, 0, 0, 0, 'A', 'L', 'B', 'U', 'M', 0, 0, 0, 0, 0, 0, 0, 0xE9, 0x68, 0x81, 0};

/// A file with every key, without its line ends and indents.
const std::string kAlbum =
    "<?xml version=\"1.0\" encoding=\"ISO-8859-1\" ?>"
    "<ZENTORASCRIBE><TOC><VERSION>1</VERSION><BLOCKSIZE>2352</BLOCKSIZE><DATASCRAMBLED>0</DATASCRAMBLED>"
    "<SUBCHANNEL-SIZE>96</SUBCHANNEL-SIZE><BINARYFILE>ALBUM.BIN</BINARYFILE><SUBFILE>ALBUM.SUB</SUBFILE>"
    "<CDGFILE>ALBUM.CDG</CDGFILE><CATALOG>0123456789012</CATALOG><SESSIONS><COUNT>1</COUNT>"
    "<SESSION-01><TRACKS>2</TRACKS>"
    "<TRACK-01><MODE>AUDIO</MODE><FLAGS>2</FLAGS><ISRC>USRC17607839</ISRC><PREGAP>3</PREGAP>"
    "<BEGIN-DATA>4</BEGIN-DATA><END-DATA>15000</END-DATA><POSTGAP>5</POSTGAP></TRACK-01>"
    "<TRACK-02><MODE>AUDIO</MODE><FLAGS>0</FLAGS><PREGAP>0</PREGAP>"
    "<BEGIN-DATA>15000</BEGIN-DATA><END-DATA>30000</END-DATA><POSTGAP>0</POSTGAP></TRACK-02>"
    "</SESSION-01></SESSIONS></TOC>"
    "<CDTEXT><ENTRIES>2</ENTRIES><LENGTH>20</LENGTH>"
    "<ENTRY-1>80 00 00 00 41 4C 42 55 4D 00 00 00 00 00 00 00 E9 68 </ENTRY-1><ENTRY-2>81 00 </ENTRY-2></CDTEXT>"
    "</ZENTORASCRIBE>";
const std::string kFirst = "1: 4-15000 pregap 3 flags 2 postgap 5 ISRC USRC17607839";
const std::string kTracks = kFirst + ", 2: 15000-30000 MCN 0123456789012";

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  const std::size_t offset = text.find(from);
  EXPECT_NE(offset, std::string::npos) << from;
  return offset == std::string::npos ? text : text.replace(offset, from.size(), to);
}

HRESULT Create(const std::string& path, ImageRecord* record, UINT packBytes = 0) {
  std::vector<BYTE> packs(kPacks, kPacks + packBytes);
  return CreateTOCImage(path, &**record, reinterpret_cast<zsmmccdtext*>(packs.data()), packBytes);
}

std::string ReadCompact(const TemporaryFolder& folder, const std::string& name) {
  return std::regex_replace(folder.Read(name), std::regex("\r\n *"), "");
}

class TocImage : public testing::Test {
protected:
  TemporaryFolder m_folder;
};

TEST_F(TocImage, RewrittenFileIsIdentical) {
  const std::string texts[] = {
      kAlbum,
      Replaced(kAlbum, "PREGAP>3", "PREGAP>-2147483648"),
      Replaced(kAlbum, "END-DATA>15000", "END-DATA>2147483647"),
      Replaced(kAlbum, "USRC17607839", "\xC4 > \" & "),
      Replaced(kAlbum, "AUDIO", "MODE1"),
      Replaced(kAlbum, "AUDIO", "MODE2"),
  };
  m_folder.Write("ALBUM.BIN", "no sector is complete");
  m_folder.Write("ALBUM.SUB", "");
  for (const std::string& text : texts) {
    const TemporaryFolder output;
    ImageRecord record(m_folder.Write("Album.zsi", text));
    EXPECT_EQ(Narrow(record->bstrImageBinaryFile), m_folder.Path("ALBUM.BIN"));
    EXPECT_TRUE(record->ZSImageFormat == ZSIMAGEFORMAT_ZSI && record->ZSTYPEPROJECT != 0);
    EXPECT_TRUE(record->dwSeekEnd64 == ~UHYPER{0} && record->dwDiscID != 0);
    record->lMask = record->lMask & ~ZSIMAGEMASK_CDTEXT;
    EXPECT_EQ(Create(output.Path("Album.zsi"), &record, sizeof(kPacks)), S_OK);
    EXPECT_EQ(ReadCompact(output, "Album.zsi"), text);
    EXPECT_EQ(LONG{record->lMask}, 7);
    EXPECT_TRUE(Narrow(record->bstrImageBinaryFile).ends_with("/ALBUM.BIN"));
  }
}

TEST_F(TocImage, WriterNeedsOneTo99Sheets) {
  ImageRecord record;
  EXPECT_EQ(Create(m_folder.Path("new.zsi"), &record, sizeof(kPacks)), ZSE_FAILED);
  EXPECT_TRUE(IsAllZero(*record));
  record.Read(m_folder.Write("a.zsi", kAlbum));
  EXPECT_EQ(Create(m_folder.Path("missing/a.zsi"), &record), S_OK); // A missing folder is not reported.
  record->nSessions = 2;
  EXPECT_EQ(Create(m_folder.Path("new.zsi"), &record), ZSE_FAILED);
  std::fill(std::begin(record->pZSCueSheet) + 1, std::end(record->pZSCueSheet), &record.Sheet());
  record->nSessions = 100;
  EXPECT_EQ(Create(m_folder.Path("new.zsi"), &record), ZSE_FAILED);
  record->nSessions = 99;
  EXPECT_EQ(Create(m_folder.Path("full.zsi"), &record), S_OK);
  const ImageRecord full(m_folder.Path("full.zsi"));
  EXPECT_EQ(full.Result(), S_OK);
  EXPECT_EQ(Describe(full.Sheet(98)), Describe(record.Sheet()));
  std::fill(std::begin(record->pZSCueSheet) + 1, std::end(record->pZSCueSheet), nullptr);
  record->nSessions = 1;
  EXPECT_FALSE(std::filesystem::exists(m_folder.Path("new.zsi")));
}

TEST_F(TocImage, WriterKeepsUnusualNumbersAndNames) {
  ImageRecord record(m_folder.Write("a.zsi", kAlbum));
  record->lMask = 0;
  record.Track(0).TNO = 100;
  record.Track(0).Mode = static_cast<ZSMODETYPE>(2);
  Create(m_folder.Path("no extension"), &record, 18);
  const std::string text = ReadCompact(m_folder, "no extension");
  for (const char* part : {"<SUBCHANNEL-SIZE>0</SUBCHANNEL-SIZE><BINARYFILE>NO EXTENSION.BIN</BINARYFILE><CATALOG>",
                           "<TRACK-100><MODE></MODE>", "<ENTRIES>1</ENTRIES><LENGTH>18</LENGTH>"}) {
    EXPECT_NE(text.find(part), std::string::npos) << text;
  }
  EXPECT_EQ(LONG{record->lMask}, ZSIMAGEMASK_CDTEXT);
}

TEST_F(TocImage, ReportsEachKindOfDamage) {
  const std::string whole = kTracks + " album ALBUM mask 3";
  const std::string noTexts = kTracks + " mask 2";
  const std::string firstPack = "80 00 00 00 41 4C 42 55 4D 00 00 00 00 00 00 00 E9 68 ";
  const std::tuple<std::string, std::string, std::string> cases[] = {
      {"VERSION>1", "VERSION> 2abc", "ZSE_TOCVERSION"},
      {"VERSION>1", "VERSION>99999999999999999999", "ZSE_TOCVERSION"},
      {"ALBUM.BIN", "", "ZSE_FAILED"},
      {"ALBUM.SUB", "", whole},
      {"ALBUM.SUB", m_folder.Write("elsewhere/a.sub", ""), kTracks + " album ALBUM mask 7"},
      {"<ZENTORASCRIBE>", "<zentorascribe>", "ZSE_FAILED"},
      {"COUNT>1", "COUNT>-1", " mask 2"},
      {"COUNT>1", "COUNT>99", "ZSE_FAILED"},
      {"COUNT>1", "COUNT>100", "ZSE_OUTOFRESOURCES"},
      {"TRACKS>2", "TRACKS>1", kFirst + " MCN 0123456789012 album ALBUM mask 3"},
      {"TRACKS>2", "TRACKS>-1", "ZSE_FAILED"},
      {"TRACKS>2", "TRACKS>2147483647", "ZSE_FAILED"},
      {"<TRACK-01>", "<TRACK-1>", "ZSE_FAILED"},
      {"BEGIN-DATA>4", "BEGIN-DATA>4294967295", "1: 0-" + whole.substr(5)}, // More than a LONG holds.
      {"AUDIO", "audio", whole},
      {"AUDIO", "MODE3", "ZSE_FAILED"},
      {"AUDIO", "MODE1", "ZSE_BADIMAGE"}, // A data track needs the sector file.
      // With bad packs only the texts are lost.
      {firstPack, "800000004 14c42554d00000000000000E968", whole},
      {firstPack, "80000000414c42554d00000000000000E9680", noTexts}, // 37 digits.
      {firstPack, "8000000041zz4", kTracks + " album A mask 3"},
      {firstPack, "", noTexts},
      {firstPack, "   ", kTracks + " mask 3"}, // A pack of zeros.
      {"81 00 ", "", noTexts},
      {"ENTRIES>2", "ENTRIES>-1", noTexts},
      {"LENGTH>20", "LENGTH>2147483647", whole},
      {"LENGTH>20", "LENGTH>17", noTexts},
      {"LENGTH>20", "LENGTH>-20", noTexts},
  };
  for (const auto& [from, to, outcome] : cases) {
    EXPECT_EQ(ReadSummary(m_folder.Write("a.zsi", Replaced(kAlbum, from, to))), outcome) << from << " -> " << to;
  }
  for (std::size_t length = 0; length <= kAlbum.size(); ++length) {
    const std::string outcome = ReadSummary(m_folder.Write("a.zsi", kAlbum.substr(0, length)));
    EXPECT_EQ(outcome, length < kAlbum.size() ? "ZSE_FAILED" : whole) << length;
  }
}

} // namespace
