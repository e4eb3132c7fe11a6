// Makes the seeds of all fuzzers: whole inputs of each kind, and inputs that are named for their one fault. Each run
// makes the same files byte for byte.
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>

#include "builders/bwt_builder.h"
#include "builders/byte_writer.h"
#include "builders/ccd_builder.h"
#include "builders/mds_builder.h"
#include "builders/nrg_builder.h"
#include "builders/sectors.h"
#include "foundation/byte_view.h"
#include "foundation/strings.h"
#include "support/folder_format.h"
#include "support/run.h"

namespace {

constexpr PlannedTrack kAudio{ZSMODE_AUDIO, 20, 0, 2352};
constexpr PlannedTrack kAudioWithPregap{ZSMODE_AUDIO, 12, 8, 2352};
constexpr PlannedTrack kData{ZSMODE_1, 20, 0, 2352};
constexpr PlannedTrack kXa{ZSMODE_2, 20, 0, 2352};
constexpr PlannedTrack kWithSubChannel{ZSMODE_1, 20, 0, 2448};

constexpr ULONG kMaxNumber = 0xFFFFFFFF; // Adding 1 wraps.

struct NamedDisc {
  std::string name;
  DiscPlan plan;
};

const std::vector<NamedDisc>& Discs() {
  static const std::vector<NamedDisc> discs{
      {"audio", {{{kAudio, kAudioWithPregap}}}},        {"data", {{{kData}}}},
      {"mixed", {{{kData, kAudioWithPregap, kAudio}}}}, {"cdplus", {{{kAudio, kAudioWithPregap}, {kXa}}}},
      {"bridge", {{{kXa, kXa}}, "CD-RTOS CD-BRIDGE"}},  {"sessions", {{{kData}, {kData, kAudio}, {kXa}}}},
  };
  return discs;
}

std::string TextOf(const std::vector<BYTE>& bytes) { return {bytes.begin(), bytes.end()}; }
std::vector<BYTE> BytesOf(const std::string& text) { return {text.begin(), text.end()}; }

/// The folder of all seeds.
class Corpus {
public:
  explicit Corpus(std::filesystem::path folder) : m_folder(std::move(folder)) {}

  void Add(const std::string& fuzzer, const std::string& name, const std::string& bytes) const {
    const std::filesystem::path path = m_folder / fuzzer / name;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) {
      throw std::runtime_error("cannot write " + path.string());
    }
  }
  void Add(const std::string& fuzzer, const std::string& name, const std::vector<BYTE>& bytes) const {
    Add(fuzzer, name, TextOf(bytes));
  }

private:
  std::filesystem::path m_folder;
};

/// Returns the packs of an album of two tracks, and the zero byte that ends a .CDT file.
std::string AlbumPacks() {
  fuzz::Run run(0);
  fuzz::Sheet sheet(&run, 2);
  sheet->ZSCDTEXT.CDTextPresent = VARIANT_TRUE;
  sheet->ZSCDTEXT.bstrTitle = NewBstr("Made-up Sectors");
  sheet->ZSCDTEXT.bstrPerformer = NewBstr("The Builders");
  sheet->ZSCDTEXT.bstrGenre = NewBstr("Noise");
  sheet->pZSTracks[0].bstrTitle = NewBstr("Pattern in Thirty-One");
  sheet->pZSTracks[1].bstrTitle = NewBstr("Caf\xE9 at Sector Twenty");
  sheet->pZSTracks[1].bstrISRC = NewBstr("USRC17607839");
  return *fuzz::EncodePacks(&run, sheet.Get(), false);
}

/// Returns a pack, its text cut or padded with zeros to 12 bytes.
std::string Pack(unsigned type, unsigned track, const std::string& text, unsigned block = 0) {
  return TextOf(ByteWriter().Byte(type).Byte(track).Byte(0).Byte(block).Text(text, 12).Zeros(2).Get());
}

std::string Repeated(const std::string& text, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) {
    all += text;
  }
  return all;
}

// ---- CUE sheets

const std::string kFileLine = "FILE \"DISC.BIN\" BINARY\r\n";

