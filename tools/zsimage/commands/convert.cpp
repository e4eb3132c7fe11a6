#include <algorithm>
#include <filesystem>

#include "checks/pack_file.h"
#include "commands/commands.h"
#include "commands/data_file.h"
#include "commands/description.h"
#include "files/files.h"
#include "output/failure.h"
#include "output/standard_output.h"
#include "platform/text.h"

namespace {

/// The packs that go with the description: those of a file as they are, or the image's own text.
std::vector<BYTE> CollectPacks(const Host& host, const ImageRecord& image, const ConvertOptions& options) {
  if (options.noText || image.Info().nSessions == 0) {
    return {};
  }
  if (!options.packs.empty()) {
    PackFile file = ReadPackFile(options.packs);
    if (const std::string fault = file.Fault(); !fault.empty() && !options.force) {
      throw Failure(options.packs, fault + "; --force takes the packs as they are", ZSE_FAILED);
    }
    return std::move(file.packs);
  }
  std::vector<BYTE> packs = EncodeText(host, &image.Session(1), false);
  packs.resize(packs.size() / kPackBytes * kPackBytes);
  return packs;
}

/// Makes the record say what the new description is to say: tracks numbered by their index, and CD-Text or none. A new
/// data file has no sub-channel, and raw sectors at the most.
void PrepareRecord(ImageRecord* image, unsigned sessions, bool hasText, bool withData, const DataFilePlan& plan) {
  for (unsigned session = 1; session <= sessions; ++session) {
    ZSCUESHEET& sheet = image->Session(session);
    sheet.ZSCDTEXT.CDTextPresent = hasText && session == 1 ? VARIANT_TRUE : VARIANT_FALSE;
    for (UINT i = 0; i < sheet.nTracks; ++i) {
      ZSTRACK& track = sheet.pZSTracks[i];
      track.TNO = i + 1;
      track.BlockSize = withData ? static_cast<ZSFILEBLOCKSIZECUE>(plan.blockSize) : track.BlockSize;
    }
  }
  image->Info().lMask &= withData ? ~(ZSIMAGEMASK_SUBCHANNEL | ZSIMAGEMASK_SUBINLINE | ZSIMAGEMASK_CDG) : ~LONG{0};
}

/// @throws Failure when the data file that is asked for cannot belong to the description.
void RequireFittingData(const ConvertOptions& options, DescriptionKind kind, const DataFilePlan& plan) {
  const std::string& why = plan.conflict.empty() && options.withData ? plan.shortage : plan.conflict;
  if (!why.empty() && (options.withData || !options.dataFile.empty())) {
    throw Failure(options.path, why, ZSE_FAILED);
  }
  if (options.withData && kind == DescriptionKind::TocFile && plan.blockSize != ZSFILEBLOCKSIZE_2352) {
    throw Failure(options.output,
                  Format("readers of TOC files take every sector as 2352 bytes, and this image has %u; write a .cue",
                         plan.blockSize),
                  ZSE_FAILED);
  }
  const std::optional<UHYPER> size = FileSize(options.dataFile);
  if (!options.dataFile.empty() && size != plan.Sectors() * plan.storedSize) {
    throw Failure(options.dataFile,
                  !size ? "no such file"
                        : "its size is " + std::to_string(*size) + " bytes, and the description needs " +
                              std::to_string(plan.Sectors() * plan.storedSize) + "; it belongs to another image",
                  size ? ZSE_FAILED : ZSE_FILENOTFOUND);
  }
}

/// Prints where the description finds its sectors.
void AnnounceDataFile(const ConvertOptions& options, const DataFilePlan& plan, const std::string& dataFile) {
  const std::string output = TerminalText(options.output);
  const std::string expected = TerminalText(OnDisk(dataFile));
  const std::optional<UHYPER> size = FileSize(dataFile);
  if (options.withData) {
    Print(output + ": written\n" + expected + ": " + std::to_string(plan.Bytes()) + " bytes\n");
  } else if (!options.dataFile.empty() && !SameFile(options.dataFile, dataFile)) {
    Print(output + ": looks for its data file as " + expected + "; give " + TerminalText(options.dataFile) +
          " this name, or make a link\n");
  } else if (!size) {
    Print(output + ": expects its data file as " + expected + "; no such file yet, --with-data writes it\n");
  } else {
    const bool fits = plan.conflict.empty() && *size == plan.Sectors() * plan.storedSize;
    Print(output + ": expects its data file as " + expected + (fits ? ", which is there\n" : "\n"));
    if (!fits) {
      Note(expected + (plan.conflict.empty()
                           ? " does not have the size that the description needs; it belongs to another image"
                           : " is there, and cannot be compared: " + plan.conflict));
    }
  }
}

/// Existing files that a reader would take as the CD-Text of the new sheet, in any case, but its own. @throws Failure
/// without --force.
std::vector<std::string> StaleTexts(const ConvertOptions& options, const ImageRecord& image, const std::string& own) {
  std::vector<std::string> stale;
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator(OnDisk(FolderOf(options.output)), ignored)) {
    const std::string name = entry.path().filename().string();
    const std::string path = Beside(options.output, name);
    if (lstrcmpiA(name, WithExtension(FileName(options.output), ".CDT")) != 0 || name == NarrowToUtf8(FileName(own)) ||
        !entry.is_regular_file(ignored)) {
      continue;
    }
    image.RefuseOwnFiles(path);
    if (!options.force) {
      throw Failure(path, "the new sheet would take its CD-Text from this file; --force removes it", kFileExists);
    }
    stale.push_back(path);
  }
  return stale;
}

