#include <gtest/gtest.h>

#include <filesystem>
#include <random>

#include "disc/track_table.h"
#include "foundation/strings.h"
#include "support/services.h"
#include "support/temporary_folder.h"
#include "toc/toc_writer.h"

namespace {

constexpr BYTE kPacks[20] = {0x80, 0, 0, 0, 'A', 'L', 'B', 'U', 'M', 0, 0, 0, 0, 0, 0, 0, 0xE9, 0x68, 0x81, 0};

HRESULT Create(const std::string& path, ImageRecord* record, const BYTE* packs = nullptr, UINT length = 0) {
  std::vector<BYTE> data(packs, packs + length);
  return CreateTOCImage(path, &**record, packs == nullptr ? nullptr : reinterpret_cast<zsmmccdtext*>(data.data()),
                        length);
}

ZSCUESHEET* AddSession(ImageRecord* record, UINT tracks) {
  ZSCUESHEET* sheet = nullptr;
  NewCueSheetService()->AllocCueSheet(&sheet);
  AllocateTracks(sheet, tracks);
  for (UINT i = 0; i < tracks; ++i) {
    sheet->pZSTracks[i].TNO = i + 1;
  }
  (*record)->pZSCueSheet[(*record)->nSessions] = sheet;
  (*record)->nSessions = static_cast<USHORT>((*record)->nSessions + 1);
  return sheet;
}

void MakeAlbum(ImageRecord* record) {
  ZSCUESHEET* sheet = AddSession(record, 2);
  sheet->pZSTracks[0].dwEndLBA = sheet->pZSTracks[1].dwLBA = 15000;
  sheet->pZSTracks[1].dwEndLBA = 30000;
  (*record)->ZSBlockSize = ZSFILEBLOCKSIZE_2352;
  (*record)->lMask = ZSIMAGEMASK_SUBCHANNEL;
}

const std::string kAlbum = []() {
  std::string text = R"(<?xml version="1.0" encoding="ISO-8859-1" ?>
<ZENTORASCRIBE>
   <TOC>
      <VERSION>1</VERSION>
      <BLOCKSIZE>2352</BLOCKSIZE>
      <DATASCRAMBLED>0</DATASCRAMBLED>
      <SUBCHANNEL-SIZE>96</SUBCHANNEL-SIZE>
      <BINARYFILE>ALBUM.BIN</BINARYFILE>
      <SUBFILE>ALBUM.SUB</SUBFILE>
      <SESSIONS>
         <COUNT>1</COUNT>
         <SESSION-01>
            <TRACKS>2</TRACKS>
            <TRACK-01>
               <MODE>AUDIO</MODE>
               <FLAGS>0</FLAGS>
               <PREGAP>0</PREGAP>
               <BEGIN-DATA>0</BEGIN-DATA>
               <END-DATA>15000</END-DATA>
               <POSTGAP>0</POSTGAP>
            </TRACK-01>
            <TRACK-02>
               <MODE>AUDIO</MODE>
               <FLAGS>0</FLAGS>
               <PREGAP>0</PREGAP>
               <BEGIN-DATA>15000</BEGIN-DATA>
               <END-DATA>30000</END-DATA>
               <POSTGAP>0</POSTGAP>
            </TRACK-02>
         </SESSION-01>
      </SESSIONS>
   </TOC>
   <CDTEXT>
      <ENTRIES>2</ENTRIES>
      <LENGTH>20</LENGTH>
      <ENTRY-1>80 00 00 00 41 4C 42 55 4D 00 00 00 00 00 00 00 E9 68 </ENTRY-1>
      <ENTRY-2>81 00 </ENTRY-2>
   </CDTEXT>
</ZENTORASCRIBE>
)";
  for (std::size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', end + 2)) {
    text.insert(end, 1, '\r');
  }
  return text;
}();

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  const std::size_t place = text.find(from);
  EXPECT_NE(place, std::string::npos) << from;
  return place == std::string::npos ? text : text.replace(place, from.size(), to);
}

