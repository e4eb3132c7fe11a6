#include <algorithm>

#include <fmt/format.h>

#include "checks/pack_file.h"
#include "commands/commands.h"
#include "commands/description.h"
#include "files/input_file.h"
#include "files/paths.h"
#include "files/scratch_folder.h"
#include "image/disc_words.h"
#include "image/host.h"
#include "join/album_data.h"
#include "output/failure.h"
#include "output/json.h"
#include "output/standard_output.h"

namespace {

struct JoinOptions {
  std::string path;
  std::string output;
  bool pad = false;
  bool force = false;
  bool json = false;
};

/// The files of the new image.
struct NewImage {
  std::string sheetText;
  std::string packs; ///< CD-Text; empty for none.
  std::string dataFile;
  std::string textFile;
};

/// @throws Failure if a file of the album would be replaced.
void RefuseInputs(const std::string& sheet, const Album& album, const std::string& output) {
  const auto isOutput = [&](const AlbumFile& file) { return IsSameFile(file.path, output); };
  if (IsSameFile(sheet, output) || IsSameFile(WithExtension(sheet, ".CDT"), output) ||
      std::any_of(album.files.begin(), album.files.end(), isOutput)) {
    throw Failure(output, "this file belongs to the album; give another name", E_INVALIDARG);
  }
}

NewImage DescribeImage(const Host& host, ZSCUESHEET* record, const std::string& output) {
  NewImage image;
  const std::string packs = EncodeText(host, record, false);
  image.packs = packs.substr(0, packs.size() / kPackBytes * kPackBytes);
  const ScratchFolder scratch; // The sheet depends on the file name alone.
  const std::string copy = scratch.Path(FileName(output));
  Check(host.Sheets().CreateCueFile(Wide(copy).get(), record), copy);
  image.sheetText = ReadContent(copy, kLargestPackFile);
  image.dataFile = Beside(output, FileName(DataFileOfSheet(copy)));
  image.textFile = image.packs.empty() ? "" : CompanionOf(output);
  return image;
}

/// Reads the new image and compares its tracks with the record. Adds a note if texts are missing.
void Verify(const std::string& path, SheetOfFiles* sheet) {
  const imagefile::Image image = OpenImage(path);
  const auto expected = Tracks(*sheet->record);
  const auto found = Tracks(SessionOf(image, 1).Record());
  const auto isSame = [](const ZSTRACK& left, const ZSTRACK& right) {
    return left.dwLBA == right.dwLBA && left.dwEndLBA == right.dwEndLBA && left.Pregap == right.Pregap &&
           left.Mode == right.Mode && left.BlockSize == right.BlockSize;
  };
  if (!std::equal(expected.begin(), expected.end(), found.begin(), found.end(), isSame)) {
    Fail(path, E_UNEXPECTED, "a track is read back with another position, length or mode");
  }
  const auto hasTexts = [](const ZSTRACK& left, const ZSTRACK& right) {
    return Narrow(left.bstrTitle) == Narrow(right.bstrTitle) &&
           Narrow(left.bstrPerformer) == Narrow(right.bstrPerformer);
  };
  if (!std::equal(expected.begin(), expected.end(), found.begin(), hasTexts)) {
    sheet->notes.insert(
        "CD-Text does not hold all texts: those of data tracks, and what exceeds its size, are left out");
  }
}

/// Writes all files and reads them back.
void WriteImage(const JoinOptions& options, const Album& album, SheetOfFiles* sheet, const NewImage& image) {
  std::vector<std::unique_ptr<OutputFile>> files;
  const auto create = [&](const std::string& path, UHYPER size) {
    RefuseInputs(options.path, album, path);
    return files.emplace_back(std::make_unique<OutputFile>(path, size, options.force)).get();
  };
  const auto stale = FindStaleTexts(options.output, image.textFile, options.force);
  std::for_each(stale.begin(), stale.end(), [&](const auto& path) { RefuseInputs(options.path, album, path); });
  OutputFile* data = create(image.dataFile, album.Bytes());
  if (!image.packs.empty()) {
    create(image.textFile, image.packs.size())->Write(image.packs);
  }
  create(options.output, image.sheetText.size())->Write(image.sheetText);
  WriteAlbum(album, *sheet->record, data);
  PublishAll(files, stale);
  try {
    Verify(options.output, sheet);
  } catch (...) {
    std::for_each(files.rbegin(), files.rend(), [](const auto& file) { file->Withdraw(); });
    throw;
  }
}

void PrintResultJson(const JoinOptions& options, const Album& album, const SheetOfFiles& sheet, const NewImage& image) {
  Json tracks = Json::array();
  for (const ZSTRACK& track : Tracks(*sheet.record)) {
    tracks.push_back({{"track", UINT{track.TNO}},
                      {"mode", ModeWords(track.Mode)},
                      {"start", ULONG{track.dwLBA}},
                      {"sectors", track.dwEndLBA - track.dwLBA},
                      {"pregap", LONG{track.Pregap}}});
  }
  PrintJson({{"sheet", TerminalText(options.output)},
             {"data", TerminalText(image.dataFile)},
             {"cdtext", image.packs.empty() ? Json(nullptr) : Json(TerminalText(image.textFile))},
             {"bytes", album.Bytes()},
             {"blockSize", album.blockSize},
             {"tracks", std::move(tracks)},
             {"notes", sheet.notes}});
}

void PrintResult(const JoinOptions& options, const Album& album, const NewImage& image) {
  if (!image.packs.empty()) {
    Print(fmt::format("{}: CD-Text, {} bytes\n", TerminalText(image.textFile), image.packs.size()));
  }
  Print(fmt::format("{}: {} of {} bytes\n{}: written and read back\n", TerminalText(image.dataFile),
                    Counted(album.sectors, "sector"), album.blockSize, TerminalText(options.output)));
}

int RunJoin(const JoinOptions& options) {
  if (!IsSheet(options.output)) {
    Fail(options.output, E_INVALIDARG, "a joined image is described by a .cue file; give a name with this extension");
  }
  const Host host;
  SheetOfFiles sheet = ReadSheetOfFiles(host, options.path);
  const Album album = PlanAlbum(options.path, options.pad, &sheet);
  RefuseInputs(options.path, album, options.output);
  RequireWritable(options.output, options.force);
  const NewImage image = DescribeImage(host, sheet.record.get(), options.output);
  WriteImage(options, album, &sheet, image);
  for (const std::string& note : sheet.notes) {
    Note(note);
  }
  if (options.json) {
    PrintResultJson(options, album, sheet, image);
  } else {
    PrintResult(options, album, image);
  }
  return 0;
}

} // namespace

void AddJoin(Command* tool) {
  const auto options = std::make_shared<JoinOptions>();
  Command& command = tool->Add("join", "Make one image of a CUE sheet of several files or of sound files");
  command.AddSheet(&options->path);
  command
      .AddName("OUT", &options->output,
               "Sheet to write, .cue; its data file and its CD-Text become .BIN and .CDT files beside it")
      ->required();
  command.add_flag("--pad", options->pad, "Fill up files that end inside a sector with silence");
  command.AddForce(&options->force);
  command.AddJson(&options->json, "Print what was written as one JSON object");
  command.AddExamples({{"zsimage join album.cue disc.cue", "A file for each track, or FLAC files, as one image."},
                       {"zsimage join game.cue new/game.cue", "The same in another folder."},
                       {"zsimage join --pad downloads.cue disc.cue", "Tracks of any length."}});
  command.OnRun([options] { return RunJoin(*options); });
}