/// Writes all files of the conversion. The description gets its name last, so that it never exists without the others.
void WriteFiles(const Host& host, const ImageRecord& image, const ConvertOptions& options, const DataFilePlan& plan,
                const Description& description, const std::string& packs) {
  std::vector<std::unique_ptr<OutputFile>> files;
  const auto add = [&](const std::string& path, UHYPER size) {
    image.RefuseOwnFiles(path);
    return files.emplace_back(std::make_unique<OutputFile>(path, size, options.force)).get();
  };
  const std::string dataFile = Beside(options.output, description.dataFile);
  const std::string companion = packs.empty() ? "" : CompanionOf(options.output);
  const bool isSheet = EndsWith(options.output, ".CUE");
  const std::vector<std::string> stale = isSheet ? StaleTexts(options, image, companion) : std::vector<std::string>();
  OutputFile* data = options.withData ? add(dataFile, plan.Bytes()) : nullptr;
  if (!packs.empty()) {
    add(companion, packs.size())->Write(packs);
  }
  add(options.output, description.content.size())->Write(description.content);
  if (data != nullptr) {
    WriteDataFile(host, image.DataFile(), plan, dataFile, data);
  }
  PublishAll(files, stale);
}

} // namespace

int RunConvert(const ConvertOptions& options) {
  const Host host;
  const DescriptionKind kind = KindOfDescription(options.output);
  ImageRecord image(host, options.path);
  image.RefuseOwnFiles(options.output);
  RequireWritable(options.output, options.force);
  if (options.withData) {
    image.RequireDataFile();
  }
  const std::vector<BYTE> packs = CollectPacks(host, image, options);
  const unsigned sessions =
      std::min<unsigned>(image.Info().nSessions, kind == DescriptionKind::CueSheet ? 1 : kMaxSessions);
  const DataFilePlan plan = PlanDataFile(image, sessions);
  RequireFittingData(options, kind, plan);
  const std::vector<std::string> losses = LossesOf(image, kind, sessions, options.withData);
  PrepareRecord(&image, sessions, !packs.empty(), options.withData, plan);
  const Description description = MakeDescription(host, &image, kind, options.output, sessions, packs);
  const bool hasCompanion = kind == DescriptionKind::CueSheet && !packs.empty();
  try {
    WriteFiles(host, image, options, plan, description, hasCompanion ? std::string(packs.begin(), packs.end()) : "");
  } catch (const Failure& failure) {
    if (failure.Code() == kCancelled || failure.Code() == kFileExists) {
      throw;
    }
    throw Failure(failure.File(), failure.Words() + "; nothing of the new image has been saved", failure.Code());
  }
  for (const std::string& loss : losses) {
    Note(loss);
  }
  if (hasCompanion) {
    Print(TerminalText(CompanionOf(options.output)) + Format(": CD-Text, %zu bytes\n", packs.size()));
  }
  AnnounceDataFile(options, plan, Beside(options.output, description.dataFile));
  return 0;
}
