#include <cstdio>

#include "commands.h"
#include "data_file.h"
#include "description.h"
#include "failure.h"
#include "files.h"

namespace {

/// The packs that go with the description: those of a file as they are, or the image's own text.
std::vector<BYTE> CollectPacks(const Host& host, const ImageRecord& image, const ConvertOptions& options) {
  if (options.noText || image.Info().nSessions == 0) {
    return {};
  }
  if (!options.packs.empty()) {
    return ReadWholeFile(options.packs, kLargestPackFile);
  }
  const EncodedText text(host, image.Session(1), false);
  if (text.Result() == S_FALSE) {
    return {};
  }
  Check(text.Result(), image.Path());
  const std::size_t whole = text.Size() / kPackBytes * kPackBytes;
  return std::vector<BYTE>(text.Data(), text.Data() + whole);
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
  zsimagefileinfo& info = image->Info();
  if ((info.lMask & ZSIMAGEMASK_SUBCHANNEL) != 0) {
    std::fprintf(stderr, "zsimage: note: the sub-channel data of the image are left out.\n");
  }
  info.lMask &= ~(ZSIMAGEMASK_SUBCHANNEL | ZSIMAGEMASK_SUBINLINE | ZSIMAGEMASK_CDG);
}

void WriteBytes(const std::string& path, const std::vector<BYTE>& bytes) {
  OutputFile file(path, bytes.size());
  file.Write(bytes.data(), bytes.size());
  file.Keep();
  std::printf("%s: CD-Text, %zu bytes\n", TerminalText(path).c_str(), bytes.size());
}

/// What a person should know about what the new description cannot say.
void NoteLimits(const ImageRecord& image, DescriptionKind kind) {
  const zsimagefileinfo& info = image.Info();
  if (kind == DescriptionKind::CueSheet && info.nSessions > 1) {
    std::fprintf(stderr, "zsimage: note: a CUE sheet holds one session; the other %u of the image are left out.\n",
                 info.nSessions - 1U);
  }
  const LONG size = info.nSessions == 0 || info.pZSCueSheet[0]->nTracks == 0
                        ? LONG{ZSFILEBLOCKSIZE_2352}
                        : LONG{info.pZSCueSheet[0]->pZSTracks[0].BlockSize};
  if (kind == DescriptionKind::TocFile && size != ZSFILEBLOCKSIZE_2352) {
    std::fprintf(stderr,
                 "zsimage: note: readers of TOC files take every sector as 2352 bytes, and this image has %d; "
                 "a CUE sheet would keep its sectors readable.\n",
                 static_cast<int>(size));
  }
}

void AnnounceDataFile(const std::string& path, const std::string& dataFile) {
  std::printf("%s: expects its data file as %s", TerminalText(path).c_str(), TerminalText(dataFile).c_str());
  std::printf(FileSize(dataFile) ? ", which is there\n" : "; no such file yet, --with-data writes it\n");
}

} // namespace

int RunConvert(const ConvertOptions& options) {
  const Host host;
  const DescriptionKind kind = KindOfDescription(options.output);
  ImageRecord image(host, options.path);
  const std::string source = image.DataFile();
  image.RefuseOwnFiles(options.output);
  if (options.withData) {
    image.RequireDataFile();
  }
  const std::vector<BYTE> packs = CollectPacks(host, image, options);
  const unsigned sessions =
      kind == DescriptionKind::CueSheet && image.Info().nSessions > 1 ? 1 : image.Info().nSessions;
  const DataFilePlan plan = options.withData ? PlanDataFile(image, sessions) : DataFilePlan{};
  const bool withData = options.withData && plan.whyNot.empty();
  PrepareRecord(&image, !packs.empty());
  if (withData) {
    PrepareForData(&image, sessions, plan);
  }
  NoteLimits(image, kind);
  WriteDescription(host, &image, kind, options.output, packs);
  if (kind == DescriptionKind::CueSheet && !packs.empty()) {
    WriteBytes(CompanionOf(options.output), packs);
  }
  const std::string dataFile = DataFileOf(host, image, kind, options.output);
  if (!options.withData) {
    AnnounceDataFile(options.output, dataFile);
  } else if (!withData) {
    throw Failure(dataFile, "the description stands, but its data file cannot be written: " + plan.whyNot, ZSE_FAILED);
  } else {
    WriteDataFile(host, source, plan, dataFile);
    VerifyTracks(host, image, sessions, options.output);
    std::printf("%s: written\n%s: %llu bytes\n", TerminalText(options.output).c_str(), TerminalText(dataFile).c_str(),
                static_cast<unsigned long long>(plan.Bytes()));
  }
  return 0;
}