TEST(TocImage, DescribesAnAlbumByteForByteAndReadsItBack) {
  const TemporaryFolder folder;
  ImageRecord album;
  MakeAlbum(&album);
  album->bstrImageBinaryFile = NewBstr("old name, freed");
  EXPECT_EQ(Create(folder.Path("Album.zsi"), &album, kPacks, sizeof(kPacks)), 0);
  EXPECT_EQ(folder.Read("Album.zsi"), kAlbum);
  EXPECT_EQ(LONG{album->lMask}, ZSIMAGEMASK_SUBCHANNEL | ZSIMAGEMASK_CDTEXT);
  EXPECT_TRUE(Narrow(album->bstrImageBinaryFile).ends_with("/ALBUM.BIN"));

  folder.Write("ALBUM.SUB", "");
  ImageRecord read(folder.Path("Album.zsi"));
  ASSERT_EQ(read.Result(), 0);
  EXPECT_EQ(LONG{read->lMask}, ZSIMAGEMASK_SUBCHANNEL | ZSIMAGEMASK_CDTEXT);
  EXPECT_EQ(Narrow(read->bstrImageBinaryFile), folder.Path("ALBUM.BIN"));
  EXPECT_EQ(Narrow(read.Sheet().ZSCDTEXT.bstrTitle), "ALBUM");
  EXPECT_EQ(+read->ZSImageFormat, ZSIMAGEFORMAT_ZSI);
  EXPECT_EQ(+read->ZSTYPEPROJECT, ZSTYPEPROJECT_CDAUDIO);
  EXPECT_EQ(UHYPER{read->dwSeekEnd64}, ~UHYPER{0});
  EXPECT_NE(ULONG{read->dwDiscID}, 0U);
  EXPECT_EQ(Create(folder.Path("Album.zsi"), &read, kPacks, sizeof(kPacks)), 0);
  EXPECT_EQ(folder.Read("Album.zsi"), kAlbum);
}

TEST(TocImage, NeedsASessionAndSurvivesAFolderThatIsMissing) {
  const TemporaryFolder folder;
  ImageRecord record;
  EXPECT_EQ(Create(folder.Path("a.zsi"), &record, kPacks, sizeof(kPacks)), ZSE_FAILED);
  EXPECT_TRUE(IsAllZero(*record));
  EXPECT_FALSE(std::filesystem::exists(folder.Path("a.zsi")));
  MakeAlbum(&record);
  EXPECT_EQ(Create(folder.Path("missing/a.zsi"), &record), 0);
  (*record).nSessions = 2; // One more than there are.
  EXPECT_EQ(Create(folder.Path("a.zsi"), &record), ZSE_FAILED);
  (*record).nSessions = 1;
}

TEST(TocImage, WritesPacksAndNamesAsTheyCome) {
  const TemporaryFolder folder;
  const std::pair<UINT, const char*> cases[] = {
      {0, "   </TOC>\r\n</ZENTORASCRIBE>"},
      {5, "<LENGTH>5</LENGTH>\r\n      <ENTRY-1>80 00 00 00 41 </ENTRY-1>\r\n   </CDTEXT>"},
      {18, "<ENTRIES>1</ENTRIES>\r\n      <LENGTH>18</LENGTH>"},
      {19, "<ENTRY-2>81 </ENTRY-2>\r\n   </CDTEXT>"},
      {20, "<BINARYFILE>NO EXTENSION.BIN</BINARYFILE>"},
      {20, "<TRACK-05>\r\n               <MODE></MODE>"},
      {20, "<TRACK-100>\r\n               <MODE>MODE2</MODE>"},
  };
  for (const auto& [length, expected] : cases) {
    ImageRecord record;
    MakeAlbum(&record);
    record.Track(0).TNO = 5;
    record.Track(0).Mode = static_cast<ZSMODETYPE>(2);
    record.Track(1).TNO = 100;
    record.Track(1).Mode = ZSMODE_2_FORM2;
    Create(folder.Path("no extension"), &record, kPacks, length);
    const std::string text = folder.Read("no extension");
    EXPECT_NE(text.find(expected), std::string::npos) << length << "\n" << text;
    EXPECT_EQ((record->lMask & ZSIMAGEMASK_CDTEXT) != 0, length != 0);
  }
}

