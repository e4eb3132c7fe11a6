#include <algorithm>

#include "commands.h"
#include "data_file.h"
#include "description.h"
#include "failure.h"
#include "files.h"
#include "losses.h"
#include "platform/text.h"

namespace {

/// The packs that go with the description: those of a file as they are, or the image's own text.
std::vector<BYTE> CollectPacks(const Host& host, const ImageRecord& image, const ConvertOptions& options) {
  if (options.noText || image.Info().nSessions == 0) {
    return {};
  }
  if (!options.packs.empty()) {
    return ReadWholeFile(options.packs, kLargestPackFile);
  }
  std::vector<BYTE> packs = EncodeText(host, &image.Session(1), false);
  packs.resize(packs.size() / kPackBytes * kPackBytes);
  return packs;
}

/// Makes the record say what the new description is to say: tracks numbered by their place, with CD-Text or
/// without.
void PrepareRecord(ImageRecord* image, bool hasText) {
  zsimagefileinfo& info = image->Info();
  for (unsigned session = 1; session <= info.nSessions; ++session) {
    ZSCUESHEET& sheet = image->Session(session);
    for (UINT i = 0; i < sheet.nTracks; ++i) {
      sheet.pZSTracks[i].TNO = i + 1;
    }
  }
  if (info.nSessions != 0) {
    image->Session(1).ZSCDTEXT.CDTextPresent = hasText ? VARIANT_TRUE : VARIANT_FALSE;
  }
}

/// The new data file has no sub-channel, and raw sectors at the most.
void PrepareForData(ImageRecord* image, unsigned sessions, const DataFilePlan& plan) {
  for (unsigned session = 1; session <= sessions; ++session) {
    ZSCUESHEET& sheet = image->Session(session);
    for (UINT i = 0; i < sheet.nTracks; ++i) {
      sheet.pZSTracks[i].BlockSize = static_cast<ZSFILEBLOCKSIZECUE>(plan.blockSize);
    }
  }
  image->Info().lMask &= ~(ZSIMAGEMASK_SUBCHANNEL | ZSIMAGEMASK_SUBINLINE | ZSIMAGEMASK_CDG);
}

/// @throws Failure when the data file that is asked for cannot belong to the description.
void RequireFittingData(const ConvertOptions& options, DescriptionKind kind, const DataFilePlan& plan) {
  const UHYPER wanted = plan.Sectors() * plan.storedSize;
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
  if (!options.dataFile.empty() && !FileSize(options.dataFile)) {
    throw Failure(options.dataFile, "no such file", ZSE_FILENOTFOUND);
  }
  if (!options.dataFile.empty() && FileSize(options.dataFile) != wanted) {
    throw Failure(options.dataFile,
                  Format("its size is %llu bytes, and the description needs %llu; it belongs to another image",
                         static_cast<unsigned long long>(*FileSize(options.dataFile)),
                         static_cast<unsigned long long>(wanted)),
                  ZSE_FAILED);
  }
}

/// Prints where the description finds its sectors.
void AnnounceDataFile(const ConvertOptions& options, const DataFilePlan& plan, const std::string& dataFile) {
  const std::string output = TerminalText(options.output);
  const std::string expected = TerminalText(OnDisk(dataFile));
  const std::optional<UHYPER> size = FileSize(dataFile);
  if (options.withData) {
    Print(output + ": written\n" + expected + Format(": %llu bytes\n", static_cast<unsigned long long>(plan.Bytes())));
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

/// Files that a reader would take as the CD-Text of the new sheet. @throws Failure without --force.
std::vector<std::string> StaleTexts(const ConvertOptions& options, const ImageRecord& image, const std::string& own) {
  std::vector<std::string> stale = CompanionsOnDisk(options.output);
  std::erase_if(stale, [&](const std::string& path) { return FileName(path) == NarrowToUtf8(FileName(own)); });
  for (const std::string& path : stale) {
    image.RefuseOwnFiles(path);
    if (!options.force) {
      throw Failure(path, "the new sheet would take its CD-Text from this file; --force removes it", kFileExists);
    }
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
  const std::vector<std::string> stale = StaleTexts(options, image, companion);
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
  PrepareRecord(&image, !packs.empty());
  if (options.withData) {
    PrepareForData(&image, sessions, plan);
  }
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