/// Returns a sheet, then the size, the first 24 bytes and the volume descriptor of its data file.
std::string Cue(const std::string& sheet, ULONG size = 40 * 2352, const std::string& system = "CD-RTOS CD-BRIDGE") {
  return sheet + '\0' +
         TextOf(ByteWriter()
                    .Little32(size)
                    .Zeros(15)
                    .Byte(2)
                    .Zeros(2)
                    .Byte(0x20)
                    .Zeros(3)
                    .Byte(0x20)
                    .Zeros(1)
                    .Byte(1)
                    .Text("CD001", 7)
                    .Text(system, 32)
                    .Get());
}

void AddCueSheets(const Corpus& corpus) {
  const std::string one = "TRACK 01 AUDIO\r\nINDEX 01 00:00:00\r\n";
  const struct {
    const char* name;
    std::string sheet;
  } sheets[] = {
      {"audio", kFileLine + one + "TRACK 02 AUDIO\r\nINDEX 00 00:00:18\r\nINDEX 01 00:00:20\r\nINDEX 02 00:00:30\r\n"},
      {"mixed",
       "CATALOG 4006381333931\r\n" + kFileLine +
           "TRACK 01 MODE1/2352\r\nINDEX 01 00:00:00\r\n"
           "TRACK 02 AUDIO\r\nFLAGS DCP PRE 4CH\r\nISRC DEA012600001\r\nPREGAP 00:02:00\r\nINDEX 01 00:00:20\r\n"},
      {"bridge",
       kFileLine + "TRACK 01 MODE2/2352\r\nINDEX 01 00:00:00\r\nTRACK 02 MODE2/2352\r\nINDEX 01 00:00:20\r\n"},
      {"texts", kFileLine + "TITLE \"A \"B\" C\"\r\nPERFORMER P\r\nGENRE \"G\r\n" + one +
                    "SONGWRITER \"S\"\r\nCOMPOSER \"C\"\r\nARRANGER \"A\"\r\nREM COMMENT \"M\"\r\n"},
      {"sizes", kFileLine + "TRACK 01 MODE1/2048\r\nINDEX 01 00:00:00\r\nTRACK 02 MODE2/2336\r\nINDEX 01 00:00:10\r\n"},
      {"index-before-bound-track-number", kFileLine + "TRACK 99 AUDIO\r\nINDEX 01 00:00:00\r\n"},
      {"index-before-bound-negative-track", kFileLine + "TRACK -1 AUDIO\r\nINDEX 01 00:00:00\r\n"},
      {"index-before-bound-index-count", kFileLine + one + Repeated("INDEX 02 00:00:01\n", 260)},
      {"sum-wraps-pregaps", kFileLine + one + Repeated("PREGAP 255:255:255\n", 400) + "INDEX 01 00:00:00\r\n"},
      {"sum-wraps-times", kFileLine + one + "TRACK 02 AUDIO\r\nINDEX 00 99:59:74\r\nINDEX 01 00:00:00\r\n"},
      {"sum-wraps-number", kFileLine + "TRACK 4294967297 AUDIO\r\nINDEX 01 4294967296:-1:2147483648\r\n"},
      {"zero-size-block", kFileLine + "TRACK 01 MODE1/4294967296\r\nINDEX 01 00:00:00\r\n"},
      {"no-track", kFileLine},
      {"no-file-line", one},
      {"long-text-catalog", "CATALOG " + std::string(300, '1') + "\r\n" + kFileLine + one},
      {"long-text-catalog-cut-in-character", "CATALOG 123456789012\xF0\x9F\x98\x80\r\n" + kFileLine + one},
      {"long-text-title", kFileLine + one + "TITLE \"" + std::string(600, 'T') + "\"\r\n"},
      {"long-text-file-name", "FILE \"" + std::string(250, 'N') + "\" BINARY\r\n" + one},
      {"assertion-lone-quote", kFileLine + one + "TITLE \"\r\nTITLE\r\nPERFORMER \" \r\nCATALOG \"\r\n"},
      {"assertion-file-is-sheet", "FILE \"DISC.CUE\" BINARY\r\n" + one},
  };
  for (const auto& sheet : sheets) {
    corpus.Add("cue", sheet.name, Cue(sheet.sheet));
  }
  corpus.Add("cue", "video",
             Cue(kFileLine + "TRACK 01 MODE2/2352\r\nINDEX 01 00:00:00\r\nTRACK 02 MODE2/2352\r\nINDEX 01 00:00:20\r\n",
                 40 * 2352, "LINUX"));
  corpus.Add("cue", "zero-size-data-file", Cue(kFileLine + one, 0));
  corpus.Add("cue", "zero-size-sheet", std::string());
}

