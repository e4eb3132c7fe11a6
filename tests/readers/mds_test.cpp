#include <functional>

#include "builders/mds_builder.h"
#include "platform/environment.h"
#include "platform/message_box.h"
#include "readers/reader_checks.h"

namespace {

using Lines = std::vector<std::string>;

const PlannedTrack kAudio{ZSMODE_AUDIO, 20, 0, 2352};
const PlannedTrack kAudioBehindPregap{ZSMODE_AUDIO, 25, 3, 2352};

/// Two audio tracks, then a session of one: the blocks 3, 4 and 9 of the description.
MdsBuilder ThreeTracks() { return MdsOf({{{kAudio, kAudioBehindPregap}, {kAudio}}}); }

/// Keeps the messages that would go to the user.
class Messages final : public MessageHandler {
public:
  Messages() { ProcessEnvironment().messages = this; }
  ~Messages() override { ProcessEnvironment().messages = nullptr; }
  void Show(std::string_view text, std::string_view caption, UINT type) noexcept override {
    m_shown += std::string(caption) + ": " + std::string(text) + " " + std::to_string(type) + "\n";
  }
  std::string m_shown;
};

class Mds : public testing::Test {
protected:
  Mds() { m_folder.Write("a.mdf", ""); }
  std::string Write(const std::vector<BYTE>& description) const { return m_folder.Write("a.mds", description); }

