#include <fstream>

#include "builders/byte_writer.h"
#include "builders/nrg_builder.h"
#include "readers/reader_checks.h"

namespace {

using Cues = std::vector<NrgCue>;
using Pieces = std::vector<NrgPiece>;

constexpr NrgCue kLeadIn{0, 0, 0, 0};
constexpr NrgCue kLeadOut{0, 0xAA, 1, 900};
const Cues kOneTrack{kLeadIn, {0, 1, 1, 0}, kLeadOut};

/// One session of two audio tracks, the first with the pause of the disc before it.
NrgBuilder TwoTracks() {
  const Cues cues{{0, 0, 0, -150},    {0x20, 1, 0, -150}, {0x20, 1, 1, 0},
                  {0x90, 2, 0, 1000}, {0x90, 2, 1, 1150}, {0, 0xAA, 1, 3000}};
  return NrgBuilder().Cues(cues).DiscAtOnce(1, 2, {{7, 2352, "USRC17607839"}, {7, 2352, ""}}, "0123456789012");
}
const std::string kTwoTracks = "1: 0-1000 flags 1 index 4294967146,0 ISRC USRC17607839, "
                               "2: 1150-3000 pregap 150 flags 6 index 1000,1150 MCN 0123456789012";

/// Cue entries of a track 2, between index 1 of track 1 at 0 and the lead-out at 900.
NrgBuilder WithSecond(const Cues& second) {
  Cues cues{kLeadIn, {0, 1, 1, 0}};
  cues.insert(cues.end(), second.begin(), second.end());
  cues.push_back(kLeadOut);
  return NrgBuilder().Cues(cues);
}

/// A track whose mode is given twice, with texts that end before their fields do.
NrgBuilder OfMode(unsigned mode) {
  const NrgTrack track{mode, 2448, std::string("AB\0CD", 5)};
  NrgBuilder image = NrgBuilder().Cues(kOneTrack).DiscAtOnce(1, 1, {{6, 2448, ""}});
  return image.DiscAtOnce(1, 1, {track}, std::string("12\0:", 4));
}

std::vector<BYTE> TitlePack(const std::string& text) { return ByteWriter().Byte(0x80).Zeros(3).Text(text, 14).Get(); }

struct Case {
  const char* name;
  NrgBuilder image;
  std::string outcome;
};

void Expect(const std::vector<Case>& cases) {
  const TemporaryFolder folder;
  for (const auto& [name, image, outcome] : cases) {
    SCOPED_TRACE(name);
    EXPECT_EQ(outcome, Outcome(folder.Write("short.nrg", image.Build(NrgFooter::Short))));
    EXPECT_EQ(outcome, Outcome(folder.Write("long.nrg", image.Build(NrgFooter::Long))));
  }
}

TEST(Nrg, BuildsSessionsFromChunks) {
  const std::string ofMode6 = "XA 1: 0-900 mode 4 size 2448/2448 index -,0 MCN 12 from 367200";
  const Pieces pieces{{0, 0, 2048 * 10 + 5}, {2, 20, 2048}, {3, 30, 2336 * 2}, {6, 40, 2352 * 3},
                      {7, 100, 2352 * 4},    {9, 200, 50},  {7, 300, 2352}};
  NrgBuilder more = TwoTracks();
  more.Cues({{0, 0, 0, 14250}, {0x40, 3, 0, 14250}, {0x40, 3, 1, 14400}, {0, 0xAA, 1, 15000}});
  Expect({
      {"disc at once", TwoTracks(), kTwoTracks + " from 352800"},
      {"tracks count anew in each session",
       NrgBuilder(more).DiscAtOnce(3, 3, {{0, 2048, "IGNORED"}}).SessionInfo(2).SessionInfo(1),
       kTwoTracks + " | 1: 14400-15000 pregap 150 mode 1 size 2048/2048 index 14250,14400 from 352800"},
      {"track at once", TwoTracks().TracksAtOnce(pieces).SessionInfo(4).SessionInfo(3),
       kTwoTracks + " | XA 1: 0-10 mode 1 size 2048/2048, 2: 20-21 mode 4 size 2048/2048 at 20480, " +
           "3: 30-32 mode 4 size 2336/2336 at 22528, 4: 40-43 mode 4 at 27200" +
           " | 1: 100-104, 2: 200-250 size 0/0 at 9408, 3: 300-301 at 9408 mask 16"},
      {"mode 0", OfMode(0), "1: 0-900 mode 1 size 2448/2448 index -,0 MCN 12 from 367200"},
      {"mode 1, which says nothing", OfMode(1), ofMode6},
      {"mode 2", OfMode(2), ofMode6},
      {"mode 3", OfMode(3), ofMode6},
      {"mode 6", OfMode(6), ofMode6},
      {"mode 7", OfMode(7), "1: 0-900 size 2448/2448 index -,0 ISRC AB MCN 12 from 367200"},
      {"13 bytes of a catalogue number",
       NrgBuilder().Cues(kOneTrack).Chunk("DAOX",
                                          ByteWriter().Zeros(4).Text("0123456789012345", 16).Byte(2).Byte(1).Get()),
       "1: 0-900 size 0/0 index -,0 MCN 0123456789012"},
      {"CD-Text", TwoTracks().Chunk("CDTX", TitlePack("ALBUM")), kTwoTracks + " album ALBUM mask 1 from 352800"},
      {"CD-Text without a pack", TwoTracks().Chunk("CDTX", {1, 2, 3}), kTwoTracks + " mask 1 from 352800"},
      {"empty CD-Text", TwoTracks().Chunk("CDTX", {}), kTwoTracks + " from 352800"},
      {"CD-Text before a session", NrgBuilder().Chunk("CDTX", TitlePack("ALBUM")).Cues(kOneTrack),
       "1: 0-900 size 0/0 index -,0"},
      {"chunks of the older form", NrgBuilder().Chunk("ETNF", std::vector<BYTE>(40)).Chunk("TINF", {0, 0, 0, 0}), ""},
      {"chunks behind the end", NrgBuilder().Chunk("END!", {}).Cues(kOneTrack), ""},
      {"chunks behind a footer", NrgBuilder().Chunk("NER5", {}).Cues(kOneTrack), ""},
      {"chunks behind a short footer", NrgBuilder().Chunk("NERO", {}).Cues(kOneTrack), ""},
      {"tracks of no session", NrgBuilder().TracksAtOnce({{7, 0, 2352}}), ""},
      {"no session to complete", NrgBuilder().DiscAtOnce(1, 1, {{7, 2352, ""}}), ""},
  });
}

TEST(Nrg, BuildsTheIndexesOfATrack) {
  const std::string whole = "1: 0-100 size 0/0 index -,0, 2: 150-900 pregap 50 size 0/0 index 100,150";
  const std::string first = "1: 0-100 size 0/0 index -,0, 2: ";
  Expect({
      {"indexes 0 to 2", WithSecond({{0, 2, 0, 100}, {0, 2, 1, 150}, {0, 2, 2, 300}}), whole + ",300"},
      {"a gap", WithSecond({{0, 2, 0, 100}, {0, 2, 1, 150}, {0, 2, 4, 300}}), whole + ",-,-,300"},
      // The count of indexes would not fit.
      {"index 255", WithSecond({{0, 2, 0, 100}, {0, 2, 1, 150}, {0, 2, 255, 300}}), whole},
      {"index 0 without a sector", WithSecond({{0, 2, 0, 100}, {0, 2, 1, 100}}),
       first + "100-900 size 0/0 index -,100"},
      {"no index 0", WithSecond({{0, 2, 1, 100}}), first + "100-900 pregap 100 size 0/0 index -,100"},
      {"index 1 twice", WithSecond({{0, 2, 0, 100}, {0, 2, 1, 150}, {0, 2, 1, 200}}),
       first + "200-900 pregap 50 size 0/0 index 100,200,-"},
      {"flags of both", WithSecond({{0x20, 2, 0, 100}, {0x10, 2, 1, 150}}),
       first + "150-900 pregap 50 size 0/0 flags 3 index 100,150"},
      {"no flags of data", WithSecond({{0xF0, 2, 0, 100}, {0xF0, 2, 1, 150}}), whole},
  });
}

TEST(Nrg, FindsItsChunksByTheFooter) {
  const std::pair<std::vector<BYTE>, const char*> cases[] = {
      {std::vector<BYTE>(100), "ZSE_BADIMAGE"},
      {{'N', 'E', 'R', 'O', 0, 0, 0}, "ZSE_BADIMAGE"},
      {{'N', 'E', 'R', 'O', 0, 0, 0, 0}, ""},
      {TwoTracks().Build(NrgFooter::Long, 1'000'000), ""},
      {TwoTracks().Build(NrgFooter::Long, ~UHYPER{0}), ""},
      // A chunk that is skipped may claim any length.
      {ByteWriter().Text("JUNK", 4).Big32(0xFFFFFFFF).Zeros(99).Text("NER5", 4).Big64(0).Get(), ""},
  };
  const TemporaryFolder folder;
  for (const auto& [image, outcome] : cases) {
    EXPECT_EQ(outcome, Outcome(folder.Write("a.nrg", image))) << AsText(image);
  }
  // A block of two gibibytes is taken for none.
  const std::string path = folder.Write("a.nrg", NrgBuilder().Cues(kOneTrack).Build());
  std::filesystem::resize_file(path, (UHYPER{1} << 31) - 12);
  std::ofstream(path, std::ios::binary | std::ios::app).write("NER5\0\0\0\0\0\0\0\0", 12);
  EXPECT_EQ("", Outcome(path));
}

TEST(Nrg, RefusesWhatDoesNotFit) {
  NrgBuilder full;
  for (int i = 0; i < 100; ++i) {
    full.Cues({{0, 1, 1, 0}, kLeadOut});
  }
  const std::string bad = "ZSE_BADIMAGE";
  Expect({
      {"no cue entries", NrgBuilder().Cues({}), bad},
      {"one cue entry", NrgBuilder().Cues({{0, 1, 1, 0}}), bad},
      {"no tracks", NrgBuilder().Cues({kLeadIn, kLeadOut}), bad},
      {"no lead-out", NrgBuilder().Cues({{0, 1, 0, 0}, {0, 1, 1, 0}}), bad},
      {"nothing before index 1", NrgBuilder().Cues({{0, 2, 1, 0}, kLeadOut}), bad},
      {"track above the last", NrgBuilder().Cues({{0, 3, 0, 0}, {0, 1, 1, 0}, kLeadOut}), bad},
      {"track of the session before",
       NrgBuilder().Cues(kOneTrack).Cues({{0, 1, 0, 0}, {0, 2, 1, 0}, kLeadOut}).SessionInfo(1), bad},
      {"last track below the sessions before", NrgBuilder().Cues(kOneTrack).Cues(kOneTrack).SessionInfo(2), bad},
      {"more records than tracks", NrgBuilder().Cues(kOneTrack).DiscAtOnce(1, 2, {{}, {}}), bad},
      {"more tracks than records", TwoTracks().DiscAtOnce(1, 2, {{}}), bad},
      {"tracks 0 to 255", NrgBuilder().Cues(kOneTrack).DiscAtOnce(0, 255, {{}}), bad},
      {"DAOX without its head", NrgBuilder().Cues(kOneTrack).Chunk("DAOX", std::vector<BYTE>(21)), bad},
      {"SINF without its count", NrgBuilder().Chunk("SINF", {0, 0, 1}), bad},
      {"ETN2 short of a record for the second session",
       NrgBuilder().SessionInfo(1).SessionInfo(1).TracksAtOnce({{7, 0, 2352}}), bad},
      {"100 sessions", full, "ZSE_OUTOFRESOURCES"},
  });
}

TEST(Nrg, TakesWhatIsThereOfACutBlock) {
  NrgBuilder image = TwoTracks();
  image.TracksAtOnce({{7, 0, 2352}, {7, 1, 2352}}).SessionInfo(2).Chunk("CDTX", TitlePack("ALBUM"));
  ExpectNoCutHurts("a.nrg", AsText(image.Build()));
  ExpectNoCutHurts("a.nrg", AsText(image.Build()), std::string("NERO\0\0\0\0", 8));
}

} // namespace
