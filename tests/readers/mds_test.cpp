#include "builders/mds_builder.h"
#include "platform/message_box.h"
#include "readers/reader_checks.h"

namespace {

const std::string kFirstSession = "1: 0-20, 2: 23-48 pregap 3 at 47040";
const std::string kSummary = kFirstSession + " | 1: 11298-11318 at 112896";

/// Collects the messages that are shown to the user.
class Messages final : public MessageHandler {
public:
  Messages() { SetMessageHandler(this); }
  ~Messages() override { SetMessageHandler(nullptr); }
  void Show(std::string_view text, std::string_view caption, UINT type) noexcept override {
    shown += std::string(caption) + ": " + std::string(text) + " " + std::to_string(type) + "\n";
  }

  std::string shown;
};

void SetDataMode(MdsBuilder* it, unsigned mode) { it->blocks[3].control = 0x04, it->blocks[3].mode = mode; }

struct Case {
  const char* name;
  void (*change)(MdsBuilder& it); ///< Changes the description of kThreeTracks; blocks 3, 4 and 9 are the tracks.
  std::string summary = kSummary;
};

const Case kCases[] = {
    {"version 1.2", [](auto& it) { it.minor = 2; }},
    {"version 1.4", [](auto& it) { it.minor = 4; }, "ZSE_BADIMAGE"},
    {"version 2.3", [](auto& it) { it.major = 2; }, "ZSE_BADIMAGE"},
    {"signature", [](auto& it) { it.signature = "MEDIA DESCRIPTOr"; }, "ZSE_BADIMAGE"},
    {"DVD", [](auto& it) { it = MdsOfDvd(2'295'104); }, "1: 0-2295104 mode 1 size 2048/2048"},
    {"session format", [](auto& it) { it.blocks[0].format = 0x20; }, "XA " + kSummary},
    {"control bits", [](auto& it) { it.blocks[9].control = 0x0B; },
     kFirstSession + " | 1: 11298-11318 flags 7 at 112896"},
    {"sectors with sub-channel", [](auto& it) { it.blocks[9].size = 2448; },
     kFirstSession + " | 1: 11298-11318 size 2448/2448 at 112896 mask 12"},
    // The file's pregap is used if the first track of a session is missing.
    {"first track missing", [](auto& it) { it.blocks.erase(it.blocks.begin() + 3), it.blocks[3].pregap = 5; },
     "0: 0-0 size 0/0, 2: 23-51 pregap 5 at 47040 | 1: 11298-11318 at 112896"},
    {"mode 0A", [](auto& it) { SetDataMode(&it, 0x0A); }, "1: 0-20 mode 1" + kSummary.substr(7)},
    {"mode 0C", [](auto& it) { SetDataMode(&it, 0x0C); }, "1: 0-20 mode 4" + kSummary.substr(7)},
    {"mode 09", [](auto& it) { SetDataMode(&it, 0x09); }, "ZSE_OUTOFRESOURCES"},
    {"no blocks", [](auto& it) { it.lastTracks.clear(), it.blocks.clear(); }, ""},
    {"no session block", [](auto& it) { it = MdsOfDvd(100), it.lastTracks.clear(); }, "ZSE_BADIMAGE"},
    {"one session block too few", [](auto& it) { it.lastTracks.pop_back(); }, "ZSE_BADIMAGE"},
    {"point 1 opens a session", [](auto& it) { it.blocks[0].point = 100; }},
    {"point 2 without a session", [](auto& it) { it.blocks.erase(it.blocks.begin(), it.blocks.begin() + 4); },
     "ZSE_BADIMAGE"},
    {"no end of the session before", [](auto& it) { it.blocks[5].point = 0xC0; }},
    {"session end before the first session", [](auto& it) { it.blocks.insert(it.blocks.begin(), it.blocks[5]); }},
    {"list without an end", [](auto& it) { it.blocks.pop_back(); }},
    {"list ends after the first session", [](auto& it) { it.blocks[5].point = 0; }, kFirstSession},
    {"track number of the session before", [](auto& it) { it.blocks[9].point = 2; }, "ZSE_BADIMAGE"},
    {"track number above the last", [](auto& it) { it.blocks[4].point = 3; }, "ZSE_BADIMAGE"},
    {"last track below the session before", [](auto& it) { it.lastTracks[1] = 1; }, "ZSE_BADIMAGE"},
    {"last track below the session before, no track", [](auto& it) { it.lastTracks[1] = 1, it.blocks[9].point = 0; },
     "ZSE_BADIMAGE"},
    {"first session without tracks",
     [](auto& it) { it.blocks[3].point = 0xB0, it.blocks[4].point = 0, it.lastTracks[0] = 0; }, "ZSE_BADIMAGE"},
    {"last length block cut by one byte", [](auto& it) { it.lengthsMoved = 1; }, "ZSE_FILENOTFOUND"},
    {"length blocks after the end", [](auto& it) { it.lengthsMoved = 0xFFFFF000; }, "ZSE_FILENOTFOUND"},
};

TEST(Mds, EachFieldYieldsItsRecordOrError) {
  const TemporaryFolder folder;
  const Messages messages;
  folder.Write("a.mdf", "");
  for (const Case& test : kCases) {
    SCOPED_TRACE(test.name);
    MdsBuilder description = MdsOf(kThreeTracks);
    test.change(description);
    EXPECT_EQ(test.summary, ReadSummary(folder.Write("a.mds", description.Build())));
  }
  EXPECT_EQ("Error: MDS 16\n", messages.shown) << "for mode 09";
  EXPECT_EQ("ZSE_FILENOTFOUND", ReadSummary(folder.Write("alone.mds", MdsOf(kThreeTracks).Build())));
}

TEST(Mds, EveryTruncationIsSafe) {
  ReadTruncations("a.mds", AsText(MdsOf(kThreeTracks).Build()));
  ReadTruncations("a.mds", AsText(MdsOfDvd(100).Build()));
}

} // namespace
