#include "disc/disc_id.h"
#include "disc/msf.h"
#include "disc/positions.h"
#include "support/test.h"

namespace {

constexpr UHYPER kUntouched = 0x5555;

struct Span {
  ULONG begin;
  ULONG end;
  LONG pregap = 0;
  LONG postgap = 0;
  ULONG blockSize = 2352;
};

using Sessions = std::vector<std::vector<Span>>;

/// Appends sessions with these tracks to a record.
void AppendSessions(const Sessions& sessions, zsimagefileinfo* info) {
  for (const auto& spans : sessions) {
    TestSheet sheet;
    for (const Span& span : spans) {
      AppendTrack(sheet.Get(), span.begin, span.end, span.pregap, span.blockSize)->Postgap = span.postgap;
    }
    info->pZSCueSheet[info->nSessions++] = sheet.Release();
  }
}

TEST(Msf, ConversionWorksBothWays) {
  const std::pair<LONG, ULONG> kCases[] = {{0, 0x00000200},      {1000, 0x00000F19},   {-150, 0},
                                           {-151, 0x00633B4A},   {-45150, 0x005A0000}, {-45151, kNoTime},
                                           {449699, 0x0063394A}, {449700, kNoTime}};
  for (const auto& [lba, msf] : kCases) {
    EXPECT_EQ(msf, LbaToMsf(lba)) << lba;
  }
  for (LONG lba = -45150; lba < 404850; lba += 7) {
    const ULONG msf = LbaToMsf(lba);
    ASSERT_EQ(lba, MsfToLba(static_cast<LONG>(MinutesOf(msf)), static_cast<LONG>(SecondsOf(msf)),
                            static_cast<LONG>(FramesOf(msf))));
  }
  EXPECT_EQ(MsfToLba(1, 2, 3), MsfToLba(257, 258, -253)) << "each number has 8 bits";
  EXPECT_EQ(-45150, MsfToLba(90, 0, 0));
}

TEST(DiscIdentifier, MatchesKnownDiscs) {
  std::vector<std::tuple<Sessions, ULONG, ULONG>> kCases = {
      {{{{0, 1000}, {1000, 2000}}}, 0x08001A02, 0},
      // Starts at 00:02, 00:15 and 02:58: the digits sum to 2 + 6 + 16, the end is 186 s after the first of the three.
      // The third session is left out.
      {{{{0, 1000}, {1000, 2000}}, {{13200, 14000}}, {{30000, 31000}}}, 0x1800BA03, 0x02000D01},
      {{{{0, 1000}, {1000, 2000}}, {{13200, 14000}}}, 0x1800BA03, 0x02000D01},
      {{{{0, 500}}}, 0x02000601, 0},
      {{{{0, 1000}, {1150, 2000, 150}}}, 0x08001A02, 0}, // See "identifiers" in docs/compatibility.md.
      {Sessions(1), 0, 0},
      {{{{0, 1000}, {1000, 2000}}, {}}, 0, 0x02000D01},
      {Sessions(), 0xAAAA, 0xBBBB},
  };
  Sessions many(1); // The sum of the digits needs more than 8 bits.
  for (ULONG i = 0; i < 40; ++i) {
    many[0].push_back({i * 1000, i * 1000 + 1000});
  }
  kCases.emplace_back(many, 0xC3021528, 0);
  for (const auto& [sessions, id, id2] : kCases) {
    ImageRecord disc;
    AppendSessions(sessions, &*disc);
    disc->dwDiscID = 0xAAAA;
    disc->dwDiscID2 = 0xBBBB;
    ComputeDiscIDs(&*disc);
    EXPECT_EQ(id, ULONG{disc->dwDiscID});
    EXPECT_EQ(id2, ULONG{disc->dwDiscID2});
  }
}

TEST(Position, OneSessionAndSeveralCountDifferently) {
  const Sessions twoTracks = {{{0, 13500}, {13650, 27000, 150}}};
  const Sessions dvd = {{{0, 3000000, 0, 0, 2048}, {3000000, 4000000, 0, 0, 2048}}};
  const std::tuple<const char*, Sessions, UHYPER, ULONG, UHYPER, UHYPER> kCases[] = {
      {"the last sector", twoTracks, 0, 26999, 31752000, 31046400},
      {"first track", twoTracks, 352800, 0, 352800, 31752000},
      {"after all tracks", {{{0, 100}}}, 0, 5000, 235200, kUntouched},
      {"no session", {}, 7, 5000, 7, kUntouched},
      {"first of two sessions", {{{0, 1000}}, {{0, 500}}}, 0, 10, 23520, 2352000},
      // A position counts the gap of 11250 + 150 sectors; the second session starts at 0 again.
      {"second of two sessions", {{{0, 1000}}, {{0, 500}}}, 0, 12405, 1005 * 2352, kUntouched},
      {"after an empty session", {{{0, 1000}}, {}, {{0, 500}}}, 0, 1000 + 6900 + 5, 1005 * 2352, kUntouched},
      {"the pregap counts", {{{0, 1000}}, {{5, 500, 5}}}, 0, 12257, 1007 * 2352, kUntouched},
      {"third session", {{{0, 100}}, {{0, 100}}, {{0, 100}}}, 0, 100 + 11400 + 100 + 6900 + 3, 203 * 2352, kUntouched},
      {"a position that wraps", {{{20, 100}}, {{50, 100}}}, 0, 10, 80 * 2352, kUntouched},
      {"gaps inside a session", {{{10, 100, 10, 7}}, {{0, 9}}}, 0, 107 - 10 + 10 + 11400 + 2, 109 * 2352, kUntouched},
      {"a DVD above 4 GiB", dvd, 0, 3000001, UHYPER{3000000} * 2048, UHYPER{1000000} * 2048},
  };
  const ComPtr<IZSImageFile> service = NewImageFileService();
  for (const auto& [what, sessions, begin, lba, expectedSeek, expectedLength] : kCases) {
    ImageRecord disc;
    AppendSessions(sessions, &*disc);
    disc->dwSeekBegin64 = begin;
    UHYPER seek = kUntouched;
    UHYPER length = kUntouched;
    EXPECT_EQ(S_OK, service->GetPositionFromLBA(&*disc, lba, &seek, &length));
    EXPECT_EQ(expectedSeek, seek) << what;
    EXPECT_EQ(expectedLength, length) << what;
    EXPECT_EQ(S_OK, service->GetPositionFromLBA(&*disc, lba, &seek, nullptr)) << what;
    EXPECT_EQ(E_INVALIDARG, service->GetPositionFromLBA(&*disc, lba, nullptr, nullptr));
  }
}

} // namespace
