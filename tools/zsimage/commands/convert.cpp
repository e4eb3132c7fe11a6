#include <algorithm>

#include <fmt/format.h>

#include "checks/pack_file.h"
#include "commands/commands.h"
#include "commands/data_file.h"
#include "commands/description.h"
#include "files/input_file.h"
#include "files/paths.h"
#include "image/disc_text.h"
#include "output/failure.h"
#include "output/standard_output.h"
#include "output/terminal_text.h"

namespace {

struct ConvertOptions {
  std::string path;
  std::string output;
  std::string packs; ///< File of CD-Text packs; empty for the text of the image.
  bool noText = false;
  bool withData = false;
  std::string dataFile; ///< Existing file to describe; empty for none.
  bool force = false;
};

/// Returns the CD-Text packs of the new image: those of a file, or the text of the image.
std::string CollectPacks(const imagefile::Image& image, const ConvertOptions& options) {
  if (options.noText || image.Sessions().empty()) {
    return "";
  }
  if (!options.packs.empty()) {
    const PackFile file = ReadPackFile(options.packs);
    if (const std::string fault = file.FirstFault(); !fault.empty() && !options.force) {
      throw Failure(options.packs, fault + "; --force uses the packs as they are", ZSE_FAILED);
    }
    return file.packs;
  }
  const std::string companion = SpelledOnDisk(WithExtension(image.Path(), ".CDT"));
  if (image.Format() == imagefile::Format::Cue && FileSize(companion)) {
    try {
      ReadContent(companion, kLargestPackFile);
    } catch (const Failure& failure) { // The record was read without it.
      throw Failure(companion, failure.Words() + "; --no-cdtext leaves the texts out", failure.Code());
    }
  }
  const std::vector<std::byte> packs = CompleteTexts(image).EncodeCdText();
  return {reinterpret_cast<const char*>(packs.data()), packs.size()};
}

/// Prepares the record for the new description: numbers the tracks from 1, sets whether there is CD-Text, and sets the
/// block size of a new data file, which has no sub-channel.
void PrepareRecord(zsimagefileinfo* info, unsigned sessions, bool hasText, bool withData, const DataFilePlan& plan) {
  for (ZSCUESHEET* sheet : std::span(info->pZSCueSheet, sessions)) {
    sheet->ZSCDTEXT.CDTextPresent = hasText && sheet == info->pZSCueSheet[0] ? VARIANT_TRUE : VARIANT_FALSE;
    UINT number = 0;
    for (ZSTRACK& track : Tracks(*sheet)) {
      track.TNO = ++number;
      track.BlockSize = withData ? static_cast<ZSFILEBLOCKSIZECUE>(plan.blockSize) : track.BlockSize;
    }
  }
  info->lMask &= withData ? ~(ZSIMAGEMASK_SUBCHANNEL | ZSIMAGEMASK_SUBINLINE | ZSIMAGEMASK_CDG) : ~LONG{0};
}

/// Explains why a file does not have the size of the data file that a description needs.
std::string ExplainSize(const imagefile::Image& image, unsigned sessions, const DataFilePlan& plan,
                        const std::string& dataFile) {
  if (!IsSameFile(dataFile, image.DataFile())) {
    return "it belongs to another image";
  }
  const auto hasSilence = [](const DataFilePlan::Piece& piece) { return piece.silence != 0; };
  const bool isSilent = std::ranges::any_of(plan.pieces, hasSilence);
  return std::string(sessions < image.Sessions().size() ? "it has the sectors of later sessions as well"
                     : !plan.shortage.empty()           ? plan.shortage
                     : isSilent                         ? "it does not have the silence of gaps and PREGAP lines"
                                                        : "it has bytes that belong to no track") +
         "; --with-data writes a file that fits";
}

/// @throws Failure if the data file that the options request does not fit the description.
void RequireFittingData(const ConvertOptions& options, const imagefile::Image& image, unsigned sessions,
                        const DataFilePlan& plan) {
  const std::string& obstacle = plan.conflict.empty() && options.withData ? plan.shortage : plan.conflict;
  if (!options.withData && options.dataFile.empty()) {
    return;
  }
  FailIf(!obstacle.empty(), options.path, ZSE_FAILED, "{}", obstacle);
  const UINT blockSize = options.withData ? plan.blockSize : plan.storedSize;
  FailIf(!IsSheet(options.output) && blockSize != ZSFILEBLOCKSIZE_2352, options.output, ZSE_FAILED,
         "readers of TOC files read every sector as 2352 bytes, and this image has {}; write a .cue file", blockSize);
  if (options.withData) {
    return;
  }
  const std::optional<UHYPER> size = FileSize(options.dataFile);
  FailIf(!size, options.dataFile, ZSE_FILENOTFOUND, "no such file");
  FailIf(*size != plan.StoredBytes(), options.dataFile, ZSE_FAILED, "it has {} bytes, and the description needs {}; {}",
         *size, plan.StoredBytes(), ExplainSize(image, sessions, plan, options.dataFile));
}

void AnnounceDataFile(const ConvertOptions& options, const imagefile::Image& image, unsigned sessions,
                      const DataFilePlan& plan, const std::string& dataFile) {
  const std::string output = TerminalText(options.output);
  const std::string expected = TerminalText(SpelledOnDisk(dataFile));
  const std::optional<UHYPER> size = FileSize(dataFile);
  if (options.withData) {
    Print(fmt::format("{}: written\n{}: {} bytes\n", output, expected, plan.Bytes()));
  } else if (!options.dataFile.empty() && !IsSameFile(options.dataFile, dataFile)) {
    Print(fmt::format("{}: looks for its data file as {}; give {} this name, or make a link\n", output, expected,
                      TerminalText(options.dataFile)));
  } else if (!size) {
    Print(fmt::format("{}: expects its data file as {}; no such file yet, --with-data writes it\n", output, expected));
  } else if (plan.conflict.empty() && *size == plan.StoredBytes()) {
    Print(fmt::format("{}: expects its data file as {}, which exists\n", output, expected));
  } else {
    Print(fmt::format("{}: expects its data file as {}\n", output, expected));
    Note(expected + (plan.conflict.empty() ? " does not have the size that the description needs; " +
                                                 ExplainSize(image, sessions, plan, dataFile)
                                           : " exists and cannot be compared: " + plan.conflict));
  }
}

int RunConvert(const ConvertOptions& options) {
  const bool isSheet = IsSheet(options.output);
  const imagefile::Image image = OpenImage(options.path);
  image.RefuseOwnFile(options.output);
  RequireWritable(options.output, options.force);
  if (options.withData) {
    RequireDataFile(image);
  }
  const std::string packs = CollectPacks(image, options);
  const unsigned sessions = std::min<unsigned>(image.Record().nSessions, isSheet ? 1 : kMaxSessions);
  RequireSizes(image, sessions);
  const DataFilePlan plan = PlanDataFile(image, sessions);
  RequireFittingData(options, image, sessions, plan);
  imagefile::Image copy = image.Clone(); // What the description states.
  AddSilenceToPregaps(&copy, sessions);
  const std::vector<std::string> losses = FindLosses(copy, isSheet, sessions, options.withData);
  PrepareRecord(&copy.Record(), sessions, !packs.empty(), options.withData, plan);
  const auto writeData = [&](OutputFile* file) { WriteDataFile(image, plan, file); };
  const NewImage files{.path = options.output,
                       .packs = isSheet ? packs : "",
                       .description = RenderDescription(&copy.Record(), options.output, sessions, packs),
                       .dataBytes = plan.Bytes(),
                       .writeData = options.withData ? std::function<void(OutputFile*)>(writeData) : nullptr,
                       .refuseOwn = [&](const std::string& path) { image.RefuseOwnFile(path); }};
  try {
    WriteImage(files, options.force, [] {});
  } catch (const imagefile::Error& failure) {
    if (failure.Code() == kCancelled || failure.Code() == kFileExists) {
      throw;
    }
    throw Failure(failure.Path(), failure.Words() + "; nothing of the new image has been saved", failure.Code());
  }
  for (const std::string& loss : losses) {
    Note(loss);
  }
  if (isSheet && !packs.empty()) {
    Print(fmt::format("{}: CD-Text, {} bytes\n", TerminalText(CompanionOf(options.output)), packs.size()));
  }
  AnnounceDataFile(options, image, sessions, plan, Beside(options.output, files.description.dataFile));
  return 0;
}

} // namespace

void AddConvert(Command* tool) {
  auto [command, options] =
      tool->Add("convert", "Write the description of an image as a CUE sheet or TOC file", RunConvert);
  command.AddImage(&options.path);
  command
      .AddName("OUT", &options.output,
               "Description to write: .cue or .zsi; the CD-Text of a sheet becomes a .CDT file beside it")
      ->required();
  auto* packs = command.AddName("--cdtext", &options.packs, "File of CD-Text packs to use")->type_name("FILE");
  command.add_flag("--no-cdtext", options.noText, "Leave CD-Text out")->excludes(packs);
  auto* withData =
      command.add_flag("--with-data", options.withData, "Write the data file as well; that of disc.cue is DISC.BIN");
  command.AddName("--data-file", &options.dataFile, "Existing file of raw sectors to describe, such as a CCD's .img")
      ->type_name("FILE")
      ->excludes(withData);
  command.AddForce(&options.force);
  command.AddExamples({{"zsimage convert disc.nrg disc.zsi", "A description beside the image."},
                       {"zsimage convert disc.mds new/disc.cue --with-data", "A sheet with its own data file."},
                       {"zsimage convert disc.ccd DISC.cue --data-file disc.img", "A sheet for existing sectors."}});
}
