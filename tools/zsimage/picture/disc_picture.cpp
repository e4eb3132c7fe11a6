#include "picture/disc_picture.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include <fmt/format.h>

#include "disc/msf.h"
#include "files/paths.h"
#include "image/disc_text.h"
#include "picture/disc_layout.h"
#include "picture/svg.h"

namespace {

using Kind = DiscSegment::Kind;

constexpr double kMargin = 24;
constexpr double kWidth = 960;
constexpr double kInner = kWidth - 2 * kMargin;
constexpr double kCentre = 176; ///< Centre of the disc, from the left and from the top.
constexpr double kFirstRadius = 62;
constexpr double kLastRadius = 146;
constexpr double kFactsLeft = 372;
constexpr double kLineTop = 384;
constexpr double kLineHeight = 52;
constexpr double kListTop = 512;
constexpr double kRow = 24;

const char* ClassOf(ZSMODETYPE mode) {
  const bool isMode2 = mode != ZSMODE_UNKNOWN && (mode & ZSMODE_2) != 0;
  return mode == ZSMODE_AUDIO ? "audio" : mode == ZSMODE_1 ? "mode1" : isMode2 ? "mode2" : "other";
}

/// Returns the radius for a coordinate of the layout. The data of a disc has constant density, so the area of a ring is
/// proportional to its width in the layout.
double RadiusAt(double coordinate) {
  const double first = kFirstRadius * kFirstRadius;
  return std::sqrt(first + (kLastRadius * kLastRadius - first) * coordinate / kInner);
}

/// Picture of one disc, drawn part by part.
class DiscPicture {
public:
  DiscPicture(const imagefile::Image& image, std::string kind)
      : m_image(image), m_info(image.Record()), m_kind(std::move(kind)), m_segments(LayOutDisc(image, kInner)) {}

  std::string Draw() {
    const bool hasSessions = m_info.nSessions > 1;
    const auto isRow = [&](const DiscSegment& segment) {
      return segment.kind == Kind::Track || (hasSessions && segment.kind == Kind::LeadIn);
    };
    const auto rows = std::ranges::count_if(m_segments, isRow);
    DrawRings();
    DrawFacts();
    DrawLegend();
    DrawLine();
    DrawTimes();
    DrawList();
    return svg::Picture(kWidth, kListTop + kRow * static_cast<double>(rows) + kMargin, Name(), m_content);
  }

private:
  const ZSTRACK& TrackOf(const DiscSegment& segment) const {
    return m_info.pZSCueSheet[segment.session]->pZSTracks[segment.track];
  }

  /// Returns a text of the disc; empty if the image has none.
  std::string TextOfDisc(BSTR ZSCDTEXT::*field) const {
    return m_info.nSessions == 0 ? "" : TerminalText(TextOf(m_info.pZSCueSheet[0]->ZSCDTEXT, field));
  }

  std::string Name() const {
    const std::string title = TextOfDisc(&ZSCDTEXT::bstrTitle);
    return title.empty() ? TerminalText(FileName(m_image.Path())) : title;
  }

  std::string ClassesOf(const DiscSegment& segment) const {
    if (segment.kind != Kind::Track) {
      return segment.kind == Kind::Pregap ? "segment pregap" : "segment lead";
    }
    return fmt::format("segment track {}{}", ClassOf(TrackOf(segment).Mode), segment.track % 2 == 0 ? "" : " even");
  }

  std::string Describe(const DiscSegment& segment) const {
    const std::string session = m_info.nSessions > 1 ? fmt::format("Session {}, ", segment.session + 1) : "";
    if (segment.kind == Kind::LeadIn || segment.kind == Kind::LeadOut) {
      return fmt::format("{}{} (not to scale)", session, segment.kind == Kind::LeadIn ? "lead-in" : "lead-out");
    }
    const ZSTRACK& track = TrackOf(segment);
    const std::string times =
        fmt::format("\nstart {}, sector {}\nlength {}, {} sectors", DiscTime(static_cast<ULONG>(segment.first)),
                    segment.first, Duration(static_cast<UHYPER>(segment.sectors)), segment.sectors);
    if (segment.kind == Kind::Pregap) {
      return fmt::format("{}pregap of track {}{}", session, UINT{track.TNO}, times);
    }
    std::string words = fmt::format("{}track {}", session, UINT{track.TNO});
    for (const std::string& text : {segment.title, segment.performer}) {
      words += text.empty() ? "" : "\n" + text;
    }
    words += fmt::format("\n{}{}\nsize {}", DescribeMode(track.Mode), times, SizeOf(segment));
    return words + (segment.missing == 0 ? "" : "\n" + DescribeMissing(segment.missing));
  }

  std::string SizeOf(const DiscSegment& segment) const {
    const LONG size = TrackOf(segment).BlockSize;
    return ReadableSize(static_cast<UHYPER>(segment.sectors) * static_cast<UHYPER>(std::max(size, 0)));
  }