// ---- CD-Text

void AddPacks(const Corpus& corpus) {
  const std::string album = AlbumPacks();
  const struct {
    const char* name;
    unsigned tracks;
    std::string packs;
  } cases[] = {
      {"album", 2, album},
      {"blocks", 2, Pack(0x80, 0, "ONE") + Pack(0x80, 0, "TWO", 0x10)},
      {"double-byte", 2, Pack(0x80, 0, "ONE") + Pack(0x81, 0, "TWO", 0x80)},
      {"all-types", 3,
       [] {
         std::string packs;
         for (unsigned type = 0x80; type < 0x90; ++type) {
           packs += Pack(type, 0, std::string("A\0B\0C\0D", 7));
         }
         return packs;
       }()},
      {"index-before-bound-track", 3, Pack(0x80, 99, std::string("A\0B\0C", 5)) + Pack(0x80, 0xFF, "X")},
      {"index-before-bound-more-texts-than-tracks", 1,
       Repeated(Pack(0x80, 0, std::string("A\0B\0C\0D\0E\0F", 12)), 20)},
      {"sum-wraps-track", 127, Repeated(Pack(0x81, 0x7F, std::string("A\0B\0C\0D\0E\0F", 12)), 30)},
      {"zero-size", 1, ""},
      {"no-track", 0, album},
      {"long-text-without-end", 1, Repeated(Pack(0x80, 0, "AAAAAAAAAAAA"), 256)},
      {"long-text-ends-at-buffer", 1, Repeated(Pack(0x80, 0, "AAAAAAAAAAAA"), 254) + Pack(0x80, 0, "AAAAAAAAAAA")},
      {"assertion-cut-pack", 2, album.substr(0, 17)},
      {"assertion-types-in-disorder", 2, Pack(0x81, 1, "B") + Pack(0x80, 0, "A") + Pack(0x81, 0, "C")},
  };
  for (const auto& test : cases) {
    corpus.Add("cdt", test.name, static_cast<char>(test.tracks) + test.packs);
  }
}

void AddEncoderInputs(const Corpus& corpus) {
  const auto texts = [](const std::string& text) { return Repeated(text + '\0', 7); };
  const auto track = [&](char mode, const std::string& text) { return mode + texts(text) + "ISRC" + '\0'; };
  const std::string head("\0\2\x09", 3);
  corpus.Add("encoder", "whole", head + texts("Disc") + track(0, "First") + track(0, "Second"));
  corpus.Add("encoder", "data-track-first", head + texts("Disc") + track(1, "First") + track(0, "Second"));
  corpus.Add("encoder", "gaps", head + texts("Disc") + track(0, "") + track(0, "Second"));
  corpus.Add("encoder", "absent", std::string("\1\0\0", 3));
  corpus.Add("encoder", "characters", head + texts("\xE9\xC3\xA9\xF0\x9F\x98\x80") + track(0, "\x80\x81\xFF"));
  corpus.Add("encoder", "index-before-bound-127-tracks",
             std::string("\0\x7F\x09", 3) + texts("D") + Repeated(track(0, "T"), 127));
  corpus.Add("encoder", "sum-wraps-sequence",
             std::string("\0\x60\x09", 3) + texts("D") + Repeated(track(0, std::string(40, 'T')), 96));
  corpus.Add("encoder", "zero-size", std::string());
  corpus.Add("encoder", "no-track", std::string("\0\0\0", 3) + texts("Disc"));
  corpus.Add("encoder", "long-text-254", head + texts(std::string(254, 'x')) + track(0, std::string(255, 'y')));
  corpus.Add("encoder", "long-text-cut-in-character", head + texts(std::string(252, 'x') + "\xF0\x9F\x98\x80"));
}

// ---- NRG

NrgBuilder OneTrack() {
  NrgBuilder image;
  return image.Cues({{0, 0, 0, -150}, {0, 1, 0, -150}, {0, 1, 1, 0}, {0, 0xAA, 1, 900}})
      .DiscAtOnce(1, 1, {{7, 2352, "USRC17607839"}}, "0123456789012")
      .SessionInfo(1);
}