TEST(TocImage, AnswersForEachKindOfDamage) {
  const TemporaryFolder folder;
  const struct {
    std::string from, to;
    HRESULT result;
  } cases[] = {
      {"VERSION>1", "VERSION>2", ZSE_TOCVERSION},
      {"VERSION>1", "VERSION> 2abc", ZSE_TOCVERSION},
      {"VERSION>1", "VERSION>99999999999999999999", ZSE_TOCVERSION},
      {"VERSION>1", "VERSION>abc", 0},
      {"ALBUM.BIN", "", ZSE_FAILED},
      {"<ZENTORASCRIBE>", "<zentorascribe>", ZSE_FAILED},
      {"COUNT>1", "COUNT>-1", 0},
      {"COUNT>1", "COUNT>one", 0},
      {"COUNT>1", "COUNT>2", ZSE_FAILED},
      {"COUNT>1", "COUNT>100", ZSE_OUTOFRESOURCES},
      {"TRACKS>2", "TRACKS>1", 0},
      {"TRACKS>2", "TRACKS>-1", ZSE_FAILED},
      {"TRACKS>2", "TRACKS>2147483647", ZSE_FAILED},
      {"TRACKS>2", "TRACKS>x", ZSE_FAILED},
      {"<TRACK-01>", "<TRACK-1>", ZSE_FAILED},
      {"AUDIO", "audio", 0},
      {"AUDIO", "MODE3", ZSE_FAILED},
      {"AUDIO", "MODE1", ZSE_BADIMAGE}, // A data track, and its sectors are not there.
  };
  for (const auto& test : cases) {
    ImageRecord record(folder.Write("a.zsi", Replaced(kAlbum, test.from, test.to)));
    EXPECT_EQ(record.Result(), test.result) << test.from << " -> " << test.to;
    EXPECT_EQ(IsAllZero(*record), test.result != 0) << test.from << " -> " << test.to;
  }
}

TEST(TocImage, BadPacksCostTheTextsAlone) {
  const TemporaryFolder folder;
  const std::string first = "80 00 00 00 41 4C 42 55 4D 00 00 00 00 00 00 00 E9 68 ";
  const struct {
    std::string from, to, title;
  } cases[] = {
      {first, "800000004 14c42554d00000000000000E968", "ALBUM"},
      {first, "80000000414c42554d00000000000000E9680", "(null)"}, // 37 digits.
      {first, "8000000041zz4", "A"},
      {first, "", "(null)"},
      {first, "   ", "(null)"}, // A pack of zeros.
      {"81 00 ", "", "(null)"},
      {"ENTRIES>2", "ENTRIES>2147483647", "(null)"},
      {"ENTRIES>2", "ENTRIES>-1", "(null)"},
      {"LENGTH>20", "LENGTH>2147483647", "ALBUM"},
      {"LENGTH>20", "LENGTH>17", "(null)"},
      {"LENGTH>20", "LENGTH>-20", "(null)"},
  };
  for (const auto& test : cases) {
    ImageRecord record(folder.Write("a.zsi", Replaced(kAlbum, test.from, test.to)));
    ASSERT_EQ(record.Result(), 0) << test.to;
    EXPECT_EQ(Narrow(record.Sheet().ZSCDTEXT.bstrTitle), test.title) << test.to;
    const bool present = record.Sheet().ZSCDTEXT.CDTextPresent == VARIANT_TRUE;
    EXPECT_EQ((record->lMask & ZSIMAGEMASK_CDTEXT) != 0, present) << test.to;
  }
}

TEST(TocImage, FilesCutShortLeaveNothingHalf) {
  const TemporaryFolder folder;
  const std::string file = folder.Write("a.zsi", kAlbum);
  for (std::size_t length = kAlbum.size(); length-- > 0;) {
    std::filesystem::resize_file(file, length);
    ImageRecord record(file);
    ASSERT_EQ(record.Result(), length + 2 < kAlbum.size() ? ZSE_FAILED : 0) << length;
    ASSERT_EQ(IsAllZero(*record), record.Result() != 0) << length;
  }
}

LONG RandomNumber(std::mt19937* random) {
  const LONG numbers[] = {0, 1, -1, 150, INT32_MAX, INT32_MIN, static_cast<LONG>((*random)())};
  return numbers[(*random)() % std::size(numbers)];
}

BSTR RandomText(std::mt19937* random) {
  std::u16string text;
  for (std::size_t length = (*random)() % 14; length > 0; --length) {
    const char16_t unit = static_cast<char16_t>(0x20 + (*random)() % 0x2000);
    text.push_back(unit == u'<' || (unit >= 0x7F && unit < 0xA0) ? u'>' : unit);
  }
  return text.empty() ? nullptr : SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
}

