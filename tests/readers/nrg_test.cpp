#include "builders/byte_writer.h"
#include "builders/nrg_builder.h"
#include "readers/reader_checks.h"

namespace {

using Cues = std::vector<NrgCue>;

constexpr NrgCue kLeadIn{0, 0, 0, 0};
constexpr NrgCue kLeadOut{0, 0xAA, 1, 900};
const Cues kOneTrack{kLeadIn, {0, 1, 1, 0}, kLeadOut};
NrgBuilder OneTrack() { return NrgBuilder().Cues(kOneTrack); }

/// A session of two audio tracks. Index 0 of the first is the pause before LBA 0.
NrgBuilder TwoTracks() {
  const Cues cues{{0, 0, 0, -150},    {0x20, 1, 0, -150}, {0x20, 1, 1, 0},
                  {0x90, 2, 0, 1000}, {0x90, 2, 1, 1150}, {0, 0xAA, 1, 3000}};
  return NrgBuilder().Cues(cues).DiscAtOnce(1, 2, {{7, 2352, "USRC17607839"}, {7, 2352, ""}}, "0123456789012");
}
const std::string kTwoTracks = "1: 0-1000 flags 1 index 4294967146,0 ISRC USRC17607839, "
                               "2: 1150-3000 pregap 150 flags 6 index 1000,1150 MCN 0123456789012";

/// A session of track 1 at LBA 0 and of a track 2, up to LBA 900.
/// @param indexes Number, LBA and control of each index of track 2.
NrgBuilder WithTrack2(std::initializer_list<std::array<LONG, 3>> indexes) {
  Cues cues{kLeadIn, {0, 1, 1, 0}};
  for (const auto& [number, lba, control] : indexes) {
    cues.push_back({static_cast<unsigned>(control), 2, static_cast<unsigned>(number), lba});
  }
  cues.push_back(kLeadOut);
  return NrgBuilder().Cues(cues);
}

/// A track of a mode that a second "DAOX" chunk replaces; its texts are shorter than their fields.
NrgBuilder WithMode(unsigned mode) {
  const NrgTrack track{mode, 2448, std::string("AB\0CD", 5)};
  NrgBuilder image = OneTrack().DiscAtOnce(1, 1, {{6, 2448, ""}});
  return image.DiscAtOnce(1, 1, {track}, std::string("12\0:", 4));
}

const std::vector<BYTE> kAlbumPack = ByteWriter().Byte(0x80).Zeros(3).Text("ALBUM", 14).Get();

struct Case {
  const char* name;
  NrgBuilder image;
  std::string summary;
};

/// Reads the image of each case with both footers.
void ExpectSummaries(const std::vector<Case>& cases) {
  for (const auto& [name, image, summary] : cases) {
    EXPECT_EQ(summary, ReadSummary("short.nrg", image.Build(NrgFooter::Short))) << name;
    EXPECT_EQ(summary, ReadSummary("long.nrg", image.Build(NrgFooter::Long))) << name;
  }
}

TEST(Nrg, ChunksBecomeSessions) {
  const std::string asMode2 = "XA 1: 0-900 mode 4 size 2448/2448 index -,0 MCN 12 from 367200";
  const std::vector<NrgPiece> pieces{{0, 0, 2048 * 10 + 5}, {2, 20, 2048}, {3, 30, 2336 * 2}, {6, 40, 2352 * 3},
                                     {7, 100, 2352 * 4},    {9, 200, 50},  {7, 300, 2352}};
  NrgBuilder twoSessions = TwoTracks();
  twoSessions.Cues({{0, 0, 0, 14250}, {0x40, 3, 0, 14250}, {0x40, 3, 1, 14400}, {0, 0xAA, 1, 15000}});
  ExpectSummaries({
      {"disc at once", TwoTracks(), kTwoTracks + " from 352800"},
      {"tracks are numbered from 1 in each session",
       NrgBuilder(twoSessions).DiscAtOnce(3, 3, {{0, 2048, "IGNORED"}}).SessionInfo(2).SessionInfo(1),
       kTwoTracks + " | 1: 14400-15000 pregap 150 mode 1 size 2048/2048 index 14250,14400 from 352800"},
      {"track at once", TwoTracks().TracksAtOnce(pieces).SessionInfo(4).SessionInfo(3),
       kTwoTracks + " | XA 1: 0-10 mode 1 size 2048/2048, 2: 20-21 mode 4 size 2048/2048 at 20480, " +
           "3: 30-32 mode 4 size 2336/2336 at 22528, 4: 40-43 mode 4 at 27200" +
           " | 1: 100-104, 2: 200-250 size 0/0 at 9408, 3: 300-301 at 9408 mask 16"},
      {"mode 0", WithMode(0), "1: 0-900 mode 1 size 2448/2448 index -,0 MCN 12 from 367200"},
      {"mode 1 changes nothing", WithMode(1), asMode2},
      {"mode 2", WithMode(2), asMode2},
      {"mode 3", WithMode(3), asMode2},
      {"mode 6", WithMode(6), asMode2},
      {"mode 7", WithMode(7), "1: 0-900 size 2448/2448 index -,0 ISRC AB MCN 12 from 367200"},
      {"catalogue number of more than 13 letters",
       OneTrack().Chunk("DAOX", ByteWriter().Zeros(4).Text("0123456789012345", 16).Byte(2).Byte(1).Get()),
       "1: 0-900 size 0/0 index -,0 MCN 0123456789012"},
      {"CD-Text", TwoTracks().Chunk("CDTX", kAlbumPack), kTwoTracks + " album ALBUM mask 1 from 352800"},
      {"CD-Text without a pack", TwoTracks().Chunk("CDTX", {1, 2, 3}), kTwoTracks + " mask 1 from 352800"},
      {"empty CD-Text", TwoTracks().Chunk("CDTX", {}), kTwoTracks + " from 352800"},
      {"CD-Text before a session", NrgBuilder().Chunk("CDTX", kAlbumPack).Cues(kOneTrack),
       "1: 0-900 size 0/0 index -,0"},
      {"tags of older files", NrgBuilder().Chunk("ETNF", std::vector<BYTE>(40)).Chunk("TINF", {0, 0, 0, 0}), ""},
      {"chunks after the end", NrgBuilder().Chunk("END!", {}).Cues(kOneTrack), ""},
      {"chunks after a long footer", NrgBuilder().Chunk("NER5", {}).Cues(kOneTrack), ""},
      {"chunks after a short footer", NrgBuilder().Chunk("NERO", {}).Cues(kOneTrack), ""},
      {"track at once without a session", NrgBuilder().TracksAtOnce({{7, 0, 2352}}), ""},
      {"disc at once without a session", NrgBuilder().DiscAtOnce(1, 1, {{7, 2352, ""}}), ""},
  });
}

TEST(Nrg, CueEntriesBecomeIndexes) {
  const std::string first = "1: 0-100 size 0/0 index -,0, 2: ";
  const std::string both = first + "150-900 pregap 50 size 0/0 index 100,150";
  ExpectSummaries({
      {"indexes 0 to 2", WithTrack2({{0, 100}, {1, 150}, {2, 300}}), both + ",300"},
      {"a gap", WithTrack2({{0, 100}, {1, 150}, {4, 300}}), both + ",-,-,300"},
      {"index 255 does not fit into the count", WithTrack2({{0, 100}, {1, 150}, {255, 300}}), both},
      {"empty index 0", WithTrack2({{0, 100}, {1, 100}}), first + "100-900 size 0/0 index -,100"},
      {"no index 0", WithTrack2({{1, 100}}), first + "100-900 pregap 100 size 0/0 index -,100"},
      {"index 1 twice", WithTrack2({{0, 100}, {1, 150}, {1, 200}}),
       first + "200-900 pregap 50 size 0/0 index 100,200,-"},
      {"flags of both entries", WithTrack2({{0, 100, 0x20}, {1, 150, 0x10}}),
       first + "150-900 pregap 50 size 0/0 flags 3 index 100,150"},
      {"data tracks have no flags", WithTrack2({{0, 100, 0xF0}, {1, 150, 0xF0}}), both},
  });
}

TEST(Nrg, FooterLocatesTheChunks) {
  const std::pair<std::vector<BYTE>, const char*> cases[] = {
      {std::vector<BYTE>(100), "ZSE_BADIMAGE"},
      {{'N', 'E', 'R', 'O', 0, 0, 0}, "ZSE_BADIMAGE"},
      {{'N', 'E', 'R', 'O', 0, 0, 0, 0}, ""},
      {TwoTracks().Build(NrgFooter::Long, 1'000'000), ""},
      {TwoTracks().Build(NrgFooter::Long, ~UHYPER{0}), ""},
      // A chunk that is skipped may state any length.
      {ByteWriter().Text("JUNK", 4).Big32(0xFFFFFFFF).Zeros(99).Text("NER5", 4).Big64(0).Get(), ""},
  };
  const TemporaryFolder folder;
  for (const auto& [image, summary] : cases) {
    EXPECT_EQ(summary, ReadSummary(folder.Write("a.nrg", image))) << AsText(image);
  }
  // A block of 2 GiB is ignored.
  const std::string path = folder.Write("a.nrg", OneTrack().Build());
  std::filesystem::resize_file(path, (UHYPER{1} << 31) - 12);
  std::ofstream(path, std::ios::binary | std::ios::app).write("NER5\0\0\0\0\0\0\0\0", 12);
  EXPECT_EQ("", ReadSummary(path));
}

TEST(Nrg, InconsistentChunksAreRefused) {
  NrgBuilder full;
  for (int i = 0; i < 100; ++i) {
    full.Cues({{0, 1, 1, 0}, kLeadOut});
  }
  const std::string bad = "ZSE_BADIMAGE";
  ExpectSummaries({
      {"no cue entries", NrgBuilder().Cues({}), bad},
      {"one cue entry", NrgBuilder().Cues({{0, 1, 1, 0}}), bad},
      {"no tracks", NrgBuilder().Cues({kLeadIn, kLeadOut}), bad},
      {"no lead-out", NrgBuilder().Cues({{0, 1, 0, 0}, {0, 1, 1, 0}}), bad},
      {"no entry before index 1", NrgBuilder().Cues({{0, 2, 1, 0}, kLeadOut}), bad},
      {"track above the last", NrgBuilder().Cues({{0, 3, 0, 0}, {0, 1, 1, 0}, kLeadOut}), bad},
      {"track of the session before", OneTrack().Cues({{0, 1, 0, 0}, {0, 2, 1, 0}, kLeadOut}).SessionInfo(1), bad},
      {"last track below the sessions before", OneTrack().Cues(kOneTrack).SessionInfo(2), bad},
      {"more records than tracks", OneTrack().DiscAtOnce(1, 2, {{}, {}}), bad},
      {"more tracks than records", TwoTracks().DiscAtOnce(1, 2, {{}}), bad},
      {"tracks 0 to 255", OneTrack().DiscAtOnce(0, 255, {{}}), bad},
      {"short head of DAOX", OneTrack().Chunk("DAOX", std::vector<BYTE>(21)), bad},
      {"short count of SINF", NrgBuilder().Chunk("SINF", {0, 0, 1}), bad},
      {"no record for session 2", NrgBuilder().SessionInfo(1).SessionInfo(1).TracksAtOnce({{7, 0, 2352}}), bad},
      {"100 sessions", full, "ZSE_OUTOFRESOURCES"},
  });
}

TEST(Nrg, EveryTruncationIsSafe) {
  NrgBuilder image = TwoTracks();
  image.TracksAtOnce({{7, 0, 2352}, {7, 1, 2352}}).SessionInfo(2).Chunk("CDTX", kAlbumPack);
  ReadTruncations("a.nrg", AsText(image.Build()));
  ReadTruncations("a.nrg", AsText(image.Build()), std::string("NERO\0\0\0\0", 8));
}

} // namespace