  void DrawRings() {
    m_content += "<g id=\"disc\">\n";
    DrawCircle(kLastRadius + 6, "plate");
    for (auto segment = m_segments.rbegin(); segment != m_segments.rend(); ++segment) { // Inner rings cover outer.
      const double radius = RadiusAt(segment->begin + segment->width);
      DrawCircle(radius, "back");
      DrawCircle(radius, ClassesOf(*segment) + (segment->width > 12 ? " rim" : ""), Describe(*segment));
    }
    DrawCircle(kFirstRadius, "plate");
    DrawCircle(20, "back");
    m_content += "</g>\n";
  }

  void DrawCircle(double radius, const std::string& classes, const std::string& title = "") {
    m_content += svg::Circle(kCentre, kCentre, radius, classes, title);
  }

  void DrawFacts() {
    const auto tracks =
        std::ranges::count_if(m_segments, [](const DiscSegment& segment) { return segment.kind == Kind::Track; });
    const unsigned sessions = m_info.nSessions;
    const std::string performer = TextOfDisc(&ZSCDTEXT::bstrPerformer);
    const std::string path = TerminalText(m_image.Path());
    double y = 62;
    DrawFact(y, "name", Name());
    if (!performer.empty()) {
      DrawFact(y += 28, "by", performer);
    }
    DrawFact(y += 32, "", fmt::format("{}, {}", m_kind, DescribeFormat(m_info.ZSImageFormat)));
    DrawFact(y += 22, "",
             fmt::format("{}{}, playing time {}", Counted(static_cast<UHYPER>(tracks), "track"),
                         sessions == 1 ? "" : fmt::format(" in {} sessions", sessions),
                         Duration(static_cast<UHYPER>(Sectors()))));
    if (path != Name()) {
      DrawFact(y + 22, "dim", path);
    }
  }

  void DrawFact(double y, const char* classes, const std::string& text) {
    m_content += svg::Text(kFactsLeft, y, classes, text, kWidth - kMargin - kFactsLeft);
  }

  std::int64_t Sectors() const {
    std::int64_t sectors = 0;
    for (const DiscSegment& segment : m_segments) {
      sectors += segment.sectors;
    }
    return sectors;
  }

  void DrawLegend() {
    static constexpr struct {
      const char* cssClass;
      const char* words;
    } kEntries[] = {{"audio", "audio"},      {"mode1", "data, mode 1"}, {"mode2", "data, mode 2"},
                    {"other", "other mode"}, {"pregap", "pregap"},      {"lead", "lead-in, lead-out"}};
    m_content += "<g id=\"legend\">\n";
    double x = kFactsLeft;
    double y = 214;
    for (const auto& entry : kEntries) {
      const bool isShown = std::ranges::any_of(
          m_segments, [&](const DiscSegment& segment) { return svg::HasClass(ClassesOf(segment), entry.cssClass); });
      if (isShown) {
        m_content += svg::Rectangle(x, y - 11, 14, 14, entry.cssClass) + svg::Text(x + 22, y, "", entry.words, 160);
        y += x == kFactsLeft ? 0 : kRow;
        x = x == kFactsLeft ? kFactsLeft + 190 : kFactsLeft;
      }
    }
    m_content += "</g>\n";
  }

  void DrawLine() {
    m_content += "<g id=\"line\">\n";
    for (const DiscSegment& segment : m_segments) {
      const double x = kMargin + segment.begin;
      if (segment.kind == Kind::LeadIn && m_info.nSessions > 1) {
        DrawSessionName(segment);
      }
      const std::string box = svg::Rectangle(x, kLineTop, segment.width, kLineHeight, segment.width > 6 ? "edge" : "");
      m_content += svg::Group(ClassesOf(segment), Describe(segment),
                              box + (segment.kind == Kind::Track ? NumberOf(segment, x) : ""));
    }
    m_content += "</g>\n";
  }

  void DrawSessionName(const DiscSegment& leadIn) {
    const auto leadOut = std::ranges::find_if(m_segments, [&](const DiscSegment& segment) {
      return segment.kind == Kind::LeadOut && segment.session == leadIn.session;
    });
    const double room = leadOut->begin + leadOut->width - leadIn.begin;
    const std::string number = std::to_string(leadIn.session + 1);
    const std::string name = "Session " + number;
    m_content += svg::Text(kMargin + leadIn.begin, kLineTop - 10, "dim",
                           svg::TextWidth(name, "dim") < room ? name : number, room);
  }

  /// Returns the number of a track and, if there is room, its title.
  std::string NumberOf(const DiscSegment& segment, double x) const {
    const std::string number = std::to_string(TrackOf(segment).TNO);
    const double room = segment.width - 6;
    if (svg::TextWidth(number, "inside") > room) {
      return "";
    }
    const bool hasTitle = room >= 48 && !segment.title.empty();
    return svg::Text(x + 3, kLineTop + (hasTitle ? 22 : 31), "inside", number, room) +
           (hasTitle ? svg::Text(x + 3, kLineTop + 40, "inside small", segment.title, room) : "");
  }

