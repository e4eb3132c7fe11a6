#include "builders/mds_builder.h"
#include "platform/message_box.h"
#include "readers/reader_checks.h"

namespace {

const std::string kWhole = "1: 0-20, 2: 23-48 pregap 3 at 47040 | 1: 11298-11318 at 112896";

/// Keeps the messages that would go to the user.
class Messages final : public MessageHandler {
public:
  Messages() { SetMessageHandler(this); }
  ~Messages() override { SetMessageHandler(nullptr); }
  void Show(std::string_view text, std::string_view caption, UINT type) noexcept override {
    m_shown += std::string(caption) + ": " + std::string(text) + " " + std::to_string(type) + "\n";
  }
  std::string m_shown;
};

/// Makes the first track one of data.
void MakeData(unsigned mode, MdsBuilder* description) {
  description->blocks[3].control = 0x04;
  description->blocks[3].mode = mode;
}

struct Case {
  const char* name;
  void (*change)(MdsBuilder& it); ///< Of a description of three tracks: the blocks 3, 4 and 9.
  std::string outcome = kWhole;
  const char* message = "";
};

const Case kCases[] = {
    {"version 1.2", [](MdsBuilder& it) { it.minor = 2; }},
    {"version 1.4", [](MdsBuilder& it) { it.minor = 4; }, "ZSE_BADIMAGE"},
    {"version 2.3", [](MdsBuilder& it) { it.major = 2; }, "ZSE_BADIMAGE"},
    {"signature", [](MdsBuilder& it) { it.signature = "MEDIA DESCRIPTOr"; }, "ZSE_BADIMAGE"},
    {"DVD", [](MdsBuilder& it) { it = MdsOfDvd(2'295'104); }, "1: 0-2295104 mode 1 size 2048/2048"},
    {"session formats", [](MdsBuilder& it) { it.blocks[0].format = 0x20; }, "XA " + kWhole},
    {"control bits", [](MdsBuilder& it) { it.blocks[9].control = 0x0B; },
     "1: 0-20, 2: 23-48 pregap 3 at 47040 | 1: 11298-11318 flags 7 at 112896"},
    {"sub-channel in the sectors", [](MdsBuilder& it) { it.blocks[9].size = 2448; },
     "1: 0-20, 2: 23-48 pregap 3 at 47040 | 1: 11298-11318 size 2448/2448 at 112896 mask 12"},
    // The pregap of the file counts where the first track of a session is missing.
    {"no track before", [](MdsBuilder& it) { it.blocks.erase(it.blocks.begin() + 3), it.blocks[3].pregap = 5; },
     "0: 0-0 size 0/0, 2: 23-51 pregap 5 at 47040 | 1: 11298-11318 at 112896"},
    {"mode 0A", [](MdsBuilder& it) { MakeData(0x0A, &it); }, "1: 0-20 mode 1" + kWhole.substr(7)},
    {"mode 0C", [](MdsBuilder& it) { MakeData(0x0C, &it); }, "1: 0-20 mode 4" + kWhole.substr(7)},
    {"mode 09", [](MdsBuilder& it) { MakeData(0x09, &it); }, "ZSE_OUTOFRESOURCES", "Error: MDS 16\n"},
    {"no blocks", [](MdsBuilder& it) { it.lastTracks.clear(), it.blocks.clear(); }, ""},
    {"no session block", [](MdsBuilder& it) { it = MdsOfDvd(100), it.lastTracks.clear(); }, "ZSE_BADIMAGE"},
    {"a session block too few", [](MdsBuilder& it) { it.lastTracks.pop_back(); }, "ZSE_BADIMAGE"},
    {"point 1 opens a session", [](MdsBuilder& it) { it.blocks[0].point = 100; }},
    {"point 2 without a session", [](MdsBuilder& it) { it.blocks.erase(it.blocks.begin(), it.blocks.begin() + 4); },
     "ZSE_BADIMAGE"},
    {"the next session without an end of this", [](MdsBuilder& it) { it.blocks[5].point = 0xC0; }},
    {"an end of no session", [](MdsBuilder& it) { it.blocks.insert(it.blocks.begin(), it.blocks[5]); }},
    {"no end of the list", [](MdsBuilder& it) { it.blocks.pop_back(); }},
    {"an early end of the list", [](MdsBuilder& it) { it.blocks[5].point = 0; }, kWhole.substr(0, 35)},
    {"a track of the session before", [](MdsBuilder& it) { it.blocks[9].point = 2; }, "ZSE_BADIMAGE"},
    {"a track above the last", [](MdsBuilder& it) { it.blocks[4].point = 3; }, "ZSE_BADIMAGE"},
    {"last track below the session before", [](MdsBuilder& it) { it.lastTracks[1] = 1; }, "ZSE_BADIMAGE"},
    {"the same without a track", [](MdsBuilder& it) { it.lastTracks[1] = 1, it.blocks[9].point = 0; }, "ZSE_BADIMAGE"},
    {"first session without tracks",
     [](MdsBuilder& it) {
       it.blocks[3].point = 0xB0;
       it.blocks[4].point = 0;
       it.lastTracks[0] = 0;
     },
     "ZSE_BADIMAGE"},
    {"length blocks one byte too far", [](MdsBuilder& it) { it.lengthsMoved = 1; }, "ZSE_FILENOTFOUND"},
    {"length blocks behind all", [](MdsBuilder& it) { it.lengthsMoved = 0xFFFFF000; }, "ZSE_FILENOTFOUND"},
};

TEST(Mds, JudgesEachField) {
  const TemporaryFolder folder;
  folder.Write("a.mdf", "");
  for (const Case& test : kCases) {
    SCOPED_TRACE(test.name);
    const Messages messages;
    MdsBuilder description = MdsOf(kThreeTracks);
    test.change(description);
    EXPECT_EQ(test.outcome, Outcome(folder.Write("a.mds", description.Build())));
    EXPECT_EQ(test.message, messages.m_shown);
  }
  EXPECT_EQ("ZSE_FILENOTFOUND", Outcome(folder.Write("alone.mds", MdsOf(kThreeTracks).Build())));
}

TEST(Mds, SurvivesEveryCut) {
  ExpectNoCutHurts("a.mds", AsText(MdsOf(kThreeTracks).Build()));
  ExpectNoCutHurts("a.mds", AsText(MdsOfDvd(100).Build()));
}

} // namespace
