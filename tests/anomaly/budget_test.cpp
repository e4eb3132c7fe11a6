// Files made to cost much: what is read of them takes memory within a bound, and work in proportion to their size.
#include <gtest/gtest.h>

#include <iostream>

#include "builders/bwt_builder.h"
#include "builders/byte_writer.h"
#include "builders/mds_builder.h"
#include "builders/nrg_builder.h"
#include "support/faulty_files.h"
#include "support/services.h"
#include "support/temporary_folder.h"

namespace {

constexpr long kMebibyte = 1024 * 1024;

std::string Times(std::size_t count, const std::string& piece) {
  std::string text;
  text.reserve(count * piece.size());
  for (std::size_t i = 0; i < count; ++i) {
    text += piece;
  }
  return text;
}

std::string Numbered(std::size_t count, const std::string& before, const std::string& after) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    text += before + std::to_string(i) + after;
  }
  return text;
}

std::string Text(const std::vector<BYTE>& bytes) { return {bytes.begin(), bytes.end()}; }

std::string Cue(const std::string& lines) { return "FILE \"A.BIN\" BINARY\n" + lines; }

std::string Ccd(const std::string& more) { return "[Disc]\nSessions=1\n" + more; }

/// A native file of one session that gives numbers of sessions and tracks, with more text at its end.
std::string Zsi(const std::string& sessions, const std::string& tracks, const std::string& more) {
  return "<ZENTORASCRIBE><TOC><BINARYFILE>A.BIN</BINARYFILE><SESSIONS><COUNT>" + sessions +
         "</COUNT><SESSION-01><TRACKS>" + tracks + "</TRACKS><TRACK-01><MODE>AUDIO</MODE> </TRACK-01> </SESSION-01> " +
         "</SESSIONS> </TOC> " + more + "</ZENTORASCRIBE>";
}

/// Chunks that stand at the start of their file.
std::string Nrg(const std::string& chunks) { return chunks + std::string("END!\0\0\0\0NERO\0\0\0\0", 16); }

std::string NrgOfTracks(std::size_t records, ULONG count) {
  return Text(NrgBuilder().SessionInfo(count).TracksAtOnce(std::vector<NrgPiece>(records)).Build());
}

/// Blocks that open one session after the other, or tracks whose lengths all stand in the same place.
std::string MdsOfBlocks(std::size_t count, unsigned point) {
  MdsBuilder description;
  description.lastTracks.assign(255, 255);
  description.blocks.resize(count);
  for (MdsBlock& block : description.blocks) {
    block.point = point;
  }
  return Text(description.Build());
}

struct HostileFile {
  const char* what;
  const char* name; ///< Its extension says who reads it.
  std::size_t count;
  std::string (*make)(std::size_t count);
};