/// Returns an image of a disc without its sectors: chunks and footer.
std::vector<BYTE> ChunksOf(const DiscPlan& disc) {
  const std::vector<BYTE> image = NrgImage(disc);
  const UHYPER offset = BlockView(image).Big64(image.size() - 8);
  std::vector<BYTE> chunks(image.begin() + static_cast<std::ptrdiff_t>(offset), image.end() - 8);
  chunks.insert(chunks.end(), 8, BYTE{0}); // The chunks are at offset 0.
  return chunks;
}

void AddNrgImages(const Corpus& corpus) {
  for (const NamedDisc& disc : Discs()) {
    corpus.Add("nrg", disc.name, ChunksOf(disc.plan));
  }
  const std::vector<BYTE> packs = BytesOf(AlbumPacks());
  const std::vector<NrgCue> cues{{0, 0, 0, 0}, {0, 1, 1, 0}, {0, 0xAA, 1, 900}};
  const struct {
    const char* name;
    NrgBuilder image;
  } cases[] = {
      {"text", OneTrack().Chunk("CDTX", packs)},
      {"track-at-once", NrgBuilder().TracksAtOnce({{0, 0, 20480}, {3, 20, 4672}, {7, 40, 2352}}).SessionInfo(3)},
      {"index-before-bound-track", NrgBuilder().Cues({{0, 200, 0, 0}, {0, 1, 1, 0}, {0, 0xAA, 1, 9}})},
      {"index-before-bound-index-255",
       NrgBuilder().Cues({{0, 1, 0, 0}, {0, 1, 255, 5}, {0, 1, 1, 9}, {0, 0xAA, 1, 9}})},
      {"index-before-bound-last-record", OneTrack().DiscAtOnce(1, 255, {{7, 2352, ""}})},
      {"index-before-bound-many-tracks", NrgBuilder().SessionInfo(kMaxNumber).TracksAtOnce({{7, 0, 2352}})},
      {"sum-wraps-chunk-length",
       NrgBuilder().Chunk("JUNK", ByteWriter().Zeros(4).Text("CUEX", 4).Big32(kMaxNumber).Get())},
      {"sum-wraps-tracks-of-sessions", OneTrack().SessionInfo(kMaxNumber).Cues(cues).Cues(cues)},
      {"sum-wraps-length", NrgBuilder().TracksAtOnce({{7, kMaxNumber, ~UHYPER{0}}}).SessionInfo(1)},
      {"sum-wraps-positions", NrgBuilder().Cues({{0, 1, 0, 0x7FFFFFFF}, {0, 1, 1, -1}, {0, 0xAA, 1, 1}})},
      {"zero-size-sectors", NrgBuilder().Cues(cues).DiscAtOnce(1, 1, {{0, 0, ""}})},
      {"zero-size-chunks", NrgBuilder().Cues({}).DiscAtOnce(1, 0, {}).Chunk("CDTX", {})},
      {"no-track", NrgBuilder().Cues({{0, 0, 0, 0}, {0, 0xAA, 1, 0}})},
      {"no-session", NrgBuilder()},
      {"long-text-codes",
       NrgBuilder().Cues(cues).DiscAtOnce(1, 1, {{7, 2352, "ABCDEFGHIJKLMNOP"}}, "01234567890123456")},
      {"assertion-data-before-session", NrgBuilder().Chunk("CDTX", packs).DiscAtOnce(1, 1, {{7, 2352, ""}})},
      {"assertion-unknown-mode", NrgBuilder().Cues(cues).DiscAtOnce(1, 1, {{0xFF, 2352, ""}})},
  };
  for (const auto& test : cases) {
    corpus.Add("nrg", test.name, test.image.Build());
  }
  corpus.Add("nrg", "short-footer", OneTrack().Build(NrgFooter::Short));
  corpus.Add("nrg", "sum-wraps-block-position", OneTrack().Build(NrgFooter::Long, ~UHYPER{0} - 3));
  corpus.Add("nrg", "zero-size", std::string());
  corpus.Add("nrg", "assertion-footer-alone", std::string("NERO\0\0\0\0", 8));
}

// ---- CCD

