#include <cstdio>
#include <optional>

#include "commands.h"
#include "failure.h"
#include "host.h"
#include "record_json.h"

namespace {

struct BytePosition {
  UHYPER seek;
  std::optional<UHYPER> length;
};

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

/// The length is left alone when no track holds the sector. Asking twice, over different values, shows whether it
/// was written.
BytePosition FindPosition(const Host& host, ImageRecord& image, ULONG lba) {
  UHYPER seek = 0;
  UHYPER lengths[] = {0, 1};
  for (UHYPER& length : lengths) {
    Check(host.Images().GetPositionFromLBA(&image.Info(), lba, &seek, &length), image.Path());
  }
  return {seek, lengths[0] == lengths[1] ? std::optional(lengths[0]) : std::nullopt};
}

} // namespace

int RunPosition(const PositionOptions& options) {
  const Host host;
  ImageRecord image(host, options.path);
  RequireTracks(image);
  const BytePosition position = FindPosition(host, image, options.lba);
  if (options.json) {
    PrintJson({{"pSeek64", position.seek}, {"pLength64", position.length ? Json(*position.length) : Json(nullptr)}});
    return 0;
  }
  std::printf("Sector %u is found from byte %llu of %s on", options.lba, static_cast<unsigned long long>(position.seek),
              TerminalText(image.DataFile()).c_str());
  if (position.length) {
    std::printf("; its track holds %llu bytes", static_cast<unsigned long long>(*position.length));
  } else {
    std::printf("; no track of the first session holds it");
  }
  std::printf(".\n");
  return 0;
}
