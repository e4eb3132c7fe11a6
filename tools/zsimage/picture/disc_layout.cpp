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
void AppendSession(const imagefile::Session& session, UHYPER dataSize, std::vector<DiscStretch>* stretches) {
  const ZSCUESHEET& sheet = session.Record();
  const unsigned index = session.Number() - 1;
  using enum DiscStretch::Kind;
  std::int64_t position = sheet.nTracks == 0 ? 0 : std::int64_t{sheet.pZSTracks[0].dwLBA} - sheet.pZSTracks[0].Pregap;
  TextColumn titles(sheet.ZSCDTEXT.bstrTitle);
  TextColumn performers(sheet.ZSCDTEXT.bstrPerformer);
  stretches->push_back({LeadIn, index, 0, position, 0, 0, {}, {}});
  UINT i = 0;
  for (const imagefile::Track& track : session.Tracks()) {
    const std::int64_t start = track.Start();
    if (start > position) {
      stretches->push_back({Pregap, index, i, position, start - position, 0, {}, {}});
    }
    stretches->push_back({Track, index, i++, start, track.SectorsInFile(), track.MissingSectors(dataSize),
                          titles.Show(track.Record().bstrTitle), performers.Show(track.Record().bstrPerformer)});
    position = std::max(position, start + track.SectorsInFile());
  }
  stretches->push_back({LeadOut, index, 0, position, 0, 0, {}, {}});
}

} // namespace

std::vector<DiscStretch> LayOutDisc(const imagefile::Image& image, double width) {
  std::vector<DiscStretch> stretches;
  for (const imagefile::Session& session : image.Sessions()) {
    AppendSession(session, DataSize(image), &stretches);
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
