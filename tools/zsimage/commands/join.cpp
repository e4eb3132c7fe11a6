#include <algorithm>

#include <fmt/format.h>

#include "commands/commands.h"
#include "commands/description.h"
#include "files/input_file.h"
#include "files/paths.h"
#include "image/disc_text.h"
#include "join/album.h"
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

/// @throws Failure if a path is a file of the album.
void RefuseInput(const std::string& sheet, const Album& album, const std::string& path) {
  const auto isSame = [&](const SampleSource& file) { return IsSameFile(file.path, path); };
  FailIf(IsSameFile(sheet, path) || IsSameFile(WithExtension(sheet, ".CDT"), path) ||
             std::ranges::any_of(album.files, isSame),
         path, E_INVALIDARG, "this file belongs to the album; give another name");
}

Json TracksToJson(const ZSCUESHEET& sheet) {
  Json tracks = Json::array();
  for (const ZSTRACK& track : Tracks(sheet)) {
    tracks.push_back({{"track", UINT{track.TNO}},
                      {"mode", DescribeMode(track.Mode)},
                      {"blockSize", static_cast<UINT>(track.BlockSize)},
                      {"start", ULONG{track.dwLBA}},
                      {"sectors", track.dwEndLBA - track.dwLBA},
                      {"pregap", LONG{track.Pregap}}});
  }
  return tracks;
}

/// Returns the texts and codes of a sheet and of its tracks.
std::vector<std::string> TextsOf(const ZSCUESHEET& sheet) {
  std::vector<std::string> texts{Narrow(sheet.ZSCDTEXT.bstrMCN)};
  for (const ZSTRACK& track : Tracks(sheet)) {
    texts.push_back(Narrow(track.bstrISRC));
  }
  for (const TextField& field : kTextFields) {
    texts.push_back(Narrow(TextOf(sheet.ZSCDTEXT, field.ofDisc)));
    for (const ZSTRACK& track : Tracks(sheet)) {
      texts.push_back(Narrow(TextOf(track, field.ofTrack)));
    }
  }
  return texts;
}

/// Reads the new image and compares its tracks with the record. Adds a note if it lacks some of the texts.
void Verify(const std::string& path, const ZSCUESHEET& texts, Album* album) {
  const imagefile::Image image = OpenImage(path);
  const ZSCUESHEET& found = SessionOf(image, 1).Record();
  FailIf(TracksToJson(found) != TracksToJson(album->Sheet()), path, E_UNEXPECTED,
         "a track is read back with another position, length or mode");
  if (TextsOf(found) != TextsOf(texts)) {
    album->notes.insert(
        "not all texts and codes are kept: CD-Text has a limited size, a catalogue number 13 digits and "
        "an ISRC 12 characters");
  }
}

void PrintResultJson(const NewImage& image, const Album& album, const std::string& dataFile) {
  PrintJson({{"sheet", TerminalText(image.path)},
             {"data", TerminalText(dataFile)},
             {"cdtext", image.packs.empty() ? Json(nullptr) : Json(TerminalText(CompanionOf(image.path)))},
             {"bytes", album.Bytes()},
             {"tracks", TracksToJson(album.Sheet())},
             {"notes", album.notes}});
}

int RunJoin(const JoinOptions& options) {
  FailIf(!IsSheet(options.output), options.output, E_INVALIDARG,
         "a joined image is described by a .cue file; give a name with this extension");
  Album album = ReadAlbum(options.path, options.pad);
  const imagefile::Image complete = CompleteTexts(album.image);
  const std::vector<std::byte> packs = complete.EncodeCdText();
  album.Sheet().ZSCDTEXT.CDTextPresent = packs.empty() ? VARIANT_FALSE : VARIANT_TRUE;
  const NewImage image{.path = options.output,
                       .packs = {reinterpret_cast<const char*>(packs.data()), packs.size()},
                       .description = RenderDescription(&album.image.Record(), options.output, 1, ""),
                       .dataBytes = album.Bytes(),
                       .writeData = [&](OutputFile* file) { WriteAlbum(album, file); },
                       .refuseOwn = [&](const std::string& path) { RefuseInput(options.path, album, path); }};
  WriteImage(image, options.force, [&] { Verify(options.output, *complete.Record().pZSCueSheet[0], &album); });
  for (const std::string& note : album.notes) {
    Note(note);
  }
  const std::string dataFile = Beside(options.output, image.description.dataFile);
  if (options.json) {
    PrintResultJson(image, album, dataFile);
    return 0;
  }
  if (!image.packs.empty()) {
    Print(fmt::format("{}: CD-Text, {} bytes\n", TerminalText(CompanionOf(options.output)), image.packs.size()));
  }
  Print(fmt::format("{}: {} of {} bytes\n{}: written and read back\n", TerminalText(dataFile),
                    Counted(album.sectors, "sector"), album.BlockSize(), TerminalText(options.output)));
  return 0;
}

} // namespace

void AddJoin(Command* tool) {
  auto [command, options] =
      tool->Add("join", "Make one image of a CUE sheet of several files or of sound files", RunJoin);
  command.AddImage(&options.path, "SHEET", "CUE sheet of any number of files: raw sectors, WAVE, AIFF, FLAC");
  command
      .AddName("OUT", &options.output,
               "Sheet to write, .cue; its data file and its CD-Text become .BIN and .CDT files beside it")
      ->required();
  command.add_flag("--pad", options.pad, "Fill up files that end inside a sector with silence");
  command.AddForce(&options.force);
  command.AddJson(&options.json, "Print what was written as one JSON object");
  command.AddExamples({{"zsimage join album.cue disc.cue", "A file for each track, or FLAC files, as one image."},
                       {"zsimage join game.cue new/game.cue", "The same in another folder."},
                       {"zsimage join --pad downloads.cue disc.cue", "Tracks of any length."}});
}
