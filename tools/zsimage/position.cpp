#include <cstdio>
#include <optional>
#include <vector>

#include "commands.h"
#include "failure.h"
#include "host.h"
#include "record_json.h"
#include "track_place.h"

namespace {

/// The component walks over tracks that must be there.
void RequireTracks(const ImageRecord& image) {
  const zsimagefileinfo& info = image.Info();
  bool walkable = info.nSessions > 0;
  for (USHORT i = 0; i < info.nSessions; ++i) {
    walkable = walkable && info.pZSCueSheet[i]->nTracks > 0;
  }
  if (!walkable) {
    throw Failure(image.Path(), "the image has a session without tracks, so its sectors have no positions", ZSE_FAILED);
  }
}

/// A sector of the disc in the data file.
struct SectorPlace {
  unsigned session; ///< From 1, as the track.
  UINT track;
  UHYPER byte;
};

/// Where a sector is, in the first track that holds it. The component's answer for hosts is that of the whole track.
std::optional<SectorPlace> PlaceOf(const zsimagefileinfo& info, ULONG lba) {
  for (unsigned session = 0; session < info.nSessions; ++session) {
    const std::vector<TrackPlace> places = PlacesOfSession(info, session);
    for (UINT i = 0; i < places.size(); ++i) {
      const ULONG first = info.pZSCueSheet[session]->pZSTracks[i].dwLBA;
      if (lba >= first && lba - first < places[i].sectors) {
        return SectorPlace{session + 1, i + 1, places[i].begin + UHYPER{lba - first} * places[i].blockSize};
      }
    }
  }
  return std::nullopt;
}

} // namespace

int RunPosition(const PositionOptions& options) {
  const Host host;
  ImageRecord image(host, options.path);
  RequireTracks(image);
  UHYPER seek = 0;
  UHYPER length = kToEndOfFile; // Not written when no track holds the sector.
  Check(host.Images().GetPositionFromLBA(&image.Info(), options.lba, &seek, &length), image.Path());
  const std::optional<SectorPlace> place = PlaceOf(image.Info(), options.lba);
  if (options.json) {
    PrintJson({{"pSeek64", seek},
               {"pLength64", length == kToEndOfFile ? Json(nullptr) : Json(length)},
               {"byte", place ? Json(place->byte) : Json(nullptr)}});
  } else if (place) {
    std::printf("Sector %u begins at byte %llu of %s, in track %u of session %u.\n", options.lba,
                static_cast<unsigned long long>(place->byte), TerminalText(image.DataFile()).c_str(), place->track,
                place->session);
  } else {
    std::printf("Sector %u is in no track of %s: in a pregap, between sessions or behind the end.\n", options.lba,
                TerminalText(image.Path()).c_str());
  }
  return 0;
}
