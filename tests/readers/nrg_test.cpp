#include <fstream>
#include <functional>

#include "builders/byte_writer.h"
#include "builders/nrg_builder.h"
#include "readers/reader_checks.h"

namespace {

using Lines = std::vector<std::string>;

/// One session of two audio tracks, the first with the pause of the disc before it.
NrgBuilder TwoTracks() {
  NrgBuilder image;
  image
      .Cues({{0, 0, 0, -150},
             {0x20, 1, 0, -150},
             {0x20, 1, 1, 0},
             {0x90, 2, 0, 1000},
             {0x90, 2, 1, 1150},
             {0, 0xAA, 1, 3000}})
      .DiscAtOnce(1, 2, {{7, 2352, "USRC17607839"}, {7, 2352, ""}}, "0123456789012");
  return image;
}

std::vector<BYTE> TitlePack(const std::string& text) { return ByteWriter().Byte(0x80).Zeros(3).Text(text, 14).Get(); }

class Nrg : public testing::Test {
protected:
  std::string Write(const std::vector<BYTE>& image) const { return m_folder.Write("a.nrg", image); }

  TemporaryFolder m_folder;
};

TEST_F(Nrg, ReadsADiscAtOnceImage) {
  for (const NrgFooter footer : {NrgFooter::Short, NrgFooter::Long}) {
    ImageRecord record(Write(TwoTracks().Sectors(std::vector<BYTE>(77)).Build(footer)));
    ASSERT_EQ(S_OK, record.Result());
    EXPECT_EQ((Lines{"1: 0-1000 pregap 0 mode 0 size 2352/2352 flags 1 index 4294967146,0 at 0",
                     "2: 1150-3000 pregap 150 mode 0 size 2352/2352 flags 6 index 1000,1150 at 0"}),
              Describe(record.Sheet()));
    EXPECT_EQ(352800U, UHYPER{record->dwSeekBegin64});
    EXPECT_EQ(77U, UHYPER{record->dwSeekEnd64});
    EXPECT_EQ(0, LONG{record->lMask});
    EXPECT_EQ("0123456789012", Narrow(record.Sheet().ZSCDTEXT.bstrMCN));
    EXPECT_EQ("USRC17607839", Narrow(record.Track(0).bstrISRC));
    EXPECT_EQ("(null)", Narrow(record.Track(1).bstrISRC));
  }
}

/// Pregap, flags and indexes of a track.
std::string Brief(const ZSTRACK& track) {
  const std::string all = Describe(track);
  const std::size_t index = all.find("index ") + 6;
  return std::to_string(LONG{track.Pregap}) + " " + std::to_string(LONG{track.Flags}) + " " +
         all.substr(index, all.find(' ', index) - index);
}

TEST_F(Nrg, BuildsTheIndexesOfATrack) {
  struct {
    std::vector<NrgCue> cues; ///< Of track 2, between index 1 of track 1 at 0 and the lead-out at 900.
    const char* brief;
  } const cases[] = {
      {{{0, 2, 0, 100}, {0, 2, 1, 150}, {0, 2, 2, 300}}, "50 0 100,150,300"},
      {{{0, 2, 0, 100}, {0, 2, 1, 100}}, "0 0 -,100"},
      {{{0, 2, 1, 100}}, "100 0 -,100"},
      {{{0, 2, 0, 100}, {0, 2, 1, 150}, {0, 2, 4, 300}}, "50 0 100,150,-,-,300"},
      {{{0, 2, 0, 100}, {0, 2, 1, 150}, {0, 2, 1, 200}}, "50 0 100,200,-"},
      {{{0, 2, 0, 100}, {0, 2, 1, 150}, {0, 2, 255, 300}}, "50 0 100,150"}, // The count would not fit.
      {{{0x20, 2, 0, 100}, {0x10, 2, 1, 150}}, "50 3 100,150"},
      {{{0xF0, 2, 0, 100}, {0xF0, 2, 1, 150}}, "50 0 100,150"}, // Data tracks have no flags.
  };
  for (const auto& test : cases) {
    std::vector<NrgCue> cues{{0, 0, 0, 0}, {0, 1, 1, 0}};
    cues.insert(cues.end(), test.cues.begin(), test.cues.end());
    cues.push_back({0, 0xAA, 1, 900});
    ImageRecord record(Write(NrgBuilder().Cues(cues).Build()));
    ASSERT_EQ(S_OK, record.Result());
    EXPECT_EQ(test.brief, Brief(record.Track(1)));
    EXPECT_EQ(100U, ULONG{record.Track(0).dwEndLBA});
    EXPECT_EQ(900U, ULONG{record.Track(1).dwEndLBA});
  }
}

TEST_F(Nrg, CountsTracksAnewInEachSession) {
  NrgBuilder image = TwoTracks();
  image.Cues({{0, 0, 0, 14250}, {0x40, 3, 0, 14250}, {0x40, 3, 1, 14400}, {0, 0xAA, 1, 15000}})
      .DiscAtOnce(3, 3, {{0, 2048, "IGNORED"}})
      .SessionInfo(2)
      .SessionInfo(1);
  ImageRecord record(Write(image.Build()));
  ASSERT_EQ(S_OK, record.Result());
  ASSERT_EQ(2, record->nSessions);
  EXPECT_EQ(Lines{"1: 14400-15000 pregap 150 mode 1 size 2048/2048 flags 0 index 14250,14400 at 0"},
            Describe(record.Sheet(1)));
  EXPECT_EQ("(null)", Narrow(record.Track(0, 1).bstrISRC));
  EXPECT_EQ(352800U, UHYPER{record->dwSeekBegin64});
  EXPECT_EQ(ZSTYPEPROJECT_CDPLUS, ::ZSTYPEPROJECT{record->ZSTYPEPROJECT});
}

TEST_F(Nrg, KnowsTheModesOfDiscAtOnceTracks) {
  struct {
    unsigned mode;
    int expected;
    int format;
  } const cases[] = {{0, ZSMODE_1, 0},     {2, ZSMODE_2, 32}, {3, ZSMODE_2, 32}, {6, ZSMODE_2, 32},
                     {7, ZSMODE_AUDIO, 0}, {1, ZSMODE_2, 32}}; // The first track's mode 6 stays where 1 says nothing.
  for (const auto& test : cases) {
    NrgBuilder image;
    image.Cues({{0, 0, 0, 0}, {0, 1, 1, 0}, {0, 0xAA, 1, 900}})
        .DiscAtOnce(1, 1, {{6, 2448, ""}})
        .DiscAtOnce(1, 1, {{test.mode, 2448, std::string("AB\0CD", 5)}}, std::string("12\0:", 4));
    ImageRecord record(Write(image.Build()));
    ASSERT_EQ(S_OK, record.Result());
    EXPECT_EQ(test.expected, int{record.Track(0).Mode}) << test.mode;
    EXPECT_EQ(test.format, int{record.Sheet().ZSSESSIONFORMAT}) << test.mode;
    EXPECT_EQ(test.mode == 7 ? "AB" : "(null)", Narrow(record.Track(0).bstrISRC));
    EXPECT_EQ("12", Narrow(record.Sheet().ZSCDTEXT.bstrMCN));
    EXPECT_EQ(0, LONG{record->lMask});
  }
}

TEST_F(Nrg, ReadsATrackAtOnceImage) {
  NrgBuilder image = TwoTracks();
  image
      .TracksAtOnce({{0, 0, 2048 * 10 + 5},
                     {2, 20, 2048},
                     {3, 30, 2336 * 2},
                     {6, 40, 2352 * 3},
                     {7, 100, 2352 * 4},
                     {9, 200, 50},
                     {7, 300, 2352}})
      .SessionInfo(4)
      .SessionInfo(3);
  ImageRecord record(Write(image.Build()));
  ASSERT_EQ(S_OK, record.Result());
  ASSERT_EQ(3, record->nSessions);
  EXPECT_EQ((Lines{"1: 0-10 pregap 0 mode 1 size 2048/2048 flags 0 index  at 0",
                   "2: 20-21 pregap 0 mode 4 size 2048/2048 flags 0 index  at 20480",
                   "3: 30-32 pregap 0 mode 4 size 2336/2336 flags 0 index  at 22528",
                   "4: 40-43 pregap 0 mode 4 size 2352/2352 flags 0 index  at 27200"}),
            Describe(record.Sheet(1)));
  EXPECT_EQ((Lines{"1: 100-104 pregap 0 mode 0 size 2352/2352 flags 0 index  at 0",
                   "2: 200-250 pregap 0 mode 0 size 0/0 flags 0 index  at 9408",
                   "3: 300-301 pregap 0 mode 0 size 2352/2352 flags 0 index  at 9408"}),
            Describe(record.Sheet(2)));
  EXPECT_EQ(ZSIMAGEMASK_TRACKATONCE, LONG{record->lMask});
  EXPECT_EQ(0U, UHYPER{record->dwSeekBegin64});
}

TEST_F(Nrg, GivesCDTextToTheFirstSession) {
  struct {
    NrgBuilder image;
    LONG mask;
    const char* title;
  } const cases[] = {
      {TwoTracks().Chunk("CDTX", TitlePack("ALBUM")), ZSIMAGEMASK_CDTEXT, "ALBUM"},
      {TwoTracks().Chunk("CDTX", {1, 2, 3}), ZSIMAGEMASK_CDTEXT, "(null)"},
      {TwoTracks().Chunk("CDTX", {}), 0, "(null)"},
      {NrgBuilder().Chunk("CDTX", TitlePack("ALBUM")).Cues({{0, 1, 1, 0}, {0, 0xAA, 1, 9}}), 0, "(null)"},
  };
  for (const auto& test : cases) {
    ImageRecord record(Write(test.image.Build()));
    ASSERT_EQ(S_OK, record.Result());
    EXPECT_EQ(test.mask, LONG{record->lMask});
    EXPECT_EQ(test.title, Narrow(record.Sheet().ZSCDTEXT.bstrTitle));
  }
}

TEST_F(Nrg, AcceptsImagesWithoutSessions) {
  const NrgBuilder empty;
  const std::vector<BYTE> images[] = {
      empty.Build(NrgFooter::Short),
      empty.Build(NrgFooter::Long),
      TwoTracks().Build(NrgFooter::Long, 1'000'000),
      TwoTracks().Build(NrgFooter::Long, ~UHYPER{0}),
      NrgBuilder().Chunk("ETNF", std::vector<BYTE>(40)).Chunk("TINF", std::vector<BYTE>(12)).Build(),
      NrgBuilder().Chunk("END!", {}).Cues({{0, 1, 1, 0}, {0, 0xAA, 1, 9}}).Build(),
      NrgBuilder().TracksAtOnce({{7, 0, 2352}}).Build(),      // No session is counted.
      NrgBuilder().DiscAtOnce(1, 1, {{7, 2352, ""}}).Build(), // No session to complete.
      ByteWriter().Text("NERO", 4).Big32(0).Get(),
  };
  for (const std::vector<BYTE>& image : images) {
    SCOPED_TRACE(&image - images);
    ImageRecord record(Write(image));
    ASSERT_EQ(S_OK, record.Result());
    EXPECT_EQ(0, record->nSessions);
    EXPECT_EQ(ZSTYPEPROJECT_NULL, ::ZSTYPEPROJECT{record->ZSTYPEPROJECT});
    EXPECT_EQ(0U, ULONG{record->dwDiscID});
  }
}

TEST_F(Nrg, TakesABlockOfTwoGibibytesForNone) {
  const std::string path = Write(NrgBuilder().Cues({{0, 1, 1, 0}, {0, 0xAA, 1, 9}}).Build());
  std::filesystem::resize_file(path, (UHYPER{1} << 31) - 12);
  std::ofstream file(path, std::ios::binary | std::ios::app);
  file.write("NER5\0\0\0\0\0\0\0\0", 12);
  file.close();
  ImageRecord record(path);
  EXPECT_EQ(S_OK, record.Result());
  EXPECT_EQ(0, record->nSessions);
}

TEST_F(Nrg, RefusesWhatDoesNotFit) {
  const std::vector<NrgCue> oneTrack{{0, 0, 0, 0}, {0, 1, 1, 0}, {0, 0xAA, 1, 900}};
  NrgBuilder full;
  for (int i = 0; i < 100; ++i) {
    full.Cues({{0, 1, 1, 0}, {0, 0xAA, 1, 900}});
  }
  struct {
    const char* name;
    std::vector<BYTE> image;
    HRESULT result = ZSE_BADIMAGE;
  } const cases[] = {
      {"no footer", std::vector<BYTE>(100)},
      {"shorter than a footer", {'N', 'E', 'R', 'O', 0, 0, 0}},
      {"no cue entries", NrgBuilder().Cues({}).Build()},
      {"one cue entry", NrgBuilder().Cues({{0, 1, 1, 0}}).Build()},
      {"no tracks", NrgBuilder().Cues({{0, 0, 0, 0}, {0, 0xAA, 1, 0}}).Build()},
      {"no lead-out", NrgBuilder().Cues({{0, 1, 0, 0}, {0, 1, 1, 0}}).Build()},
      {"nothing before index 1", NrgBuilder().Cues({{0, 2, 1, 0}, {0, 0xAA, 1, 0}}).Build()},
      {"track above the last", NrgBuilder().Cues({{0, 3, 0, 0}, {0, 1, 1, 0}, {0, 0xAA, 1, 9}}).Build()},
      {"track of the session before",
       NrgBuilder().Cues(oneTrack).Cues({{0, 1, 0, 0}, {0, 2, 1, 0}, {0, 0xAA, 1, 9}}).SessionInfo(1).Build()},
      {"last track below the sessions before", NrgBuilder().Cues(oneTrack).Cues(oneTrack).SessionInfo(2).Build()},
      {"more records than tracks",
       NrgBuilder().Cues(oneTrack).DiscAtOnce(1, 2, {{7, 2352, ""}, {7, 2352, ""}}).Build()},
      {"more tracks than records", TwoTracks().DiscAtOnce(1, 2, {{7, 2352, ""}}).Build()},
      {"tracks 0 to 255", NrgBuilder().Cues(oneTrack).DiscAtOnce(0, 255, {{7, 2352, ""}}).Build()},
      {"DAOX without its head", NrgBuilder().Cues(oneTrack).Chunk("DAOX", std::vector<BYTE>(21)).Build()},
      {"SINF without its count", NrgBuilder().Chunk("SINF", {0, 0, 1}).Build()},
      {"ETN2 short of a record for the second session",
       NrgBuilder().SessionInfo(1).SessionInfo(1).TracksAtOnce({{7, 0, 2352}}).Build()},
      {"ETN2 of very many tracks", NrgBuilder().SessionInfo(0xFFFFFFFF).TracksAtOnce({{7, 0, 2352}}).Build()},
      {"100 sessions", full.Build(), ZSE_OUTOFRESOURCES},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.name);
    ImageRecord record(Write(test.image));
    EXPECT_EQ(test.result, record.Result());
    EXPECT_TRUE(IsAllZero(*record));
  }
}

TEST_F(Nrg, TakesWhatIsThereOfACutBlock) {
  NrgBuilder image = TwoTracks();
  image.TracksAtOnce({{7, 0, 2352}, {7, 1, 2352}}).SessionInfo(2).Chunk("CDTX", TitlePack("ALBUM"));
  const std::vector<BYTE> whole = image.Build();
  ExpectNoCutHurts(m_folder, "a.nrg", whole);
  for (std::size_t size = 0; size < whole.size(); ++size) {
    SCOPED_TRACE(size);
    ByteWriter cut;
    cut.Bytes({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)}).Text("NER5", 4).Big64(0);
    ImageRecord record(Write(cut.Get()));
    ExpectWholeOrEmpty(record);
  }
  // A chunk that is skipped may claim any length.
  ByteWriter endless;
  endless.Text("JUNK", 4).Big32(0xFFFFFFFF).Zeros(100).Text("NER5", 4).Big64(0);
  EXPECT_EQ(S_OK, ImageRecord(Write(endless.Get())).Result());
}

} // namespace
