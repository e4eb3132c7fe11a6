#include <ctime>

#include "builders/bwt_builder.h"
#include "builders/byte_writer.h"
#include "builders/mds_builder.h"
#include "builders/nrg_builder.h"
#include "readers/reader_checks.h"

namespace {

constexpr long kMebibyte = 1024 * 1024;

using Content = std::function<std::string(std::size_t count)>;

/// A head, `count` times a piece, `count` times a second piece, and a tail.
Content Repeated(const std::string& head, const std::string& piece, const std::string& second = "",
                 const std::string& tail = "") {
  return [=](std::size_t count) { return head + Times(count, piece) + Times(count, second) + tail; };
}

const std::string kCue = "FILE \"A.BIN\" BINARY\n";
const std::string kTrack = kCue + "TRACK 1 AUDIO\n";
const std::string kCcd = "[Disc]\nSessions=1\n";

/// The start of a native file that states numbers of sessions and of tracks.
std::string Zsi(const std::string& sessions, const std::string& tracks) {
  return "<ZENTORASCRIBE><TOC><BINARYFILE>A.BIN</BINARYFILE><SESSIONS><COUNT>" + sessions +
         "</COUNT><SESSION-01><TRACKS>" + tracks +
         "</TRACKS><TRACK-01><MODE>AUDIO</MODE> </TRACK-01> </SESSION-01> </SESSIONS> </TOC> ";
}

std::string NrgOfTracks(std::size_t records, ULONG count) {
  return AsText(NrgBuilder().SessionInfo(count).TracksAtOnce(std::vector<NrgPiece>(records)).Build());
}

/// `count` track blocks with the same point.
Content MdsOfBlocks(unsigned point) {
  return [=](std::size_t count) {
    MdsBuilder description;
    description.lastTracks.assign(255, 255);
    description.blocks.resize(count);
    for (MdsBlock& block : description.blocks) {
      block.point = point;
    }
    return AsText(description.Build());
  };
}

std::string TagsOfManyLengths(std::size_t count) {
  std::string text;
  for (std::size_t i = 1; i * i < count; ++i) {
    text += std::string(i, '<') + ">" + Times(2 * i, "</") + ">";
  }
  return text;
}

std::string TagsOfManyNames(std::size_t count) {
  std::string text = Times(count, "<n#>");
  for (std::size_t i = count; i-- > 0;) {
    text += "</n" + std::to_string(i) + ">";
  }
  return text;
}

struct HostileFile {
  const char* what;
  std::string name;
  std::size_t count;
  Content content;
};

const HostileFile kHostileFiles[] = {
    {"lines of one byte", "a.cue", 10'000'000, Repeated(kCue, "\n")},
    {"tracks of a sheet", "a.cue", 100'000, Repeated(kCue, "TRACK 1 AUDIO\n")},
    {"indexes of a track", "a.cue", 50'000, Repeated(kTrack, "INDEX 1 1:1:1\n")},
    {"titles of a track", "a.cue", 100'000, Repeated(kTrack, "TITLE a\n")},
    {"one long line", "a.cue", 1'000'000, Repeated(kCue, "F")},
    {"packs of a companion file", "a.cdt", 100'000, Repeated("", std::string("\x80\0\0\0text\0text\0\0\0\0\0", 18))},
    {"keys of a section", "a.ccd", 1'000'000, Repeated(kCcd, "k#=1\n")},
    {"the same key", "a.ccd", 100'000, Repeated(kCcd, "A name that does not fit \xE9=1\n")},
    {"sections", "a.ccd", 200'000, Repeated(kCcd, "[a]\n")},
    {"tracks of a description", "a.ccd", 20'000,
     Repeated(kCcd, "[ENTRY #]\nPoint=1\nSession=1\nPLBA=1\n", "[TRACK @]\nMODE=0\nINDEX 1=1\n")},
    {"2147483647 packs", "a.ccd", 100,
     Repeated(kCcd + "CDTextLength=2147483647\n[CDText]\nEntries=2147483647\n", "Entry #=80\n")},
    {"track counts", "a.nrg", 50'000,
     Repeated("", std::string("SINF\0\0\0\4\0\0\0\1", 12), "", std::string("END!\0\0\0\0NERO\0\0\0\0", 16))},
    {"2147483648 tracks", "a.nrg", 1'000, [](std::size_t n) { return NrgOfTracks(n, 0x80000000); }},
    {"tracks at once", "a.nrg", 100'000, [](std::size_t n) { return NrgOfTracks(n, static_cast<ULONG>(n)); }},
    {"sessions that are not closed", "a.mds", 20'000, MdsOfBlocks(0xA0)},
    {"the same track", "a.mds", 20'000, MdsOfBlocks(1)},
    {"track records", "a.bwt", 20'000, [](std::size_t n) { return AsText(BwtFile(static_cast<int>(n), 0)); }},
    {"nested tags", "a.zsi", 100'000, Repeated("", "<a>", "</a>")},
    {"tags without an end", "a.zsi", 300'000, Repeated("", "<a>")},
    // A search that starts over for each tag needs quadratic time on these texts.
    {"closing tags without a start", "a.zsi", 20'000, Repeated("", "<a>", "</a></a>")},
    {"attributes in opening tags alone", "a.zsi", 20'000, Repeated("", "<a x>", "</a>")},
    {"closing tags without an end", "a.zsi", 20'000, Repeated("", "<a></a")},
    {"every second tag closed", "a.zsi", 20'000, Repeated("", "<a><a>1</a>")},
    {"inner tags not closed", "a.zsi", 20'000, Repeated("", "<a><b></a>")},
    {"tags inside tags", "a.zsi", 20'000, Repeated("", "<", "</", ">")},
    {"tags of many lengths", "a.zsi", 1'000'000, TagsOfManyLengths},
    {"tags of many names", "a.zsi", 20'000, TagsOfManyNames},
    {"sibling tags", "a.zsi", 100'000, Repeated("<a>", "<#/>", "", " </a>")},
    {"empty nodes", "a.zsi", 100'000, Repeated("<a>", "<b><</b>", "", " </a>")},
    {"2147483647 sessions", "a.zsi", 100, Repeated(Zsi("2147483647", "1"), " ", "", "</ZENTORASCRIBE>")},
    {"2147483647 tracks", "a.zsi", 100, Repeated(Zsi("1", "2147483647"), " ", "", "</ZENTORASCRIBE>")},
    {"2147483647 entries", "a.zsi", 100,
     Repeated(Zsi("1", "1") + "<CDTEXT><ENTRIES>2147483647</ENTRIES><LENGTH>2147483647</LENGTH>",
              "<ENTRY-#>80</ENTRY-1>", "", " </CDTEXT> </ZENTORASCRIBE>")},
};

struct Cost {
  long size = 0; ///< Of the file, in bytes.
  long peak = 0; ///< Most bytes of memory held at once.
  long work = 0; ///< Bytes allocated in all, plus the number of file calls.
  double seconds = 0;
};

Cost MeasureReading(const HostileFile& file, std::size_t count) {
  const TemporaryFolder folder;
  for (const char* companion : {"A.BIN", "a.img", "a.mdf"}) {
    folder.WriteSparse(companion, 2352 * 20);
  }
  folder.Write("a.cue", kTrack + "INDEX 1 0:0:0\n"); // A .cdt file is the companion of this sheet.
  const std::string written = folder.Write(file.name, file.content(count));
  const UniqueBstr path = Wide(file.name.ends_with("cdt") ? folder.Path("a.cue") : written);
  Cost cost;
  cost.size = static_cast<long>(std::filesystem::file_size(written));
  const ComPtr<IZSImageFile> service = NewImageFileService();
  FaultyFiles files([] { return 0; });
  zsimagefileinfo info{};
  const long before = Memory().bytes;
  Memory().peak = before;
  cost.work = -Memory().asked;
  files.points.Start();
  const std::clock_t begin = std::clock();
  const HRESULT result = service->GetImageFileInfo(path.get(), &info);
  files.points.Stop();
  cost.seconds = static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
  cost.work += Memory().asked + files.points.Count();
  cost.peak = Memory().peak - before;
  EXPECT_EQ(FAILED(result), IsAllZero(info));
  service->FreeImageFileInfo(&info);
  return cost;
}

TEST(Budgets, HostileFilesNeedBoundedMemoryAndLinearWork) {
  for (const HostileFile& file : kHostileFiles) {
    SCOPED_TRACE(file.name + ", " + file.what);
    const Cost quarter = MeasureReading(file, file.count / 4);
    const Cost whole = MeasureReading(file, file.count);
    EXPECT_LE(whole.peak, 64 * kMebibyte + 2 * whole.size);
    EXPECT_LE(whole.work, 5 * quarter.work + kMebibyte);
    EXPECT_LE(whole.seconds, 5 * quarter.seconds + 1);
  }
}

} // namespace
