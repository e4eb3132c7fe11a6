#include <algorithm>
#include <optional>

#include <fmt/format.h>

#include "commands/commands.h"
#include "image/disc_words.h"
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
};

/// Finds a sector in the first track that has it, in its pregap or after.
std::optional<FoundSector> FindSector(const ImageRecord& image, std::int64_t lba) {
  std::optional<FoundSector> found;
  for (unsigned session = 1; session <= image.Info().nSessions; ++session) {
    unsigned number = 0;
    image.VisitTracks(session, [&](const ZSTRACK& track, const TrackExtent& extent) {
      const std::int64_t offset = lba - track.dwLBA;
      ++number;
      if (!found && offset >= -std::int64_t{extent.pregap} && offset < extent.sectors) {
        found = {session, number, offset < 0, extent.begin + static_cast<UHYPER>(offset) * extent.blockSize};
      }
    });
  }
  return found;
}

int RunPosition(const PositionOptions& options) {
  const Host host;
  ImageRecord image(host, options.path);
  const auto sheets = image.Sessions();
  const auto isEmpty = [](const ZSCUESHEET* sheet) { return sheet->nTracks == 0; };
  if (sheets.empty() || std::any_of(sheets.begin(), sheets.end(), isEmpty)) {
    throw Failure(image.Path(), "the image has a session without tracks, so its sectors have no positions", ZSE_FAILED);
  }
  // What the component returns to hosts is the start of the track. It leaves the length unchanged if there is no track.
  UHYPER seek = 0;
  UHYPER length = kToEndOfFile;
  Check(host.Images().GetPositionFromLBA(&image.Info(), options.lba, &seek, &length), image.Path());
  const std::optional<FoundSector> found = FindSector(image, options.lba);
  const std::string sector = fmt::format("sector {} ({})", options.lba, DiscTime(options.lba));
  const std::string file = TerminalText(image.DataFile());
  if (options.json) {
    PrintJson({{"pSeek64", seek},
               {"pLength64", length == kToEndOfFile ? Json(nullptr) : Json(length)},
               {"session", found ? Json(found->session) : Json(nullptr)},
               {"track", found ? Json(found->track) : Json(nullptr)},
               {"file", file},
               {"byte", found ? Json(found->byte) : Json(nullptr)}});
  } else if (found) {
    Print(fmt::format("S{} begins at byte {} of {}, in {}track {} of session {}.\n", sector.substr(1), found->byte,
                      file, found->isPregap ? "the pregap of " : "", found->track, found->session));
  }
  if (!found) {
    return Failure(image.Path(), sector + " is in no track: between sessions or after the end", E_INVALIDARG).Report();
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