ULONG Readable(ULONG position) { return position > INT32_MAX ? 0 : position; }

void FillRandomly(std::mt19937* random, ImageRecord* record) {
  constexpr LONG kModes[] = {0, 1, 4, 5, 7, 255};
  for (std::size_t sessions = 1 + (*random)() % ((*random)() % 3 == 0 ? kMaxSessions : 3); sessions > 0; --sessions) {
    ZSCUESHEET* sheet = AddSession(record, static_cast<UINT>(1 + (*random)() % 5));
    sheet->ZSCDTEXT.bstrMCN = RandomText(random);
    for (UINT i = 0; i < sheet->nTracks; ++i) {
      ZSTRACK& track = sheet->pZSTracks[i];
      track.Mode = static_cast<ZSMODETYPE>(kModes[(*random)() % std::size(kModes)]);
      track.Flags = RandomNumber(random);
      track.Pregap = RandomNumber(random);
      track.Postgap = RandomNumber(random);
      track.dwLBA = static_cast<ULONG>(RandomNumber(random));
      track.dwEndLBA = static_cast<ULONG>(RandomNumber(random));
      track.bstrISRC = RandomText(random);
    }
  }
}

void ExpectSameTrack(const ZSTRACK& written, const ZSTRACK& read) {
  ZSTRACK expected{};
  expected.TNO = written.TNO;
  expected.Flags = written.Flags;
  expected.Pregap = written.Pregap;
  expected.Mode = (written.Mode & ZSMODE_2) != 0 ? ZSMODE_2 : written.Mode;
  expected.dwLBA = Readable(written.dwLBA);
  expected.dwEndLBA = Readable(written.dwEndLBA);
  SetBlockSize(&expected, 2352);
  ASSERT_EQ(Describe(read), Describe(expected));
  ASSERT_EQ(LONG{read.Postgap}, LONG{written.Postgap});
  ASSERT_EQ(Narrow(read.bstrISRC), Narrow(written.bstrISRC));
}

TEST(TocImage, AnyRecordComesBack) {
  const TemporaryFolder folder;
  folder.Write("A.BIN", "sectors are looked at, but need not be there");
  std::mt19937 random(7);
  for (int round = 0; round < 8; ++round) {
    ImageRecord record;
    FillRandomly(&random, &record);
    record->lMask = round % 2 == 0 ? ZSIMAGEMASK_CDG : ZSIMAGEMASK_SUBCHANNEL; // There is no .SUB file.
    ASSERT_EQ(Create(folder.Path("a.zsi"), &record), 0);
    ImageRecord read(folder.Path("a.zsi"));
    ASSERT_EQ(read.Result(), 0);
    ASSERT_EQ(LONG{read->lMask}, round % 2 == 0 ? ZSIMAGEMASK_CDG : 0);
    ASSERT_EQ(USHORT{read->nSessions}, USHORT{record->nSessions});
    for (std::size_t session = 0; session < read->nSessions; ++session) {
      const ZSCUESHEET& sheet = read.Sheet(session);
      ASSERT_EQ(UINT{sheet.nTracks}, UINT{record.Sheet(session).nTracks});
      ASSERT_EQ(Narrow(sheet.ZSCDTEXT.bstrMCN), Narrow(record.Sheet().ZSCDTEXT.bstrMCN));
      const bool xa = (record.Track(sheet.nTracks - 1, session).Mode & ZSMODE_2) != 0;
      ASSERT_EQ(+sheet.ZSSESSIONFORMAT, xa ? ZSSESSIONFORMAT_CDROMXA : ZSSESSIONFORMAT_CDDA_CDROM);
      for (std::size_t track = 0; track < sheet.nTracks; ++track) {
        ExpectSameTrack(record.Track(track, session), read.Track(track, session));
      }
    }
    ASSERT_EQ(Create(folder.Path("A.ZSI"), &read), 0);
    const std::string again = folder.Read("A.ZSI");
    ImageRecord twice(folder.Path("A.ZSI"));
    ASSERT_EQ(Create(folder.Path("A.ZSI"), &twice), 0);
    ASSERT_EQ(folder.Read("A.ZSI"), again);
  }
}

} // namespace
