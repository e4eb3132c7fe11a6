#include "picture/disc_layout.h"

#include <algorithm>

#include "image/disc_words.h"

namespace {

constexpr double kLeadWidth = 14;
constexpr double kSmallestWidth = 2;

bool IsLead(const DiscStretch& stretch) {
  return stretch.kind == DiscStretch::Kind::LeadIn || stretch.kind == DiscStretch::Kind::LeadOut;
}

/// Appends the stretches of a session. Sectors between two tracks become the pregap of the later track.
void AppendSession(const ImageRecord& image, unsigned session, std::vector<DiscStretch>* stretches) {
  const ZSCUESHEET& sheet = image.Session(session + 1);
  using enum DiscStretch::Kind;
  std::int64_t position = sheet.nTracks == 0 ? 0 : std::int64_t{sheet.pZSTracks[0].dwLBA} - sheet.pZSTracks[0].Pregap;
  TextColumn titles(sheet.ZSCDTEXT.bstrTitle);
  TextColumn performers(sheet.ZSCDTEXT.bstrPerformer);
  stretches->push_back({LeadIn, session, 0, position, 0, 0, {}, {}});
  UINT i = 0;
  image.VisitTracks(session + 1, [&](const ZSTRACK& track, const TrackExtent& extent) {
    const std::int64_t start = track.dwLBA;
    if (start > position) {
      stretches->push_back({Pregap, session, i, position, start - position, 0, {}, {}});
    }
    stretches->push_back({Track, session, i++, start, extent.sectors, extent.missing, titles.Show(track.bstrTitle),
                          performers.Show(track.bstrPerformer)});
    position = std::max(position, start + extent.sectors);
  });
  stretches->push_back({LeadOut, session, 0, position, 0, 0, {}, {}});
}

} // namespace

std::vector<DiscStretch> LayOutDisc(const ImageRecord& image, double width) {
  std::vector<DiscStretch> stretches;
  for (unsigned session = 0; session < image.Info().nSessions; ++session) {
    AppendSession(image, session, &stretches);
  }
  double sectors = 0;
  for (const DiscStretch& stretch : stretches) {
    sectors += static_cast<double>(stretch.sectors);
  }
  const double leads = static_cast<double>(std::count_if(stretches.begin(), stretches.end(), IsLead));
  const double others = static_cast<double>(stretches.size()) - leads;
  const double lead = std::min(kLeadWidth, width / 4 / std::max(leads, 1.0));
  const double smallest = std::min(kSmallestWidth, width / 4 / std::max(others, 1.0));
  const double rest = width - leads * lead - others * smallest;
  double begin = 0;
  for (DiscStretch& stretch : stretches) {
    const double share = sectors == 0 ? 0 : static_cast<double>(stretch.sectors) / sectors;
    stretch.begin = begin;
    stretch.width = IsLead(stretch) ? lead : smallest + share * rest;
    begin += stretch.width;
  }
  return stretches;
}
