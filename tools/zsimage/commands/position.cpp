#include <algorithm>
#include <optional>
#include <utility>

#include <fmt/format.h>

#include "commands/commands.h"
#include "image/disc_text.h"
#include "image/open_image.h"
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
  std::string obstacle; ///< Why the data file has no such byte; empty if it has.
  HRESULT code;         ///< Result code of the obstacle.
};

/// Finds the first track that contains a sector, its pregap included.
std::optional<FoundSector> FindSector(const imagefile::Image& image, std::int64_t lba) {
  const UHYPER size = DataSize(image);
  for (const imagefile::Session& session : image.Sessions()) {
    unsigned number = 0;
    ULONG silence = 0; // Sectors of PREGAP lines up to the track; they are not in the file.
    for (const imagefile::Track& track : session.Tracks()) {
      const std::int64_t offset = lba - track.Start();
      const ULONG before =
          std::exchange(silence, track.Start() - imagefile::FilePosition(image.Record(), track.Record()));
      const std::int64_t own = silence > before ? silence - before : 0;
      const std::int64_t pregap = track.PregapSectorsInFile();
      const bool isLost = track.SectorsInFile() == 0 && track.MissingSectors(size) != 0; // Its length is not known.
      ++number;
      if (offset < -own - pregap || (offset >= track.SectorsInFile() && !isLost)) {
        continue;
      }
      const UHYPER byte = track.OffsetBytes() + static_cast<UHYPER>(offset) * track.BlockBytes();
      FoundSector found{session.Number(), number, offset < 0, byte, "", E_INVALIDARG};
      if (offset < -pregap) {
        found.obstacle =
            fmt::format("is silence of a PREGAP line before track {} of session {}, which is not in the file", number,
                        session.Number());
      } else if (byte > size || size - byte < track.BlockBytes()) {
        found.obstacle = fmt::format("is cut off: {} ends before this sector of track {} of session {}",
                                     TerminalText(image.DataFile()), number, session.Number());
        found.code = HRESULT_FROM_WIN32(ERROR_HANDLE_EOF);
      }
      return found;
    }
  }
  return std::nullopt;
}

/// @throws Failure if sectors of the image have no positions.
void RequirePositions(const imagefile::Image& image) {
  const auto sessions = image.Sessions();
  const auto isEmpty = [](const imagefile::Session& session) { return session.Tracks().empty(); };
  if (sessions.empty() || std::ranges::any_of(sessions, isEmpty)) {
    throw Failure(image.Path(), "the image has a session without tracks, so its sectors have no positions", ZSE_FAILED);
  }
}

int RunPosition(const PositionOptions& options) {
  imagefile::Image image = OpenImage(options.path);
  RequirePositions(image);
  // The component returns the start of the track, not of the sector, and leaves the length unchanged without a track.
  UHYPER seek = 0;
  UHYPER length = kToEndOfFile;
  Check(imagefile::Interfaces().Images().GetPositionFromLBA(&image.Record(), options.lba, &seek, &length),
        image.Path());
  RequireSizes(image, image.Sessions().size());
  const std::optional<FoundSector> found = FindSector(image, options.lba);
  const std::string sector = fmt::format("sector {} ({})", options.lba, DiscTime(options.lba));
  const std::string file = TerminalText(image.DataFile());
  const std::string obstacle = found ? found->obstacle : "is in no track: between sessions or after the end";
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
  return obstacle.empty() ? 0
                          : Report(Failure(image.Path(), sector + " " + obstacle, found ? found->code : E_INVALIDARG));
}

} // namespace

void AddPosition(Command* tool) {
  auto [command, options] = tool->Add("position", "Find the byte of a sector in the data file", RunPosition);
  command.AddJson(&options.json, "Print one JSON object");
  command.AddImage(&options.path);
  command.add_option("LBA", options.lba, "Number of the sector on the disc")->required();
  command.AddExamples({{"zsimage position disc.cue 13650", "Where the data of sector 13650 begin."}});
}
