#include <nlohmann/json.hpp>
#include <regex>

#include "builders/mds_builder.h"
#include "builders/nrg_builder.h"
#include "tools/tool_run.h"

using nlohmann::json;

namespace {

std::string Text(const std::vector<BYTE>& bytes) { return {bytes.begin(), bytes.end()}; }

/// Returns the bytes of a track from index 1 on.
std::string ProperSectors(const DiscPlan& disc, std::size_t track) {
  const PlacedTrack placed = PlaceTracks(disc)[track];
  return Text(TrackSectors(disc, placed)).substr(std::size_t{placed.pregap} * placed.size);
}

class TransferTool : public ToolTest {
protected:
  TransferTool() {
    folder.Write("disc.bin", whole);
    folder.Write("disc.cue", "TITLE \"Album\"\nFILE \"disc.bin\" BINARY\n"
                             "TRACK 01 AUDIO\nTITLE \"One\"\nINDEX 01 00:00:00\n"
                             "TRACK 02 AUDIO\nTITLE \"Two\"\nFLAGS DCP\nISRC DEABC0700002\n"
                             "INDEX 00 00:00:40\nINDEX 01 00:00:50\n");
    // The same, with silence between the tracks that the file does not contain.
    folder.Write("gap.cue", "FILE \"disc.bin\" BINARY\nTRACK 01 AUDIO\nINDEX 01 00:00:00\n"
                            "TRACK 02 AUDIO\nPREGAP 00:00:07\nINDEX 01 00:00:50\n");
  }

  std::string Extract(const std::string& arguments) const {
    Run("extract -f -o out " + arguments);
    return folder.Read("out");
  }
  json FirstSession(const std::string& image) const {
    return json::parse(Run("info --json " + image))["pZSCueSheet"][0];
  }

