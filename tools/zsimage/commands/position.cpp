#include <algorithm>
#include <optional>

#include "commands/commands.h"
#include "commands/record_json.h"
#include "image/disc_words.h"
#include "image/host.h"
#include "output/failure.h"
#include "output/standard_output.h"

namespace {

/// A sector of the disc in the data file.
struct SectorPlace {
  unsigned session; ///< From 1, as the track.
  UINT track;
  bool isPregap;
  UHYPER byte;
};

/// Where a sector is, in the first track that holds it or has it in its pregap. The component's answer for hosts is
/// that of the whole track.
std::optional<SectorPlace> PlaceOf(const ImageRecord& image, std::int64_t lba) {
  std::optional<SectorPlace> found;
  for (unsigned session = 1; session <= image.Info().nSessions; ++session) {
    UINT number = 0;
    image.VisitTracks(session, [&](const ZSTRACK& track, const TrackPlace& place) {
      const std::int64_t offset = lba - track.dwLBA;
      ++number;
      if (!found && offset >= -std::int64_t{place.pregap} && offset < place.sectors) {
        found = {session, number, offset < 0, place.begin + static_cast<UHYPER>(offset) * place.blockSize};
      }
    });
  }
  return found;
}

} // namespace

int RunPosition(const PositionOptions& options) {
  const Host host;
  ImageRecord image(host, options.path);
  const auto* const sheets = image.Info().pZSCueSheet;
  const auto hasTracks = [](const ZSCUESHEET* sheet) { return sheet->nTracks > 0; };
  if (image.Info().nSessions == 0 || !std::all_of(sheets, sheets + image.Info().nSessions, hasTracks)) {
    throw Failure(image.Path(), "the image has a session without tracks, so its sectors have no positions", ZSE_FAILED);
  }
  UHYPER seek = 0;
  UHYPER length = kToEndOfFile; // Not written when no track holds the sector.
  Check(host.Images().GetPositionFromLBA(&image.Info(), options.lba, &seek, &length), image.Path());
  const std::optional<SectorPlace> place = PlaceOf(image, options.lba);
  const std::string sector = Format("sector %u (", options.lba) + DiscTime(options.lba) + ")";
  if (options.json) {
    PrintJson({{"pSeek64", seek},
               {"pLength64", length == kToEndOfFile ? Json(nullptr) : Json(length)},
               {"session", place ? Json(place->session) : Json(nullptr)},
               {"track", place ? Json(place->track) : Json(nullptr)},
               {"file", TerminalText(image.DataFile())},
               {"byte", place ? Json(place->byte) : Json(nullptr)}});
  } else if (place) {
    Print("S" + sector.substr(1) + " begins at byte " + std::to_string(place->byte) + " of " +
          TerminalText(image.DataFile()) + (place->isPregap ? ", in the pregap of " : ", in ") +
          Format("track %u of session %u.\n", place->track, place->session));
  }
  return place ? 0
               : Failure(image.Path(), sector + " is in no track: between sessions or after the end", E_INVALIDARG)
                     .Report();
}
