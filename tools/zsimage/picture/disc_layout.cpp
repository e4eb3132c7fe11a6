#include "picture/disc_layout.h"

#include <algorithm>

#include "image/disc_text.h"

namespace {

constexpr double kLeadWidth = 14;
constexpr double kSmallestWidth = 2;

bool IsLead(const DiscSegment& segment) {
  return segment.kind == DiscSegment::Kind::LeadIn || segment.kind == DiscSegment::Kind::LeadOut;
}

/// Appends the segments of a session. Sectors between two tracks become the pregap of the later track.
void AppendSession(const imagefile::Session& session, UHYPER dataSize, std::vector<DiscSegment>* segments) {
  const ZSCUESHEET& sheet = session.Record();
  const unsigned index = session.Number() - 1;
  using enum DiscSegment::Kind;
  std::int64_t position = sheet.nTracks == 0 ? 0 : std::int64_t{sheet.pZSTracks[0].dwLBA} - sheet.pZSTracks[0].Pregap;
  TextColumn titles(sheet.ZSCDTEXT.bstrTitle);
  TextColumn performers(sheet.ZSCDTEXT.bstrPerformer);
  segments->push_back({LeadIn, index, 0, position, 0, 0, {}, {}});
  UINT i = 0;
  for (const imagefile::Track& track : session.Tracks()) {
    const std::int64_t start = track.Start();
    if (start > position) {
      segments->push_back({Pregap, index, i, position, start - position, 0, {}, {}});
    }
    segments->push_back({Track, index, i++, start, track.SectorsInFile(), track.MissingSectors(dataSize),
                         titles.Show(track.Record().bstrTitle), performers.Show(track.Record().bstrPerformer)});
    position = std::max(position, start + track.SectorsInFile());
  }
  segments->push_back({LeadOut, index, 0, position, 0, 0, {}, {}});
}

} // namespace

std::vector<DiscSegment> LayOutDisc(const imagefile::Image& image, double width) {
  std::vector<DiscSegment> segments;
  for (const imagefile::Session& session : image.Sessions()) {
    AppendSession(session, DataSize(image), &segments);
  }
  double sectors = 0;
  for (const DiscSegment& segment : segments) {
    sectors += static_cast<double>(segment.sectors);
  }
  const double leads = static_cast<double>(std::ranges::count_if(segments, IsLead));
  const double others = static_cast<double>(segments.size()) - leads;
  const double lead = std::min(kLeadWidth, width / 4 / std::max(leads, 1.0));
  const double smallest = std::min(kSmallestWidth, width / 4 / std::max(others, 1.0));
  const double rest = width - leads * lead - others * smallest;
  double begin = 0;
  for (DiscSegment& segment : segments) {
    const double share = sectors == 0 ? 0 : static_cast<double>(segment.sectors) / sectors;
    segment.begin = begin;
    segment.width = IsLead(segment) ? lead : smallest + share * rest;
    begin += segment.width;
  }
  return segments;
}