void AddCcdDescriptions(const Corpus& corpus) {
  for (const NamedDisc& disc : Discs()) {
    corpus.Add("ccd", disc.name, CcdText(disc.plan));
  }
  const std::string audio = CcdText(Discs()[0].plan);
  const std::string withText = WithPacks(audio, BytesOf(AlbumPacks()));
  const struct {
    const char* name;
    std::string text;
  } cases[] = {
      {"text", withText},
      {"flags", WithValue(WithValue(audio, "TRACK 1", "FLAGS", "DCP PRE 4CH"), "TRACK 2", "ISRC", "USRC17607839")},
      {"index-before-bound-session", WithValue(audio, "Entry 3", "Session", "99")},
      {"index-before-bound-session-0", WithValue(audio, "Entry 3", "Session", "0")},
      {"index-before-bound-sessions", WithValue(audio, "Disc", "Sessions", "100")},
      {"index-before-bound-negative-point", WithValue(audio, "Entry 3", "Point", "-2147483648")},
      {"index-before-bound-packs", WithValue(withText, "CDText", "Entries", "2147483647")},
      {"sum-wraps-pregap",
       WithValue(WithValue(audio, "TRACK 2", "INDEX 0", "2147483647"), "TRACK 2", "INDEX 1", "-2147483648")},
      {"sum-wraps-position", WithValue(audio, "Entry 2", "PLBA", "0xFFFFFFFF")},
      {"zero-size", ""},
      {"zero-size-text", WithValue(withText, "Disc", "CDTextLength", "0")},
      {"no-session", WithValue(audio, "Disc", "Sessions", "0")},
      {"no-track", "[Disc]\r\nSessions=1\r\n"},
      {"long-text-code", WithValue(audio, "TRACK 1", "ISRC", std::string(400, '9'))},
      {"long-text-flags", WithValue(audio, "TRACK 1", "FLAGS", std::string(250, ' ') + "DCP")},
      {"long-text-pack", WithValue(withText, "CDText", "Entry 0", Repeated("80 ", 100))},
      {"assertion-mode", WithValue(audio, "TRACK 1", "MODE", "3")},
      {"assertion-zero-byte", WithValue(audio, "TRACK 1", "ISRC", std::string("AB\0CD", 5))},
      {"assertion-no-sections", "Sessions=1\r\n]\r\n[\r\n=\r\n[]=\r\n;\r\n"},
  };
  for (const auto& test : cases) {
    corpus.Add("ccd", test.name, test.text);
  }
}

// ---- MDS

MdsBuilder ChangedAudio(void (*change)(MdsBuilder*)) {
  MdsBuilder description = MdsOf(Discs()[0].plan);
  change(&description);
  return description;
}

void AddMdsDescriptions(const Corpus& corpus) {
  for (const NamedDisc& disc : Discs()) {
    corpus.Add("mds", disc.name, MdsOf(disc.plan).Build());
  }
  corpus.Add("mds", "dvd", MdsOfDvd(32).Build());
  corpus.Add("mds", "sub-channel", MdsOf({{{kWithSubChannel}}}).Build());
  const struct {
    const char* name;
    void (*change)(MdsBuilder*);
  } cases[] = {
      {"index-before-bound-point", [](MdsBuilder* mds) { mds->blocks[3].point = 99; }},
      {"index-before-bound-last-track", [](MdsBuilder* mds) { mds->lastTracks[0] = 0; }},
      {"index-before-bound-sessions", [](MdsBuilder* mds) { mds->lastTracks.resize(255, 255); }},
      {"sum-wraps-lengths-offset", [](MdsBuilder* mds) { mds->lengthsMoved = kMaxNumber - 600; }},
      {"sum-wraps-track-end",
       [](MdsBuilder* mds) {
         mds->blocks[3].length = kMaxNumber;
         mds->blocks[3].lba = kMaxNumber;
       }},
      {"sum-wraps-position", [](MdsBuilder* mds) { mds->blocks[3].offset = ~UHYPER{0}; }},
      {"zero-size-sectors", [](MdsBuilder* mds) { mds->blocks[3].size = 0; }},
      {"zero-size-track", [](MdsBuilder* mds) { mds->blocks[3].length = 0; }},
      {"no-track", [](MdsBuilder* mds) { mds->blocks.resize(3); }},
      {"no-session",
       [](MdsBuilder* mds) {
         mds->lastTracks.clear();
         mds->blocks.clear();
       }},
      {"assertion-mode",
       [](MdsBuilder* mds) {
         mds->blocks[3].mode = 0;
         mds->blocks[3].control = 4;
       }},
      {"assertion-track-outside-session",
       [](MdsBuilder* mds) {
         mds->blocks[0].point = 0xB0;
         mds->blocks[1].point = 5;
       }},
      {"assertion-version", [](MdsBuilder* mds) { mds->minor = 9; }},
  };
  for (const auto& test : cases) {
    corpus.Add("mds", test.name, ChangedAudio(test.change).Build());
  }
  corpus.Add("mds", "zero-size", std::string());
  corpus.Add("mds", "assertion-header-alone", std::string("MEDIA DESCRIPTOR\1\3", 18));
}