const HostileFile kHostileFiles[] = {
    {"lines of one byte", "a.cue", 10'000'000, [](std::size_t n) { return Cue(std::string(n, '\n')); }},
    {"tracks of a sheet", "a.cue", 100'000, [](std::size_t n) { return Cue(Times(n, "TRACK 1 AUDIO\n")); }},
    {"indexes of a track", "a.cue", 50'000,
     [](std::size_t n) { return Cue("TRACK 1 AUDIO\n" + Times(n, "INDEX 1 1:1:1\n")); }},
    {"titles of a track", "a.cue", 100'000,
     [](std::size_t n) { return Cue("TRACK 1 AUDIO\n" + Times(n, "TITLE a\n")); }},
    {"one line without end", "a.cue", 1'000'000, [](std::size_t n) { return Cue(std::string(n, 'F')); }},
    {"packs of a companion", "a.cdt", 100'000,
     [](std::size_t n) { return Times(n, std::string("\x80\0\0\0text\0text\0\0\0\0\0", 18)); }},
    {"keys of a section", "a.ccd", 1'000'000, [](std::size_t n) { return Ccd(Numbered(n, "k", "=1\n")); }},
    {"the same key", "a.ccd", 50'000, [](std::size_t n) { return Ccd(Times(n, "key=1\n")); }},
    {"headings", "a.ccd", 200'000, [](std::size_t n) { return Ccd(Times(n, "[a]\n")); }},
    {"tracks of a description", "a.ccd", 20'000,
     [](std::size_t n) {
       return Ccd(Numbered(n, "[ENTRY ", "]\nPoint=1\nSession=1\nPLBA=1\n") +
                  Numbered(n + 1, "[TRACK ", "]\nMODE=0\nINDEX 1=1\n"));
     }},
    {"as many packs as a number holds", "a.ccd", 100,
     [](std::size_t n) {
       return Ccd("CDTextLength=2147483647\n[CDText]\nEntries=2147483647\n" + Numbered(n, "Entry ", "=80\n"));
     }},
    {"chunks that count tracks", "a.nrg", 50'000,
     [](std::size_t n) { return Nrg(Times(n, std::string("SINF\0\0\0\4\0\0\0\1", 12))); }},
    {"sessions of 2^31 tracks", "a.nrg", 1'000, [](std::size_t n) { return NrgOfTracks(n, 0x80000000); }},
    {"tracks at once", "a.nrg", 100'000, [](std::size_t n) { return NrgOfTracks(n, static_cast<ULONG>(n)); }},
    {"packs of a chunk", "a.nrg", 100'000,
     [](std::size_t n) {
       NrgBuilder image;
       image.SessionInfo(1).TracksAtOnce({{}});
       return Text(image.Chunk("CDTX", std::vector<BYTE>(18 * n, 0x80)).Build());
     }},
    {"sessions one in the other", "a.mds", 20'000, [](std::size_t n) { return MdsOfBlocks(n, 0xA0); }},
    {"the same track", "a.mds", 20'000, [](std::size_t n) { return MdsOfBlocks(n, 1); }},
    {"counted fields", "a.bwt", 20'000, [](std::size_t n) { return Text(BwtFile(static_cast<int>(n), 0)); }},
    {"tags in tags", "a.zsi", 100'000, [](std::size_t n) { return Times(n, "<a>") + Times(n, "</a>"); }},
    {"tags that never close", "a.zsi", 300'000, [](std::size_t n) { return Times(n, "<a>"); }},
    {"tags side by side", "a.zsi", 100'000, [](std::size_t n) { return "<a>" + Numbered(n, "<", "/>") + " </a>"; }},
    {"empty nodes", "a.zsi", 100'000, [](std::size_t n) { return "<a>" + Times(n, "<b><</b>") + " </a>"; }},
    {"sessions without number", "a.zsi", 100,
     [](std::size_t n) { return Zsi("2147483647", "1", std::string(n, ' ')); }},
    {"tracks without number", "a.zsi", 100, [](std::size_t n) { return Zsi("1", "2147483647", std::string(n, ' ')); }},
    {"packs without number", "a.zsi", 100,
     [](std::size_t n) {
       return Zsi("1", "1",
                  "<CDTEXT><ENTRIES>2147483647</ENTRIES><LENGTH>2147483647</LENGTH>" +
                      Numbered(n, "<ENTRY-", ">80</ENTRY-1>") + " </CDTEXT> ");
     }},
};

struct Cost {
  long size = 0; ///< Bytes of the file.
  long peak = 0; ///< Most bytes of memory at once.
  long work = 0; ///< Bytes asked for, and calls of the file layer.
};

Cost CostOf(const HostileFile& file, std::size_t count) {
  const TemporaryFolder folder;
  for (const char* companion : {"A.BIN", "a.img", "a.mdf"}) {
    folder.WriteSparse(companion, 2352 * 20);
  }
  Cost cost;
  {
    const std::string content = file.make(count);
    cost.size = static_cast<long>(content.size());
    folder.Write(file.name, content);
  }
  const bool companion = std::string_view(file.name).ends_with("cdt");
  if (companion) {
    folder.Write("a.cue", Cue("TRACK 1 AUDIO\nINDEX 1 0:0:0\n"));
  }
  const UniqueBstr path = Wide(folder.Path(companion ? "a.cue" : file.name));
  const ComPtr<IZSImageFile> service = NewImageFileService();
  FaultyFiles files([] { return 0; });
  zsimagefileinfo info{};
  const long before = Memory().bytes;
  Memory().peak = before;
  cost.work = -Memory().asked;
  files.points.Start();
  const HRESULT result = service->GetImageFileInfo(path.get(), &info);
  files.points.Stop();
  cost.work += Memory().asked + files.points.Count();
  cost.peak = Memory().peak - before;
  EXPECT_EQ(FAILED(result), IsAllZero(info));
  service->FreeImageFileInfo(&info);
  return cost;
}

std::ostream& operator<<(std::ostream& stream, const HostileFile& file) {
  return stream << file.name << ", " << file.what;
}

class Budgets : public testing::TestWithParam<HostileFile> {};

TEST_P(Budgets, HoldForAHostileFile) {
  const HostileFile& file = GetParam();
  const Cost quarter = CostOf(file, file.count / 4);
  const Cost whole = CostOf(file, file.count);
  std::cout << file.name << ", " << file.what << ": " << whole.size / 1024 << " KiB, peak " << whole.peak / 1024
            << " KiB, work " << whole.work / 1024 << " Ki\n";
  EXPECT_LE(whole.peak, 64 * kMebibyte + 2 * whole.size);
  EXPECT_LE(whole.work, 5 * quarter.work + kMebibyte) << "not linear";
}

INSTANTIATE_TEST_SUITE_P(Files, Budgets, testing::ValuesIn(kHostileFiles),
                         [](const auto& test) { return std::to_string(test.index); });

} // namespace
