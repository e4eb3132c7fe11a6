#include <algorithm>
#include <optional>

#include <fmt/format.h>

#include "checks/pack_file.h"
#include "commands/commands.h"
#include "commands/description.h"
#include "commands/record.h"
#include "files/output_file.h"
#include "output/failure.h"
#include "output/standard_output.h"
#include "output/terminal_text.h"
#include "platform/task_memory.h"

namespace {

constexpr unsigned kMostTracks = 99;

struct DecodeOptions {
  std::string packs;
  std::optional<unsigned> tracks;
  bool json = false;
};

struct EncodeOptions {
  std::string path;
  std::string output;
  bool subChannel = false;
  bool force = false;
};

int RunDecode(const DecodeOptions& options) {
  const PackFile file = ReadPackFile(options.packs);
  imagefile::Image image =
      imagefile::DecodeCdText(std::as_bytes(std::span(file.packs)), options.tracks.value_or(kMostTracks));
  ZSCUESHEET& sheet = *image.Record().pZSCueSheet[0];
  while (!options.tracks && sheet.nTracks > file.tracks && !image.Sessions()[0].Tracks()[sheet.nTracks - 1].HasText()) {
    --sheet.nTracks; // The track has no texts.
  }
  if (options.json) {
    PrintSheetJson(sheet);
  } else if (image.Sessions()[0].HasCdText()) {
    PrintTexts(sheet);
  }
  for (const Finding& finding : file.findings) {
    if (finding.isFault) {
      Report(Failure(options.packs, finding.words, ZSE_FAILED));
    } else {
      Note(finding.words);
    }
  }
  return file.findings.Faults() == 0 ? 0 : kExitFailure;
}

int RunEncode(const EncodeOptions& options) {
  const imagefile::Image source = OpenImage(options.path);
  const imagefile::Session& session = SessionOf(source, 1);
  FailIf(!session.HasText() && std::ranges::none_of(session.Tracks(), &imagefile::Track::HasText), options.path,
         ZSE_FAILED, "the first session has no text to encode");
  imagefile::Image image = CompleteTexts(source);
  ZSCUESHEET* sheet = image.Record().pZSCueSheet[0];
  sheet->ZSCDTEXT.CDTextPresent = VARIANT_TRUE; // Encodes the texts of a sheet's lines as well.
  BYTE* data = nullptr;
  LONG length = 0;
  Check(imagefile::Interfaces().Sheets().EncodeCDText(sheet, options.subChannel ? VARIANT_TRUE : VARIANT_FALSE, &data,
                                                      &length),
        options.path);
  const TaskMemory<BYTE> owned(data);
  const std::string_view packs(reinterpret_cast<const char*>(data), static_cast<std::size_t>(length));
  image.RefuseOwnFile(options.output);
  WriteContent(options.output, packs, options.force);
  if (!IsStandardOutput(options.output)) {
    Print(fmt::format("{}: {} bytes{}\n", TerminalText(options.output), packs.size(),
                      options.subChannel ? ", in groups of 96 for the sub-channel" : ""));
  }
  return 0;
}

void AddDecode(Command* group) {
  auto [command, options] = group->Add("decode", "Show the text in a file of packs", RunDecode);
  command
      .add_option("FILE", options.packs,
                  "File of packs, such as a .cdt file, or of packs in sub-channel form; - for standard input")
      ->required();
  command.add_option("--tracks", options.tracks, "Number of tracks of the disc (default: as the packs say)")
      ->type_name("N")
      ->check(CLI::Range(0U, kMostTracks).description(""));
  command.AddJson(&options.json, "Print one JSON object");
  command.AddExamples({{"zsimage cdtext decode disc.cdt", "The texts, and what is wrong with the packs."}});
}

void AddEncode(Command* group) {
  auto [command, options] = group->Add("encode", "Pack the text of an image's first session", RunEncode);
  command.AddImage(&options.path);
  command.AddName("-o,--output", &options.output, "File to write, - for standard output")
      ->type_name("FILE")
      ->required();
  command.add_flag("--subchannel", options.subChannel, "Spread the packs over groups of 96 bytes");
  command.AddForce(&options.force);
  command.AddExamples({{"zsimage cdtext encode disc.cue -o disc.cdt", "The texts of a sheet as packs."},
                       {"zsimage cdtext encode disc.cue -o - | xxd -c 18", "The packs, one a line."}});
}

} // namespace

void AddCdText(Command* tool) {
  Command& group = tool->Add("cdtext", "Decode and encode CD-Text packs");
  group.require_subcommand(1);
  group.AddExamples({{"zsimage cdtext decode disc.cdt", "Show what a .cdt file says."},
                     {"zsimage cdtext encode disc.cue -o disc.cdt", "Write one."}});
  AddDecode(&group);
  AddEncode(&group);
}