// ---- BlindWrite

void AddBwtDescriptions(const Corpus& corpus) {
  corpus.Add("bwt", "whole", BwtFile(3));
  corpus.Add("bwt", "sum-wraps-fields", BwtFile(2, 255));
  corpus.Add("bwt", "zero-size-fields", BwtFile(1, 0));
  corpus.Add("bwt", "zero-size", std::string());
  std::vector<BYTE> cut = BwtFile(2);
  cut.pop_back();
  corpus.Add("bwt", "index-before-bound-cut", cut);
  corpus.Add("bwt", "no-track", std::string("BLINDWRITE TOC FILE"));
}

// ---- native TOC files

std::string Tag(const std::string& name, const std::string& value) {
  return "<" + name + ">" + value + "</" + name + ">\r\n";
}

std::string TrackNode(const std::string& number, const std::string& mode, const std::string& more = {}) {
  return Tag("TRACK-" + number, "\r\n" + Tag("MODE", mode) + Tag("FLAGS", "1") + Tag("ISRC", "USRC17607839") +
                                    Tag("PREGAP", "0") + Tag("BEGIN-DATA", "0") + Tag("END-DATA", "20") +
                                    Tag("POSTGAP", "0") + more);
}

struct ZsiParts {
  std::string version = "1";
  std::string binary = "DISC.BIN";
  std::string sessions = "1";
  std::string tracks = "2";
  std::string nodes = TrackNode("01", "MODE1") + TrackNode("02", "AUDIO");
  std::string text;
};

std::string Zsi(const ZsiParts& parts) {
  return "<?xml version=\"1.0\" encoding=\"ISO-8859-1\" ?>\r\n" +
         Tag("ZENTORASCRIBE",
             "\r\n" +
                 Tag("TOC",
                     "\r\n" + Tag("VERSION", parts.version) + Tag("BLOCKSIZE", "2352") +
                         Tag("BINARYFILE", parts.binary) + Tag("CATALOG", "4006381333931") +
                         Tag("SESSIONS", "\r\n" + Tag("COUNT", parts.sessions) +
                                             Tag("SESSION-01", "\r\n" + Tag("TRACKS", parts.tracks) + parts.nodes))) +
                 parts.text);
}

std::string TextNode(const std::string& entries, const std::string& length, const std::string& pack) {
  return Tag("CDTEXT", "\r\n" + Tag("ENTRIES", entries) + Tag("LENGTH", length) + Tag("ENTRY-1", pack));
}

void AddTocFiles(const Corpus& corpus) {
  const std::string pack = "80 00 00 00 41 4C 42 55 4D 00 4F 4E 45 00 54 57 00 00 ";
  const std::string number = "99999999999999999999";
  const struct {
    const char* name;
    ZsiParts parts;
  } cases[] = {
      {"whole", {}},
      {"text", {.text = TextNode("1", "18", pack)}},
      {"index-before-bound-sessions", {.sessions = "100"}},
      {"index-before-bound-missing-session", {.sessions = "2"}},
      {"index-before-bound-tracks", {.tracks = "2147483647"}},
      {"index-before-bound-packs", {.text = TextNode("2147483647", "2147483647", pack)}},
      {"sum-wraps-numbers",
       {.nodes = TrackNode("01", "AUDIO", Tag("PREGAP", "-2147483648") + Tag("BEGIN-DATA", "-1")) +
                 TrackNode("02", "AUDIO", Tag("END-DATA", number))}},
      {"sum-wraps-version", {.version = number}},
      {"zero-size-text", {.text = TextNode("1", "0", "")}},
      {"no-session", {.sessions = "0"}},
      {"no-track", {.tracks = "0", .nodes = ""}},
      {"long-text-pack", {.text = TextNode("1", "18", Repeated(pack, 20))}},
      {"long-text-code",
       {.nodes = TrackNode("01", "AUDIO", Tag("ISRC", std::string(3000, 'C'))) + TrackNode("02", "AUDIO")}},
      {"assertion-mode", {.nodes = TrackNode("01", "MODE3") + TrackNode("02", "")}},
      {"assertion-zero-byte",
       {.nodes = TrackNode("01", "AUDIO", Tag("ISRC", std::string("AB\0CD", 5))) + TrackNode("02", "AUDIO")}},
      {"assertion-negative-counts", {.sessions = "-1", .tracks = "-1"}},
  };
  for (const auto& test : cases) {
    corpus.Add("zsi", test.name, Zsi(test.parts));
    corpus.Add("tags", test.name, Zsi(test.parts));
  }
  corpus.Add("zsi", "zero-size", std::string());
}

