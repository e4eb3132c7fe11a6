#include <algorithm>
#include <optional>
#include <utility>

#include <fmt/format.h>

#include "commands/commands.h"
#include "image/disc_words.h"
#include "image/explain.h"
#include "image/image_record.h"
#include "output/failure.h"
#include "output/json.h"
#include "output/standard_output.h"

namespace {

struct PositionOptions {
  std::string path;
  ULONG lba = 0;
  bool json = false;
};

struct FoundSector {
  unsigned session; ///< From 1, as the track.
  unsigned track;
  bool isPregap;
  UHYPER byte;
  bool isSilence; ///< Silence of a PREGAP line, which is not in the file.
  bool isCutOff;  ///< The data file ends before this sector.
};

/// Finds the first track that contains a sector, its pregap included.
std::optional<FoundSector> FindSector(const Host& host, const ImageRecord& image, std::int64_t lba) {
  const UHYPER size = image.DataSize().value_or(kToEndOfFile);
  std::optional<FoundSector> found;
  for (unsigned session = 1; session <= image.Info().nSessions; ++session) {
    unsigned number = 0;
    ULONG silence = 0; // Sectors of PREGAP lines up to the track.
    image.VisitTracks(session, [&](const ZSTRACK& track, const TrackExtent& extent) {
      if (extent.blockSize == 0) {
        throw Failure(image.Path(), SizelessWords(host, image), ZSE_FAILED);
      }
      const std::int64_t offset = lba - track.dwLBA;
      const ULONG before = std::exchange(silence, track.dwLBA - imagefile::FilePosition(image.Info(), track));
      const std::int64_t own = silence > before ? silence - before : 0;
      const bool isLost = extent.sectors == 0 && extent.missing != 0; // The length of the track is not known.
      ++number;
      if (!found && offset >= -own - extent.pregap && (offset < extent.sectors || isLost)) {
        const UHYPER byte = extent.begin + static_cast<UHYPER>(offset) * extent.blockSize;
        found = {session, number, offset < 0, byte, offset < -std::int64_t{extent.pregap}, false};
        found->isCutOff = !found->isSilence && (byte > size || size - byte < extent.blockSize);
      }
    });
  }
  return found;
}

/// Explains why a sector has no byte in the data file; empty if it has one.
std::string ExplainNoByte(const std::optional<FoundSector>& found, const std::string& file) {
  if (!found) {
    return " is in no track: between sessions or after the end";
  }
  if (found->isSilence) {
    return fmt::format(" is silence of a PREGAP line before track {} of session {}, which is not in the file",
                       found->track, found->session);
  }
  return !found->isCutOff ? ""
                          : fmt::format(" is cut off: {} ends before this sector of track {} of session {}", file,
                                        found->track, found->session);
}

int RunPosition(const PositionOptions& options) {
  const Host host;
  ImageRecord image(host, options.path);
  const auto sheets = image.Sessions();
  const auto isEmpty = [](const ZSCUESHEET* sheet) { return sheet->nTracks == 0; };
  if (sheets.empty() || std::any_of(sheets.begin(), sheets.end(), isEmpty)) {
    throw Failure(image.Path(), "the image has a session without tracks, so its sectors have no positions", ZSE_FAILED);
  }
  // The component returns the start of the track, not of the sector, and leaves the length unchanged without a track.
  UHYPER seek = 0;
  UHYPER length = kToEndOfFile;
  Check(host.Images().GetPositionFromLBA(&image.Info(), options.lba, &seek, &length), image.Path());
  const std::optional<FoundSector> found = FindSector(host, image, options.lba);
  const std::string sector = fmt::format("sector {} ({})", options.lba, DiscTime(options.lba));
  const std::string file = TerminalText(image.DataFile());
  const std::string obstacle = ExplainNoByte(found, file);
  if (options.json) {
    PrintJson({{"pSeek64", seek},
               {"pLength64", length == kToEndOfFile ? Json(nullptr) : Json(length)},
               {"session", found ? Json(found->session) : Json(nullptr)},
               {"track", found ? Json(found->track) : Json(nullptr)},
               {"file", file},
               {"byte", obstacle.empty() ? Json(found->byte) : Json(nullptr)}});
  } else if (obstacle.empty()) {
    Print(fmt::format("S{} begins at byte {} of {}, in {}track {} of session {}.\n", sector.substr(1), found->byte,
                      file, found->isPregap ? "the pregap of " : "", found->track, found->session));
  }
  if (!obstacle.empty()) {
    const bool isCutOff = found && found->isCutOff;
    return Report(
        Failure(image.Path(), sector + obstacle, isCutOff ? HRESULT_FROM_WIN32(ERROR_HANDLE_EOF) : E_INVALIDARG));
  }
  return 0;
}

} // namespace

void AddPosition(Command* tool) {
  const auto options = std::make_shared<PositionOptions>();
  Command& command = tool->Add("position", "Find the byte of a sector in the data file");
  command.AddJson(&options->json, "Print one JSON object");
  command.AddImage(&options->path);
  command.add_option("LBA", options->lba, "Number of the sector on the disc")->required();
  command.AddExamples({{"zsimage position disc.cue 13650", "Where the data of sector 13650 begin."}});
  command.OnRun([options] { return RunPosition(*options); });
}
