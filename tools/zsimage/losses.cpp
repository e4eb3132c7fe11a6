#include "losses.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "track_place.h"

std::vector<std::string> LossesOf(const ImageRecord& image, DescriptionKind kind, unsigned sessions, bool withData) {
  const zsimagefileinfo& info = image.Info();
  const bool isSheet = kind == DescriptionKind::CueSheet;
  std::vector<std::string> losses;
  if (sessions < info.nSessions) {
    losses.push_back(
        Format("a CUE sheet holds one session; the other %u of the image are left out", info.nSessions - sessions));
  }
  if ((info.lMask & ZSIMAGEMASK_SUBCHANNEL) != 0) {
    losses.emplace_back(isSheet || withData ? "the sub-channel data of the image are left out"
                                            : "the sub-channel data are not copied; the new file expects a .SUB file");
  }
  const auto addTracks = [&](const std::function<bool(const ZSTRACK&)>& losesIt, const char* words) {
    unsigned count = 0;
    for (unsigned session = 1; session <= sessions; ++session) {
      const ZSCUESHEET& sheet = image.Session(session);
      count += static_cast<unsigned>(std::count_if(sheet.pZSTracks, sheet.pZSTracks + sheet.nTracks, losesIt));
    }
    if (count != 0) {
      losses.push_back(Format("%u track%s: ", count, count == 1 ? "" : "s") + words);
    }
  };
  addTracks([](const ZSTRACK& track) { return track.pdwIndex != nullptr && track.nCountIndex > 2; },
            "indexes above 1 are left out");
  addTracks(
      [=](const ZSTRACK& track) {
        return isSheet && track.Pregap != 0 && (track.Mode != ZSMODE_AUDIO || track.dwLBA == 0);
      },
      "the pregap is not marked; its sectors count to the track before");
  addTracks(
      [&, silence = ULONG{0}](const ZSTRACK& track) mutable {
        const ULONG before = std::exchange(silence, track.dwLBA - FileSector(info, track));
        return silence != before;
      },
      "the silence of a PREGAP line becomes sectors that count to the track before");
  return losses;
}