void AddTagTexts(const Corpus& corpus) {
  const struct {
    const char* name;
    std::string text;
  } cases[] = {
      {"zero-size", ""},
      {"attributes", "<A x=\"1\"><B y='2'>v</B><C z/></A>"},
      {"comments", "<!-- c --><A><!-- d --><B>v</B></A>"},
      {"same-names", "<A><A><A>v</A></A><A>w</A></A>"},
      {"index-before-bound-unclosed", "<A><B>v</A></B>"},
      {"sum-wraps-deep", Repeated("<A>", 200) + Repeated("</A>", 200)},
      {"long-text-name", "<" + std::string(500, 'N') + ">v</" + std::string(500, 'N') + ">"},
      {"assertion-empty-names", "<><>v</></><//></>"},
      {"assertion-lone-brackets", "<<>><</>/>>"},
      {"assertion-self-closing-last", "<A><B>v</B><C/></A><D>w</D>"},
  };
  for (const auto& test : cases) {
    corpus.Add("tags", test.name, test.text);
  }
}

void AddSettingPaths(const Corpus& corpus) {
  corpus.Add("settings", "paths", "A:B:C=12\nA:B:C\nA:B:D=x\nA:K=-1\nA:K\nA:B:C=13\nA:B\nB:B:C\n");
  corpus.Add("settings", "another-root", "A:B:C=1\nZ:B:C=2\nZ:B:C\nA:B:C\n");
  corpus.Add("settings", "assertion-short-paths", "\nA\nA:\n:\n::\n:A\n=1\nA=1\n:=1\n::=2\n");
  corpus.Add("settings", "sum-wraps-numbers", "A:B=2147483648\nA:C=-2147483649\nA:D=99999999999999999999\nA:E= +7x\n");
  corpus.Add("settings", "long-text-path", Repeated("N:", 300) + "K=v\n" + Repeated("N:", 300) + "K\n");
}

// ---- the stream

/// Head of an input of the fuzzer `stream`.
struct StreamHead {
  ULONG stride = 2352;
  ULONG dataBlock = 2048;
  ULONG subCount = 16;
  ULONG fileSize = 47040;
  ULONG lba = 2;
  ULONG end = 12;
  UHYPER seekBegin = 0;
  unsigned reaction = 1;
  std::string plan;
};

std::string Stream(const StreamHead& head, const std::vector<ULONG>& sizes) {
  ByteWriter bytes;
  bytes.Little16(head.stride).Little16(head.dataBlock).Little16(head.subCount).Little16(head.fileSize);
  bytes.Little32(head.lba).Little32(head.end).Little64(head.seekBegin).Byte(head.reaction);
  bytes.Byte(static_cast<unsigned>(head.plan.size())).Bytes(BytesOf(head.plan));
  for (const ULONG size : sizes) {
    bytes.Little16(size);
  }
  return TextOf(bytes.Get());
}