  const DiscPlan audio{{{{ZSMODE_AUDIO, 40}, {ZSMODE_AUDIO, 30, 10}}}, ""};
  const std::string whole = Text(DiscSectors(audio));
};

TEST_F(TransferTool, TracksAreExtractedByteForByte) {
  const std::string first = ProperSectors(audio, 0);
  const std::string second = ProperSectors(audio, 1);
  EXPECT_TRUE(first == Extract("disc.cue --track 1"));
  EXPECT_TRUE(second == Extract("disc.cue --session 1 --track 2 --block-size 0"));
  EXPECT_TRUE(second == Extract("gap.cue --track 2"));
  EXPECT_TRUE(second == Run("extract disc.cue --track 2 -o -"));
  Run("extract disc.cue --all new/all");
  EXPECT_TRUE(first == folder.Read("new/all/session-1-track-01.bin"));
  EXPECT_TRUE(second == folder.Read("new/all/session-1-track-02.bin"));
}

TEST_F(TransferTool, BlocksFollowTheModeOfTheTrack) {
  // The offset of the record fits the last data track only.
  const DiscPlan disc{{{{ZSMODE_1, 20}, {ZSMODE_AUDIO, 5}, {ZSMODE_2, 20}}}};
  folder.Write("disc.nrg", NrgImage(disc));
  for (const ULONG size : {2048U, 2336U}) {
    const DiscPlan cut{{{{ZSMODE_1, 20, 0, 2048}, {ZSMODE_AUDIO, 5}, {ZSMODE_2, 20, 0, size}}}};
    EXPECT_TRUE(ProperSectors(cut, 0) == Extract("disc.nrg --track 1 --block-size 2048"));
    EXPECT_TRUE(ProperSectors(cut, 2) == Extract("disc.nrg --track 3 --block-size " + std::to_string(size))) << size;
  }
}

TEST_F(TransferTool, FailuresNameCodeAndCause) {
  std::filesystem::create_symlink("/dev/full", folder.Path("full.cue"));
  std::filesystem::create_symlink("no/x", folder.Path("link"));
  std::filesystem::create_symlink("loop", folder.Path("loop"));
  RunShellIn(folder, "mkfifo pipe.cue");
  folder.Write("disc.cdt", "");
  folder.Write("stale.Cdt", "");
  folder.Write("there/session-1-track-02.bin", "");
  folder.Write("lone.ccd", "[Disc]\nSessions=1\n[Entry 0]\nSession=1\nPoint=1\n[TRACK 1]\nMODE=0\nINDEX 1=0\n");
  folder.Write("short.mds", MdsOf(audio).Build());
  folder.Write("short.mdf", std::string(55 * 2352 + 100, 'x'));
  folder.Write("shorter.mds", MdsOf(audio).Build());
  folder.WriteSparse("shorter.mdf", 45 * 2352);
  folder.WriteSparse("silent.iso", 2048);
  folder.Write("mixed.nrg", NrgImage({{{{ZSMODE_1, 20, 0, 2048}, {ZSMODE_AUDIO, 15}}}}));
  folder.Write("wide.mds", MdsOf({{{{ZSMODE_1, 20, 0, 2448}, {ZSMODE_AUDIO, 20, 0, 2448}}}}).Build());
  folder.Write("wide.mdf", "");
  folder.Write("sessions.nrg", NrgImage({{{{ZSMODE_AUDIO, 30}}, {{ZSMODE_1, 25}}}}));
  std::string volume(49151, '\0');
  folder.Write("odd.iso", volume.replace(16 * 2048, 6, "\1CD001"));
  folder.Write("none.ccd", "[Disc]\nSessions=0\n");
  folder.Write("many.ccd", "[Disc]\nSessions=100\n");
  for (const auto& [name, file] : {std::pair("lost.cue", "Gone.bin\" BINARY"),
                                   {"far.cue", "sub/x.bin\" BINARY"},
                                   {"odd.cue", "bare.bin\" BINARY"},
                                   {"sound.cue", "sound.flac\" WAVE"}}) {
    folder.Write(name, std::string("FILE \"") + file + "\nTRACK 01 AUDIO\nINDEX 01 00:00:00\n");
  }
  folder.Write("sound.flac", "fLaC, and so on");
  MdsBuilder mode0 = MdsOfDvd(1);
  mode0.blocks[0].mode = 0;
  folder.Write("mode0.mds", mode0.Build());
  folder.Write("mode0.mdf", "");
  for (const char* name : {"bare.bin", "notes.txt", "short.iso", "none.nrg", "none.cue", "folder.iso/file"}) {
    folder.Write(name, "no image at all");
  }
  const std::tuple<std::string, const char*, const char*> kCases[] = {
      {"info missing.iso", "ZSE_CANNOTOPENIMAGE", "no such file"},
      {"info u/é.cue", "ZSE_CANNOTOPENIMAGE", "zsimage: u/é.cue: no such file"},
      {"info folder.iso", "ZSE_CANNOTOPENIMAGE", "this is a folder"},
      {"info lost.cue", "ZSE_FILENOTFOUND", "the sheet names GONE.BIN; no such file beside it"},
      {"info far.cue", "ZSE_FILENOTFOUND", "the sheet names SUB/X.BIN; no such file, in upper or lower case"},
      {"info odd.cue", "ZSE_FAILED", "bare.bin is not a whole number of sectors: 15 bytes are over after"},
      {"info none.cue", "ZSE_FAILED", "no FILE line has a name in double quotes"},
      {"info sound.cue", "ZSE_FAILED", "is a sound file (fLaC) and not raw samples"},
      {"info bare.bin", "ZSE_BADIMAGE", "give the .cue, .ccd or .mds file"},
      {"info notes.txt", "ZSE_BADIMAGE", "files with this extension are not read"},
      {"info short.iso", "ZSE_BADIMAGE", "15 bytes are over after whole sectors of 2048 bytes"},
      {"info none.nrg", "ZSE_BADIMAGE", "damaged"},
      {"info many.ccd", "ZSE_OUTOFRESOURCES", "more than 99 sessions"},
      {"info mode0.mds", "ZSE_OUTOFRESOURCES", "a mode that is neither 1 nor 2"},
      {"convert disc.cue " + std::string(256, 'n') + ".cue", "ERROR_FILENAME_EXCED_RANGE", "zsimage: nnn"},
      {"extract disc.cue --track 3 -o x", "E_INVALIDARG", "no track 3 in session 1"},
      {"extract disc.cue --session 2 --track 1 -o x", "E_INVALIDARG", "no session 2"},
      {"extract disc.cue --session 2 --all new", "E_INVALIDARG", "no session 2"},
      {"extract disc.cue --track 1 -o /dev/full", "ERROR_DISK_FULL", "the disk is full"},
      {"extract disc.cue --track 1 -o no/x", "ERROR_PATH_NOT_FOUND", "folder"},
      {"cdtext encode disc.cue -f -o disc.bin", "E_INVALIDARG", "belongs to the image"},
      {"extract disc.cue --track 1 -o DISC.CUE", "E_INVALIDARG", "belongs to the image"},
      {"extract disc.cue --track 1 -o disc.cdt", "E_INVALIDARG", "belongs to the image"},
      {"extract disc.cue --track 1 --block-size 2048 -o x", "E_INVALIDARG", "track 1 is audio"},
      {"extract wide.mds --track 2 --block-size 2448 -o x.wav", "E_INVALIDARG", "leave out --block-size"},
      {"extract disc.cue --all there", "ERROR_FILE_EXISTS", "session-1-track-02.bin: the file exists; --force"},
      {"extract wide.mds --all x/y/z", "ERROR_HANDLE_EOF", "the file ends before the track begins"},
      {"extract disc.cue --all disc.bin/x", "E_FAIL", "disc.bin/x: the folder cannot be created"},
      {"extract lone.ccd --track 1 -o x", "ZSE_FILENOTFOUND", "lone.img: no such data file"},
      {"check lone.ccd", "ZSE_FILENOTFOUND", "lone.img: no such data file"},
      {"extract disc.cue --track 1 -o link", "ERROR_PATH_NOT_FOUND", "a link to a missing file"},
      {"extract disc.cue --track 1 -o loop", "ERROR_CANT_RESOLVE_FILENAME", "the links of the path lead in a circle"},
      {"convert disc.cue pipe.cue", "E_INVALIDARG", "this is a pipe"},
      {"extract disc.cue --track 1 -o new/", "ERROR_ACCESS_DENIED", "this is a folder"},
      {"info disc.cue > /dev/full", "ERROR_DISK_FULL", "No space left on device"},
      {"extract mixed.nrg --track 1 --block-size 2340 -o x", "E_INVALIDARG", "have no block of 2340 bytes"},
      {"extract shorter.mds --track 2 -o x", "ERROR_HANDLE_EOF", "the file ends before the track begins"},
      {"extract short.mds --track 2 -o x", "ERROR_HANDLE_EOF",
       "25 of its 30 sectors are missing and 100 bytes are over"},
      {"convert disc.cue full.cue", "ERROR_DISK_FULL", "were written; nothing of the new image has been saved"},
      {"convert disc.cue disc.cue -f", "E_INVALIDARG", "belongs to the image"},
      {"convert disc.cue new.txt", "E_INVALIDARG", ".cue or .zsi"},
      {"convert disc.cue 'a\"b.cue'", "E_INVALIDARG", "double quote"},
      {"convert disc.cue 'a\nb.zsi'", "E_INVALIDARG", "line break"},
      {"convert disc.cue gap.cue", "ERROR_FILE_EXISTS", "gap.cue: the file exists"},
      {"convert disc.cue stale.cue --no-cdtext", "ERROR_FILE_EXISTS",
       "stale.Cdt: the new sheet would use the CD-Text of"},
      {"convert disc.cue new.cue --data-file short.mdf", "ZSE_FAILED", "it belongs to another image"},
      {"convert mixed.nrg mixed.cue", "ZSE_FAILED", "different block sizes"},
      {"convert wide.mds wide.cue", "ZSE_FAILED", "track 2 of session 1 would be read back with another"},
      {"convert silent.iso silent.zsi --with-data", "ZSE_FAILED", "read every sector as 2352 bytes"},
      {"convert short.mds x.cue --with-data", "ZSE_FAILED", "track 2 of session 1 is cut off, 25 sectors missing"},
      {"convert wide.mds x.zsi --data-file wide.mdf", "ZSE_FAILED", "x.zsi: readers of TOC files"},
      {"convert sessions.nrg x.cue --data-file sessions.nrg", "ZSE_FAILED",
       "the sectors of later sessions as well; --with-data writes a file that fits"},
      {"convert gap.cue x.cue --data-file disc.bin", "ZSE_FAILED", "the silence of gaps and PREGAP lines; --with-data"},
      {"convert odd.iso x.cue", "ZSE_FAILED",
       "odd.iso: 2047 bytes are over after whole sectors of 2048 bytes; 'zsimage"},
      {"convert none.ccd x.cue", "ZSE_FAILED", "it has no tracks in its first session (ZSE"},
      {"convert disc.cue 'a<b.zsi'", "E_INVALIDARG", "a name with '<', '>' or a backslash"},
      {"convert disc.cue 'a\\b.zsi'", "E_INVALIDARG", "a name with '<', '>' or a backslash"},
      {"cdtext encode silent.iso -o x", "ZSE_FAILED", "no text to encode"},
      {"cdtext decode - --tracks 1 < /", "ERROR_IO_DEVICE", "standard input: it cannot be read"},
  };
  const auto names = [&] { return RunShellIn(folder, "find .").out; };
  const std::string before = names();
  for (const auto& [arguments, code, words] : kCases) {
    const ToolResult result = RunTool(folder, arguments);
    EXPECT_EQ(1, result.status) << arguments;
    EXPECT_EQ("", result.out) << arguments;
    EXPECT_PRED2(Contains, result.err, code) << arguments;
    EXPECT_PRED2(Contains, result.err, words) << arguments;
    if (arguments.starts_with("info ") && arguments.find('>') == std::string::npos) {
      const std::string image = arguments.substr(5);
      EXPECT_PRED2(Contains, result.err, image);
      EXPECT_EQ(1, std::count(result.err.begin(), result.err.end(), '\n')) << result.err;
      json failure = json::parse(RunTool(folder, "info --json " + image).out);
      EXPECT_PRED2(Contains, result.err, failure["words"].get<std::string>());
      failure.erase("code");
      EXPECT_EQ(json({{"image", image}, {"result", code}, {"words", failure["words"]}}), failure);
    }
  }
  EXPECT_EQ(before, names()) << "a failure leaves no file";
  EXPECT_TRUE(whole == folder.Read("disc.bin"));
  EXPECT_EQ("TWO", FirstSession("disc.cue")["pZSTracks"][1]["bstrTitle"]) << "a failure keeps the image";
}

TEST_F(TransferTool, LinksAndPipesAreWrittenThrough) {
  const std::string first = ProperSectors(audio, 0);
  folder.Write("real/track", "old");
  std::filesystem::create_symlink("real/track", folder.Path("link"));
  Run("extract disc.cue --track 1 -f -o link");
  EXPECT_TRUE(first == folder.Read("real/track"));
  EXPECT_TRUE(std::filesystem::is_symlink(folder.Path("link")));
  EXPECT_TRUE(first == Run("extract disc.cue --track 1 -o /dev/stdout | cat"));
  EXPECT_TRUE(first == Run("extract disc.cue --track 1 -o /dev/stdout"));
  EXPECT_TRUE(first == RunShellIn(folder, "mkfifo pipe && (timeout 20 cat pipe & " + kTool +
                                              "extract disc.cue --track 1 -o pipe >&2; wait)")
                           .out);
  // Whole tracks are kept if another fails, and one session can be extracted alone.
  folder.Write("short.mds", MdsOf(audio).Build());
  folder.Write("short.mdf", std::string(55 * 2352, 'x'));
  EXPECT_EQ(1, RunTool(folder, "extract short.mds --all all").status);
  EXPECT_EQ(std::string(5 * 2352, 'x'), Extract("short.mds --track 2 --partial"));
  folder.Write("disc.nrg", NrgImage({{{{ZSMODE_AUDIO, 30}}, {{ZSMODE_1, 25}}}}));
  Run("extract disc.nrg --session 2 --all all");
  EXPECT_EQ("./session-1-track-01.bin\n./session-2-track-01.bin\n",
            RunShellIn(folder, "cd all && find . -type f | sort").out);
}

TEST_F(TransferTool, ProgressFitsTheTerminal) {
  folder.WriteSparse("big.iso", UHYPER{32} << 30);
  for (const unsigned columns : {1U, 2U, 10U, 20U, 40U, 60U, 79U, 80U, 200U}) {
    const ToolResult result = InterruptTool(folder, "extract big.iso --track 1 -o out", "\033[K", columns);
    const std::size_t end = result.out.find("\033[K");
    EXPECT_LE(end, columns) << "a carriage return and less than a line\n" << result.out;
    EXPECT_TRUE(columns < 5 || result.out.find('%') < end) << result.out;
    EXPECT_TRUE(columns < 40 || result.out.find(']') < end) << result.out;
    EXPECT_EQ(130, result.status);
    EXPECT_PRED2(Contains, result.out, "cancelled; nothing has been saved");
  }
  EXPECT_PRED2(Contains, InterruptTool(folder, "extract big.iso --track 1 -o - > /dev/null", "\033[K").out,
               " of 34.4 GB were written")
      << "a pipe keeps what it got";
  EXPECT_FALSE(std::filesystem::exists(folder.Path("out")));
}

TEST_F(TransferTool, SheetsAreConverted) {
  EXPECT_PRED2(Contains, Run("convert disc.cue new.cue"), "NEW.BIN; no such file yet");
  EXPECT_EQ("", RunTool(folder, "convert disc.cue new.cue --with-data --force").err);
  EXPECT_TRUE(whole == folder.Read("NEW.BIN"));
  EXPECT_EQ(FirstSession("disc.cue")["pZSTracks"], FirstSession("new.cue")["pZSTracks"]);
  // A PREGAP line becomes silence in the new file. The sub-channel after each sector is left out.
  Run("convert gap.cue silent.cue --with-data");
  const std::string silence(7 * 2352, '\0');
  EXPECT_TRUE(whole.substr(0, 50 * 2352) + silence + whole.substr(50 * 2352) == folder.Read("SILENT.BIN"));
  const DiscPlan wide{{{{ZSMODE_1, 20, 0, 2448}, {ZSMODE_1, 6, 0, 2448}}}};
  folder.Write("wide.mds", MdsOf(wide).Build());
  folder.Write("wide.mdf", DiscSectors(wide));
  Run("convert wide.mds narrow.cue --with-data");
  EXPECT_TRUE(Text(DiscSectors({{{{ZSMODE_1, 26}}}})) == folder.Read("NARROW.BIN"));
}

TEST_F(TransferTool, CopiesOfSheetsHaveTheirTracks) {
  folder.Write("long.bin", Text(DiscSectors({{{{ZSMODE_AUDIO, 1000}}}, ""})));
  const std::string file = "FILE \"long.bin\" BINARY\nTRACK 01 AUDIO\n";
  folder.Write("first.cue", file + "PREGAP 00:02:00\nINDEX 01 00:00:00\nTRACK 02 AUDIO\nINDEX 00 00:01:00\n"
                                   "INDEX 01 00:03:00\nTRACK 03 AUDIO\nINDEX 00 00:05:00\nINDEX 01 00:06:00\n");
  folder.Write("later.cue", file + "INDEX 01 00:00:00\nTRACK 02 AUDIO\nPREGAP 00:02:00\nINDEX 01 00:03:00\n"
                                   "TRACK 03 AUDIO\nPREGAP 00:01:00\nINDEX 00 00:04:00\nINDEX 01 00:06:00\n");
  for (const std::string name : {"first", "later"}) {
    Run("extract -f --all source " + name + ".cue");
    for (const std::string copy : {"copy.zsi", "copy.cue"}) {
      Run("convert -f --with-data " + name + ".cue " + copy);
      Run("extract -f --all copy " + copy);
      EXPECT_EQ("", RunShellIn(folder, "diff -r source copy").out) << name << copy;
      EXPECT_PRED2(Contains, RunTool(folder, "check " + copy).out, "good") << copy;
    }
  }
}

TEST_F(TransferTool, ExistingDataFileIsDescribed) {
  const std::string command = "convert disc.cue -f --no-cdtext ";
  ExpectShown(command + "raw.cue --data-file disc.bin", "looks for its data file as RAW.BIN; give disc.bin this name");
  folder.Write("raw.bin", whole);
  ExpectShown(command + "raw.cue --data-file raw.bin", "expects its data file as raw.bin, which exists");
  ExpectShown(command + "raw.cue", "expects its data file as raw.bin, which exists");
  EXPECT_EQ(FirstSession("disc.cue")["pZSTracks"][1]["dwLBA"], FirstSession("raw.cue")["pZSTracks"][1]["dwLBA"]);
  folder.Write("Dir x/NEW.CDT", "");
  Run("convert disc.cue 'DIR X/new.cue' --no-cdtext --force");
  EXPECT_FALSE(std::filesystem::exists(folder.Path("Dir x/NEW.CDT")));
  folder.Write("raw.bin", whole + "x");
  ExpectShown(command + "raw.cue",
              "raw.bin does not have the size that the description needs; it belongs to another image");
}

TEST_F(TransferTool, LossesAreNoted) {
  folder.Write("many.cue", "FILE \"disc.bin\" BINARY\nTRACK 01 AUDIO\nINDEX 01 00:00:00\nINDEX 02 00:00:20\n"
                           "TRACK 02 MODE1/2352\nINDEX 00 00:00:40\nINDEX 01 00:00:50\n");
  folder.Write("many.sub", "");
  folder.Write("disc.nrg", NrgImage({{{{ZSMODE_AUDIO, 30}}, {{ZSMODE_1, 25}}}}));
  const std::tuple<const char*, std::string> kCases[] = {
      {"many.cue new.cue",
       "the sub-channel data of the image are left out\n"
       "1 track: indexes above 1 are left out\n1 track: the pregap is not marked; its sectors belong "
       "to the track before it\n"},
      {"many.cue new.zsi", "the sub-channel data are not copied; the new file expects a .SUB file\n"
                           "1 track: indexes above 1 are left out\n"},
      {"gap.cue new.zsi",
       "1 track: the silence of a PREGAP line becomes sectors of the data file, in the pregap of the "
       "track\n"},
      {"disc.nrg new.cue", "a CUE sheet has one session; sessions left out: 1\n"},
      {"disc.cue new.zsi", ""}};
  for (const auto& [arguments, losses] : kCases) {
    const std::string notes = RunTool(folder, std::string("convert -f ") + arguments).err;
    EXPECT_EQ(losses, std::regex_replace(notes, std::regex("zsimage: note: ([^\n]*)\\.\n"), "$1\n")) << arguments;
  }
}

TEST_F(TransferTool, TocFileHoldsText) {
  Run("convert disc.cue text.zsi");
  EXPECT_EQ("TWO", FirstSession("text.zsi")["pZSTracks"][1]["bstrTitle"]);
  Run("convert disc.cue text.zsi --no-cdtext -f");
  EXPECT_FALSE(Contains(folder.Read("text.zsi"), "CDTEXT"));
  folder.Write("packs", std::string("\x80\0\0\0X\0\0\0\0\0\0\0\0\0\0\0\1\2\3", 19));
  Run("convert disc.cue text.zsi --cdtext packs -f");
  EXPECT_PRED2(Contains, folder.Read("text.zsi"), "<ENTRY-2>03 </ENTRY-2>");
}

TEST_F(TransferTool, DamagedPacksNeedForce) {
  Run("cdtext encode disc.cue -o good");
  Run("cdtext encode disc.cue -o spread --subchannel");
  const std::string good = folder.Read("good");
  const std::string spread = folder.Read("spread");
  folder.Write("later", spread.substr(96) + spread + spread);
  folder.Write("turned", spread.substr(96) + spread.substr(0, 96));
  folder.Write("cut", spread + spread.substr(0, 50));
  folder.Write("plain", good.substr(0, good.size() - 1));
  folder.Write("over", good + "12345");
  folder.Write("wrong", good.substr(0, 17) + "x" + good.substr(18));
  folder.Write("none", "no pack");
  const std::pair<std::string, std::string> kCases[] = {
      {"good", ""},
      {"plain", ""},
      {"spread", ""},
      {"later", ""},
      {"turned", ""},
      {"cut", "50 bytes are over after whole groups of 96 bytes"},
      {"over", "6 bytes are over after whole packs of 18 bytes"},
      {"wrong", "1 of 7 CD-Text packs do not match their check bytes"},
      {"none", "there is no CD-Text pack in it"}};
  for (const auto& [name, words] : kCases) {
    for (const std::string command :
         {"cdtext decode ", "convert disc.cue x.zsi -f --cdtext ", "convert disc.cue y.zsi --cdtext "}) {
      const ToolResult result = RunTool(folder, command + name);
      const bool isGood = words.empty() || Contains(command, "-f");
      EXPECT_EQ(isGood ? 0 : 1, result.status) << command << name << result.err;
      EXPECT_TRUE(isGood || Contains(result.err, words)) << result.err;
      const bool showsText = command == "cdtext decode " && name != "none";
      EXPECT_EQ(showsText, Contains(result.out, "\n      2  TWO\n")) << result.out;
      std::filesystem::remove(folder.Path("y.zsi"));
    }
  }
  EXPECT_EQ(2U, json::parse(Run("cdtext decode spread --json"))["nTracks"]);
  EXPECT_EQ(4U, json::parse(Run("cdtext decode good --json --tracks 4"))["nTracks"]);
}

TEST_F(TransferTool, RegistryFailuresNameTheCause) {
  folder.Write("file", "");
  for (const auto& [path, words] : {std::pair("/proc/none/registry", "/proc/none cannot be created: no such file"),
                                    std::pair("file/registry", "no such folder"), std::pair(".", "this is a folder")}) {
    const ToolResult result = RunShellIn(folder, std::string("IMAGEFILE_REGISTRY=") + path + " " + kTool + "register");
    EXPECT_EQ(1, result.status);
    EXPECT_PRED2(Contains, result.err, words);
  }
  EXPECT_FALSE(std::filesystem::exists(folder.Path("..lock")));
}

TEST_F(TransferTool, TextIsEncodedAndDecoded) {
  const std::string packs = Run("cdtext encode disc.cue -o -");
  EXPECT_EQ(1U, packs.size() % 18);
  Run("cdtext encode disc.cue -o packs.raw"); // Any name is allowed.
  EXPECT_EQ(packs, folder.Read("packs.raw"));
  const json sheet = json::parse(Run("cdtext decode packs.raw --tracks 2 --json"));
  EXPECT_EQ(true, sheet["ZSCDTEXT"]["CDTextPresent"]);
  EXPECT_EQ("ALBUM", sheet["ZSCDTEXT"]["bstrTitle"]);
  EXPECT_EQ("TWO", sheet["pZSTracks"][1]["bstrTitle"]);
  EXPECT_PRED2(Contains, Run("cdtext decode - --tracks 2 < packs.raw"), "2  TWO");
  Run("cdtext encode disc.cue -o sub --subchannel");
  EXPECT_EQ(0U, folder.Read("sub").size() % 96);
  EXPECT_EQ(json({{"result", "ZSE_FILENOTFOUND"}, {"code", "0x809F000F"}, {"words", "gone.cdt: no such file"}}),
            json::parse(RunTool(folder, "cdtext decode gone.cdt --tracks 2 --json").out));
}

} // namespace