  TemporaryFolder m_folder;
};

TEST_F(Mds, ReadsTracksOfSeveralSessions) {
  MdsBuilder description = ThreeTracks();
  description.blocks[0].format = 0x20;
  description.blocks[4].control = 0x0B;
  description.blocks[9].size = 2448;
  ImageRecord record(Write(description.Build()));
  ASSERT_EQ(S_OK, record.Result());
  ASSERT_EQ(2, record->nSessions);
  EXPECT_EQ((Lines{"1: 0-20 pregap 0 mode 0 size 2352/2352 flags 0 index  at 0",
                   "2: 23-48 pregap 3 mode 0 size 2352/2352 flags 7 index  at 47040"}),
            Describe(record.Sheet(0)));
  EXPECT_EQ(Lines{"1: 11298-11318 pregap 0 mode 0 size 2448/2448 flags 0 index  at 112896"}, Describe(record.Sheet(1)));
  EXPECT_EQ(ZSSESSIONFORMAT_CDROMXA, ::ZSSESSIONFORMAT{record.Sheet(0).ZSSESSIONFORMAT});
  EXPECT_EQ(0, int{record.Sheet(1).ZSSESSIONFORMAT});
  EXPECT_EQ(~UHYPER{0}, UHYPER{record->dwSeekEnd64});
  EXPECT_EQ(ZSIMAGEMASK_SUBCHANNEL | ZSIMAGEMASK_SUBINLINE, LONG{record->lMask});
}

TEST_F(Mds, ReadsADvd) {
  ImageRecord record(Write(MdsOfDvd(2'295'104).Build()));
  ASSERT_EQ(S_OK, record.Result());
  EXPECT_EQ(Lines{"1: 0-2295104 pregap 0 mode 1 size 2048/2048 flags 0 index  at 0"}, Describe(record.Sheet()));
  EXPECT_EQ(ZSTYPEPROJECT_DATA, ::ZSTYPEPROJECT{record->ZSTYPEPROJECT});
}

TEST_F(Mds, TakesThePregapOfTheFileWithoutATrackBefore) {
  MdsBuilder description = MdsOf({{{kAudio}, {kAudio, kAudioBehindPregap}}});
  description.blocks.erase(description.blocks.begin() + 8); // The first track of the second session.
  ImageRecord record(Write(description.Build()));
  ASSERT_EQ(S_OK, record.Result());
  EXPECT_EQ("2: 11293-11321 pregap 3 mode 0 size 2352/2352 flags 0 index  at 94080", Describe(record.Track(1, 1)));
  EXPECT_EQ(0U, UINT{record.Track(0, 1).TNO});
}

TEST_F(Mds, KnowsTheModesOfDataTracks) {
  struct {
    unsigned mode;
    int expected; ///< -1 when nobody knows it.
  } const cases[] = {{0x0A, ZSMODE_1}, {0x0B, ZSMODE_1}, {0x0C, ZSMODE_2}, {0x0D, ZSMODE_2}, {0x09, -1}, {0xF8, -1}};
  for (const auto& test : cases) {
    SCOPED_TRACE(test.mode);
    Messages messages;
    MdsBuilder description = ThreeTracks();
    description.blocks[3].control = 0x04;
    description.blocks[3].mode = test.mode;
    ImageRecord record(Write(description.Build()));
    if (test.expected == -1) {
      EXPECT_EQ(ZSE_OUTOFRESOURCES, record.Result());
      EXPECT_TRUE(IsAllZero(*record));
      EXPECT_EQ("Error: MDS 16\n", messages.m_shown);
    } else {
      ASSERT_EQ(S_OK, record.Result());
      EXPECT_EQ(test.expected, int{record.Track(0).Mode});
      EXPECT_EQ("", messages.m_shown);
    }
  }
}

TEST_F(Mds, JudgesEachField) {
  const auto addSessions = [](MdsBuilder& it, unsigned count) {
    it.lastTracks.clear();
    it.blocks.clear();
    for (unsigned i = 1; i <= count; ++i) {
      MdsBlock opens;
      opens.point = 0xA0;
      MdsBlock track;
      track.point = i < 100 ? i : 0xA1;
      it.lastTracks.push_back(i);
      it.blocks.push_back(opens); // Closes the session before as well.
      it.blocks.push_back(track);
    }
  };
  struct {
    const char* name;
    std::function<void(MdsBuilder&)> change;
    HRESULT result;
    int sessions;
  } const cases[] = {
      {"version 1.2", [](MdsBuilder& it) { it.minor = 2; }, S_OK, 2},
      {"version 1.4", [](MdsBuilder& it) { it.minor = 4; }, ZSE_BADIMAGE, 0},
      {"version 2.3", [](MdsBuilder& it) { it.major = 2; }, ZSE_BADIMAGE, 0},
      {"signature", [](MdsBuilder& it) { it.signature = "MEDIA DESCRIPTOr"; }, ZSE_BADIMAGE, 0},
      {"no blocks", [](MdsBuilder& it) { it.lastTracks.clear(), it.blocks.clear(); }, S_OK, 0},
      {"no session blocks", [](MdsBuilder& it) { it.lastTracks.clear(); }, ZSE_BADIMAGE, 0},
      {"a session block too few", [](MdsBuilder& it) { it.lastTracks.pop_back(); }, ZSE_BADIMAGE, 0},
      {"point 1 opens a session", [](MdsBuilder& it) { it.blocks[0].point = 100; }, S_OK, 2},
      {"point 2 without a session", [](MdsBuilder& it) { it.blocks.erase(it.blocks.begin(), it.blocks.begin() + 4); },
       ZSE_BADIMAGE, 0},
      {"the next session without an end of this", [](MdsBuilder& it) { it.blocks[5].point = 0xC0; }, S_OK, 2},
      {"an end of no session", [](MdsBuilder& it) { it.blocks.insert(it.blocks.begin(), it.blocks[5]); }, S_OK, 2},
      {"no end of the list", [](MdsBuilder& it) { it.blocks.pop_back(); }, S_OK, 2},
      {"an early end of the list", [](MdsBuilder& it) { it.blocks[5].point = 0; }, S_OK, 1},
      {"a track of the session before", [](MdsBuilder& it) { it.blocks[9].point = 2; }, ZSE_BADIMAGE, 0},
      {"a track above the last", [](MdsBuilder& it) { it.blocks[4].point = 3; }, ZSE_BADIMAGE, 0},
      {"last track below the session before", [](MdsBuilder& it) { it.lastTracks[1] = 1; }, ZSE_BADIMAGE, 0},
      {"first session without tracks",
       [](MdsBuilder& it) {
         it.blocks[3].point = 0xB0;
         it.blocks[4].point = 0;
         it.lastTracks[0] = 0;
       },
       ZSE_BADIMAGE, 0},
      {"length blocks one byte too far", [](MdsBuilder& it) { it.lengthsMoved = 1; }, ZSE_FILENOTFOUND, 0},
      {"length blocks at the end of the world", [](MdsBuilder& it) { it.lengthsMoved = 0xFFFFF000; }, ZSE_FILENOTFOUND,
       0},
      {"99 sessions", [&](MdsBuilder& it) { addSessions(it, 99); }, S_OK, 99},
      {"100 sessions", [&](MdsBuilder& it) { addSessions(it, 100); }, ZSE_OUTOFRESOURCES, 0},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(test.name);
    MdsBuilder description = ThreeTracks();
    test.change(description);
    ImageRecord record(Write(description.Build()));
    EXPECT_EQ(test.result, record.Result());
    EXPECT_EQ(test.sessions, record->nSessions);
    ExpectWholeOrEmpty(record);
  }
}

TEST_F(Mds, NeedsItsSectorFile) {
  const TemporaryFolder other;
  EXPECT_EQ(ZSE_FILENOTFOUND, ImageRecord(other.Write("a.mds", ThreeTracks().Build())).Result());
}

TEST_F(Mds, SurvivesEveryCut) {
  ExpectNoCutHurts(m_folder, "a.mds", ThreeTracks().Build());
  ExpectNoCutHurts(m_folder, "a.mds", MdsOfDvd(100).Build());
}

} // namespace