void AddStreams(const Corpus& corpus) {
  const struct {
    const char* name;
    StreamHead head;
  } cases[] = {
      {"parts-of-sectors", {}},
      {"whole-sectors", {.dataBlock = 0, .subCount = 0}},
      {"seek-begin", {.seekBegin = 300}},
      {"failing-reads", {.plan = std::string("\0\1\2\1\5\0\1", 7)}},
      {"short-reads", {.plan = "\7\7\7\7\7\2\2\7\7\7"}},
      {"unwatched", {.reaction = 0}},
      {"shrinking", {.reaction = 2}},
      {"no-buffer", {.reaction = 3}},
      {"cancelled", {.reaction = 4}},
      {"index-before-bound-file-end", {.fileSize = 5000, .end = 0xFFFFFFFF}},
      {"sum-wraps-start", {.seekBegin = ~UHYPER{0} - 2}},
      {"sum-wraps-position", {.lba = 0xFFFFFFFE, .end = 0xFFFFFFFF, .seekBegin = UHYPER{1} << 62}},
      {"zero-size-sectors", {.stride = 0, .dataBlock = 0}},
      {"zero-size-file", {.fileSize = 0}},
      {"no-track", {.lba = 12, .end = 2}},
      {"long-data-block", {.stride = 4000, .dataBlock = 2449}},
      {"assertion-data-above-sector", {.stride = 2048, .dataBlock = 2352}},
  };
  for (const auto& test : cases) {
    corpus.Add("stream", test.name, Stream(test.head, {2048, 1, 0, 5000, 100, 65535}));
  }
}

// ---- folders

void AddFolder(const Corpus& corpus, const std::string& name, const std::string& description,
               const std::string& content, const std::string& sectors) {
  constexpr ULONG kDescriptorOffset = 16 * 2352 + 24;
  std::string input;
  fuzz::AppendFile(description, content, 0, 0, &input);
  if (!sectors.empty()) {
    const std::string image =
        std::string(kDescriptorOffset, '\0') + TextOf(VolumeDescriptor("CD-RTOS CD-BRIDGE")).substr(0, 64);
    fuzz::AppendFile(sectors, image, 60 * 2352, kDescriptorOffset, &input);
  }
  fuzz::AppendFile("DISC.CDT", AlbumPacks(), 0, 0, &input);
  fuzz::AppendFile("DISC.SUB", "S", 0, 0, &input);
  corpus.Add("dispatcher", name, input);
}

void AddFolders(const Corpus& corpus) {
  const DiscPlan& mixed = Discs()[2].plan;
  AddFolder(corpus, "cue", "DISC.CUE",
            kFileLine + "TRACK 01 MODE2/2352\r\nINDEX 01 00:00:00\r\nTRACK 02 AUDIO\r\n"
                        "INDEX 01 00:00:20\r\n",
            "DISC.BIN");
  AddFolder(corpus, "cue-other-case", "DISC.CUE", kFileLine + "TRACK 01 AUDIO\r\nINDEX 01 00:00:00\r\n", "disc.bin");
  AddFolder(corpus, "nrg", "DISC.NRG", TextOf(ChunksOf(mixed)), "");
  AddFolder(corpus, "ccd", "DISC.CCD", CcdText(mixed), "DISC.IMG");
  AddFolder(corpus, "mds", "DISC.MDS", TextOf(MdsOf(mixed).Build()), "DISC.MDF");
  AddFolder(corpus, "zsi", "DISC.ZSI", Zsi({}), "DISC.BIN");
  AddFolder(corpus, "bwt", "DISC.BWT", TextOf(BwtFile(1)), "");
  AddFolder(corpus, "b5t", "DISC.B5T", "x", "");
  AddFolder(corpus, "bare-data", "DISC.BIN", "x", "");
  AddFolder(corpus, "no-companion-mds", "DISC.MDS", TextOf(MdsOf(mixed).Build()), "");
  AddFolder(corpus, "zero-size-description", "DISC.NRG", "", "DISC.BIN");
  std::string iso;
  fuzz::AppendFile("DISC.ISO", "x", 24 * 2048, 0, &iso);
  corpus.Add("dispatcher", "iso", iso);
}

} // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "Usage: make_corpus FOLDER\n";
    return 2;
  }
  try {
    const Corpus corpus(argv[1]);
    for (const auto& add :
         {AddCueSheets, AddPacks, AddEncoderInputs, AddNrgImages, AddCcdDescriptions, AddMdsDescriptions,
          AddBwtDescriptions, AddTocFiles, AddTagTexts, AddSettingPaths, AddStreams, AddFolders}) {
      add(corpus);
    }
  } catch (const std::exception& error) {
    std::cerr << "make_corpus: " << error.what() << '\n';
    return 1;
  }
  return 0;
}