  /// Draws as many times below the line as there is room for.
  void DrawTimes() {
    const std::int64_t sectors = Sectors();
    static constexpr std::int64_t kSteps[] = {1, 2, 5, 10, 30, 60, 120, 300, 600, 1200, 3600, 7200};
    const auto* step = std::find_if(std::begin(kSteps), std::end(kSteps) - 1,
                                    [&](std::int64_t seconds) { return sectors / kFramesPerSecond / seconds <= 10; });
    const std::int64_t interval = *step * kFramesPerSecond;
    double freeFrom = 0;
    for (const DiscSegment& segment : m_segments) {
      if (segment.sectors != 0 && sectors / interval < 1000) {
        DrawTimesOf(segment, interval, &freeFrom);
      }
    }
  }

  /// Draws the times of one segment. @param freeFrom Coordinate after the last time that was drawn.
  void DrawTimesOf(const DiscSegment& segment, std::int64_t interval, double* freeFrom) {
    const std::int64_t first = (std::max<std::int64_t>(segment.first, 0) + interval - 1) / interval * interval;
    for (std::int64_t sector = first; sector < segment.first + segment.sectors; sector += interval) {
      const double part = static_cast<double>(sector - segment.first) / static_cast<double>(segment.sectors);
      const double x = kMargin + segment.begin + part * segment.width;
      const std::int64_t seconds = sector / kFramesPerSecond;
      const std::string time = fmt::format("{}:{:02}", seconds / 60, seconds % 60);
      const double room = svg::TextWidth(time, "small");
      if (x >= *freeFrom && x + room < kWidth - kMargin) {
        m_content += svg::Line(x, kLineTop + kLineHeight, 0, 6);
        m_content += svg::Text(x, kLineTop + kLineHeight + 18, "dim small", time, room + 1);
        *freeFrom = x + room + 10;
      }
    }
  }

  void DrawList() {
    double y = kListTop;
    m_content += svg::Text(kStartRight, y - 8, "dim small right", "start", 80) +
                 svg::Text(kLengthRight, y - 8, "dim small right", "length", 80) +
                 svg::Text(kSizeRight, y - 8, "dim small right", "size", 80);
    m_content += "<g id=\"tracks\">\n";
    for (const DiscSegment& segment : m_segments) {
      if (segment.kind == Kind::LeadIn && m_info.nSessions > 1) {
        m_content += svg::Text(kMargin, y + 16, "dim", fmt::format("Session {}", segment.session + 1), 200);
        y += kRow;
      } else if (segment.kind == Kind::Track) {
        DrawRow(segment, y);
        y += kRow;
      }
    }
    m_content += "</g>\n";
  }

  void DrawRow(const DiscSegment& segment, double y) {
    const ZSTRACK& track = TrackOf(segment);
    const bool hasTitle = !segment.title.empty();
    const bool hasPerformer = !segment.performer.empty();
    const std::string name = fmt::format("{}{}{}", hasTitle ? segment.title : DescribeMode(track.Mode),
                                         segment.missing == 0 ? "" : ", ", DescribeMissing(segment.missing));
    const double base = y + 16;
    const std::string row = svg::Rectangle(kMargin, y, kInner, kRow, "hit") +
                            svg::Rectangle(kMargin + 4, y + 6, 12, 12, ClassOf(track.Mode)) +
                            svg::Text(78, base, "dim right", std::to_string(track.TNO), 34) +
                            svg::Text(90, base, hasTitle ? "" : "dim", name, hasPerformer ? 370 : 590) +
                            (hasPerformer ? svg::Text(470, base, "dim", segment.performer, 210) : "") +
                            svg::Text(kStartRight, base, "right", DiscTime(track.dwLBA), 80) +
                            svg::Text(kLengthRight, base, "right", Duration(static_cast<UHYPER>(segment.sectors)), 80) +
                            svg::Text(kSizeRight, base, "dim right", SizeOf(segment), 80) +
                            svg::Line(kMargin, y + kRow, kInner, 0);
    m_content += svg::Group("row", Describe(segment), row);
  }

  // Right edges of the list's columns.
  static constexpr double kStartRight = 766;
  static constexpr double kLengthRight = 850;
  static constexpr double kSizeRight = kWidth - kMargin - 4;

  const imagefile::Image& m_image;
  const zsimagefileinfo& m_info;
  std::string m_kind;
  std::vector<DiscSegment> m_segments;
  std::string m_content;
};

} // namespace

std::string DrawDisc(const imagefile::Image& image, const std::string& kind) { return DiscPicture(image, kind).Draw(); }
