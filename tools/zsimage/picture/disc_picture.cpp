#include "picture/disc_picture.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <sstream>

#include "disc/msf.h"
#include "files/files.h"
#include "image/disc_words.h"
#include "picture/disc_layout.h"
#include "picture/markup.h"

namespace {

using Kind = DiscStretch::Kind;

constexpr double kMargin = 24;
constexpr double kWidth = 960;
constexpr double kInner = kWidth - 2 * kMargin;
constexpr double kCentre = 176; ///< Of the disc, from the left and from the top.
constexpr double kFirstRadius = 62;
constexpr double kLastRadius = 146;
constexpr double kFactsLeft = 372;
constexpr double kLineTop = 384;
constexpr double kLineHeight = 52;
constexpr double kListTop = 512;
constexpr double kRow = 24;
constexpr double kBold = 1.12; ///< How much wider bold letters are.

/// Presentation attributes of the classes. Viewers that apply no style sheets, or none with variables, draw by them.
constexpr struct {
  std::string_view cssClass;
  std::string_view attributes;
} kLooks[] = {
    {"back", R"(fill="#fbfbf9")"},
    {"plate", R"(fill="#e9eaec")"},
    {"lead", R"(fill="#aab0b8")"},
    {"pregap", R"(fill="#d3b64f")"},
    {"audio", R"(fill="#2b9a6b")"},
    {"mode1", R"(fill="#3b76cf")"},
    {"mode2", R"(fill="#8b5cc7")"},
    {"other", R"(fill="#a0664a")"},
    {"even", R"(fill-opacity=".8")"},
    {"edge", R"(stroke="#fbfbf9")"},
    {"rim", R"(stroke="#fbfbf9" stroke-width=".5")"},
    {"rule", R"(stroke="#e2e3e0")"},
    {"hit", R"(fill="#e9eaec" fill-opacity="0")"},
    {"dim", R"(fill="#666e78")"},
    {"inside", R"(fill="#fff" fill-opacity="1" font-weight="600")"},
    {"name", R"(font-size="24" font-weight="600")"},
    {"by", R"(font-size="16")"},
    {"small", R"(font-size="11")"},
    {"right", R"(text-anchor="end")"},
};

/// A style sheet goes before presentation attributes.
constexpr const char* kStyle = R"(<style>
@media (prefers-color-scheme: dark) {
  svg { fill: #e8eaed; } .back { fill: #15181c; } .edge, .rim { stroke: #15181c; } .plate, .hit { fill: #23282e; }
  .lead { fill: #545c66; } .pregap { fill: #b79a3a; } .audio { fill: #35a877; } .mode1 { fill: #5b8fe0; }
  .mode2 { fill: #a27be0; } .other { fill: #bd8263; } .rule { stroke: #2b3036; } .dim { fill: #9aa3ad; }
}
.row:hover .hit { fill-opacity: 1; } .stretch:hover { filter: brightness(1.25); }
</style>
)";

/// Whether a list of classes, with a blank between two, has a class.
bool HasClass(const std::string& classes, std::string_view cssClass) {
  std::istringstream words(classes);
  return std::find(std::istream_iterator<std::string>(words), {}, cssClass) != std::istream_iterator<std::string>();
}

/// The class attribute and the presentation attributes of a list of classes.
std::string Look(const std::string& classes) {
  std::string look = " class=\"" + classes + "\"";
  for (const auto& entry : kLooks) {
    if (HasClass(classes, entry.cssClass)) {
      look.append(" ").append(entry.attributes);
    }
  }
  return look;
}

const char* ClassOf(ZSMODETYPE mode) {
  if (mode == ZSMODE_AUDIO) {
    return "audio";
  }
  if (mode == ZSMODE_1) {
    return "mode1";
  }
  return mode != ZSMODE_UNKNOWN && (mode & ZSMODE_2) != 0 ? "mode2" : "other";
}

/// Text at a place, cut to its room. The whole of it shows when the pointer rests on it.
std::string TextAt(double x, double y, const char* cssClass, const std::string& text, double fontSize, double room) {
  const std::string shown = Fitting(text, fontSize, room);
  const std::string whole = shown == text ? "" : "<title>" + Escaped(text) + "</title>";
  return "<text x=\"" + Number(x) + "\" y=\"" + Number(y) + "\"" + Look(cssClass) + ">" + whole + Escaped(shown) +
         "</text>\n";
}

std::string Box(double x, double y, double width, double height, const std::string& cssClass) {
  return "<rect x=\"" + Number(x) + "\" y=\"" + Number(y) + "\" width=\"" + Number(width) + "\" height=\"" +
         Number(height) + "\"" + Look(cssClass) + "/>";
}

/// Draws one disc, part by part from the top.
class Picture {
public:
  explicit Picture(const ImageRecord& image)
      : m_image(image), m_info(image.Info()), m_stretches(LayOutDisc(image, kInner)) {
    for (unsigned session = 0; session < m_info.nSessions; ++session) {
      m_rows += m_info.pZSCueSheet[session]->nTracks + (m_info.nSessions > 1 ? 1 : 0);
    }
  }

  std::string Draw() {
    const std::string height = Number(kListTop + kRow * static_cast<double>(m_rows) + kMargin);
    m_svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 960 " + height + "\" width=\"960\" height=\"" +
            height +
            "\" role=\"img\" fill=\"#1d2126\" font-family=\"system-ui, 'DejaVu Sans', sans-serif\" "
            "font-size=\"13\">\n<title>" +
            Escaped(Name()) + "</title>\n" + kStyle;
    m_svg += Box(0, 0, kWidth, kListTop + kRow * static_cast<double>(m_rows) + kMargin, "back") + "\n";
    DrawRings();
    DrawFacts();
    DrawLegend();
    DrawLine();
    DrawTimes();
    DrawList();
    return std::move(m_svg) + "</svg>\n";
  }

private:
  const ZSTRACK& TrackOf(const DiscStretch& stretch) const {
    return m_info.pZSCueSheet[stretch.session]->pZSTracks[stretch.track];
  }

  std::string Name() const {
    const std::string title = m_info.nSessions == 0 ? "" : TerminalText(m_info.pZSCueSheet[0]->ZSCDTEXT.bstrTitle);
    return title.empty() ? TerminalText(FileName(m_image.Path())) : title;
  }

  std::string ClassOfStretch(const DiscStretch& stretch) const {
    if (stretch.kind != Kind::Track) {
      return stretch.kind == Kind::Pregap ? "stretch pregap" : "stretch lead";
    }
    return std::string("stretch track ") + ClassOf(TrackOf(stretch).Mode) + (stretch.track % 2 == 0 ? "" : " even");
  }

  /// What a stretch is, its times and its size, in lines.
  std::string Words(const DiscStretch& stretch) const {
    const std::string session = m_info.nSessions > 1 ? Format("Session %u, ", stretch.session + 1) : "";
    if (stretch.kind == Kind::LeadIn || stretch.kind == Kind::LeadOut) {
      return session + (stretch.kind == Kind::LeadIn ? "lead-in" : "lead-out") + " (not to scale)";
    }
    const ZSTRACK& track = TrackOf(stretch);
    const std::string number = Format("track %u", track.TNO);
    const std::string times = "\nstart " + DiscTime(static_cast<ULONG>(stretch.first)) +
                              Format(", sector %lld", static_cast<long long>(stretch.first)) + "\nlength " +
                              Duration(static_cast<UHYPER>(stretch.sectors)) +
                              Format(", %lld sectors", static_cast<long long>(stretch.sectors));
    if (stretch.kind == Kind::Pregap) {
      return session + "pregap of " + number + times;
    }
    return session + number + (stretch.title.empty() ? "" : "\n" + stretch.title) +
           (stretch.performer.empty() ? "" : "\n" + stretch.performer) + "\n" + ModeWords(track.Mode) + times +
           "\nsize " + SizeOf(stretch) + (stretch.missing == 0 ? "" : "\n" + CutOffWords(stretch.missing));
  }

  std::string SizeOf(const DiscStretch& stretch) const {
    const LONG size = TrackOf(stretch).BlockSize;
    return ReadableSize(static_cast<UHYPER>(stretch.sectors) * static_cast<UHYPER>(std::max(size, LONG{0})));
  }

  /// A disc of equal density: the area of a ring is its share, as on the real one.
  static double RadiusAt(double place) {
    const double first = kFirstRadius * kFirstRadius;
    return std::sqrt(first + (kLastRadius * kLastRadius - first) * place / kInner);
  }

  void DrawRings() {
    m_svg += "<g id=\"disc\">\n";
    Circle(kLastRadius + 6, "plate", "");
    for (auto stretch = m_stretches.rbegin(); stretch != m_stretches.rend(); ++stretch) { // The outermost lies below.
      Circle(RadiusAt(stretch->begin + stretch->width), "back", "");
      Circle(RadiusAt(stretch->begin + stretch->width), ClassOfStretch(*stretch) + (stretch->width > 12 ? " rim" : ""),
             Words(*stretch));
    }
    Circle(kFirstRadius, "plate", "");
    Circle(20, "back", "");
    m_svg += "</g>\n";
  }

  void Circle(double radius, const std::string& cssClass, const std::string& words) {
    m_svg += "<circle cx=\"" + Number(kCentre) + "\" cy=\"" + Number(kCentre) + "\" r=\"" + Number(radius) + "\"" +
             Look(cssClass) + (words.empty() ? "/>\n" : "><title>" + Escaped(words) + "</title></circle>\n");
  }

  void DrawFacts() {
    const double room = kWidth - kMargin - kFactsLeft;
    const std::string performer =
        m_info.nSessions == 0 ? "" : TerminalText(m_info.pZSCueSheet[0]->ZSCDTEXT.bstrPerformer);
    UHYPER sectors = 0;
    unsigned tracks = 0;
    for (const DiscStretch& stretch : m_stretches) {
      sectors += static_cast<UHYPER>(stretch.sectors);
      tracks += stretch.kind == Kind::Track ? 1 : 0;
    }
    m_svg += TextAt(kFactsLeft, 62, "name", Name(), 24 * kBold, room);
    double y = 62;
    m_svg += performer.empty() ? "" : TextAt(kFactsLeft, y += 28, "by", performer, 16, room);
    m_svg += TextAt(kFactsLeft, y += 32, "",
                    std::string(KindWords(m_info.ZSTYPEPROJECT)) + ", " + FormatWords(m_info.ZSImageFormat), 13, room);
    m_svg += TextAt(kFactsLeft, y += 22, "",
                    Format("%u track%s", tracks, tracks == 1 ? "" : "s") +
                        (m_info.nSessions == 1 ? "" : Format(" in %u sessions", unsigned{m_info.nSessions})) +
                        ", playing time " + Duration(sectors),
                    13, room);
    const std::string path = TerminalText(m_image.Path());
    m_svg += path == Name() ? "" : TextAt(kFactsLeft, y + 22, "dim", path, 13, room);
  }

  void DrawLegend() {
    static constexpr struct {
      const char* cssClass;
      const char* words;
    } kEntries[] = {{"audio", "audio"},      {"mode1", "data, mode 1"}, {"mode2", "data, mode 2"},
                    {"other", "other mode"}, {"pregap", "pregap"},      {"lead", "lead-in, lead-out"}};
    m_svg += "<g id=\"legend\">\n";
    double x = kFactsLeft;
    double y = 214;
    for (const auto& entry : kEntries) {
      const bool isThere = std::any_of(m_stretches.begin(), m_stretches.end(), [&](const DiscStretch& stretch) {
        return HasClass(ClassOfStretch(stretch), entry.cssClass);
      });
      if (isThere) {
        m_svg += Box(x, y - 11, 14, 14, entry.cssClass) + TextAt(x + 22, y, "", entry.words, 13, 160);
        y += x == kFactsLeft ? 0 : kRow;
        x = x == kFactsLeft ? kFactsLeft + 190 : kFactsLeft;
      }
    }
    m_svg += "</g>\n";
  }

  void DrawLine() {
    m_svg += "<g id=\"line\">\n";
    for (const DiscStretch& stretch : m_stretches) {
      const double x = kMargin + stretch.begin;
      if (stretch.kind == Kind::LeadIn && m_info.nSessions > 1) {
        DrawSessionName(stretch);
      }
      m_svg += "<g" + Look(ClassOfStretch(stretch)) + "><title>" + Escaped(Words(stretch)) + "</title>" +
               Box(x, kLineTop, stretch.width, kLineHeight, stretch.width > 6 ? "edge" : "");
      if (stretch.kind == Kind::Track) {
        DrawInside(stretch, x);
      }
      m_svg += "</g>\n";
    }
    m_svg += "</g>\n";
  }

  void DrawSessionName(const DiscStretch& leadIn) {
    const auto end = std::find_if(m_stretches.begin(), m_stretches.end(), [&](const DiscStretch& stretch) {
      return stretch.kind == Kind::LeadOut && stretch.session == leadIn.session;
    });
    const double room = end->begin + end->width - leadIn.begin;
    const std::string name = Format("Session %u", leadIn.session + 1);
    const std::string number = Format("%u", leadIn.session + 1);
    m_svg += TextAt(kMargin + leadIn.begin, kLineTop - 10, "dim", TextWidth(name, 13) < room ? name : number,
                    13 * kBold, room);
  }

  /// The number of a track and, where there is room, its title.
  void DrawInside(const DiscStretch& stretch, double x) {
    const ZSTRACK& track = TrackOf(stretch);
    const std::string number = Format("%u", track.TNO);
    const double room = stretch.width - 6;
    if (TextWidth(number, 13 * kBold) <= room) {
      const std::string title = Fitting(stretch.title, 11 * kBold, room);
      m_svg += TextAt(x + 3, kLineTop + (title.empty() ? 31 : 22), "inside", number, 13 * kBold, room);
      m_svg += room < 48 || title.empty() ? "" : TextAt(x + 3, kLineTop + 40, "inside small", title, 11 * kBold, room);
    }
  }

  /// Times below the line, as many as have room.
  void DrawTimes() {
    std::int64_t sectors = 0;
    for (const DiscStretch& stretch : m_stretches) {
      sectors += stretch.sectors;
    }
    static constexpr std::int64_t kSteps[] = {1, 2, 5, 10, 30, 60, 120, 300, 600, 1200, 3600, 7200};
    const auto* step = std::find_if(std::begin(kSteps), std::end(kSteps) - 1,
                                    [&](std::int64_t seconds) { return sectors / kFramesPerSecond / seconds <= 10; });
    const std::int64_t interval = *step * kFramesPerSecond;
    double free = 0;
    for (const DiscStretch& stretch : m_stretches) {
      if (stretch.sectors != 0 && sectors / interval < 1000) {
        DrawTimesOf(stretch, interval, &free);
      }
    }
  }

  void DrawTimesOf(const DiscStretch& stretch, std::int64_t interval, double* free) {
    const std::int64_t first = (std::max<std::int64_t>(stretch.first, 0) + interval - 1) / interval * interval;
    for (std::int64_t at = first; at < stretch.first + stretch.sectors; at += interval) {
      const double part = static_cast<double>(at - stretch.first) / static_cast<double>(stretch.sectors);
      const double x = kMargin + stretch.begin + part * stretch.width;
      const auto seconds = static_cast<long long>(at / kFramesPerSecond);
      const std::string time = Format("%lld:%02lld", seconds / 60, seconds % 60);
      const double room = TextWidth(time, 11);
      if (x >= *free && x + room < kWidth - kMargin) {
        m_svg += "<path" + Look("rule") + " d=\"M" + Number(x) + " " + Number(kLineTop + kLineHeight) + "v6\"/>";
        m_svg += TextAt(x, kLineTop + kLineHeight + 18, "dim small", time, 11, room + 1);
        *free = x + room + 10;
      }
    }
  }

  void DrawList() {
    double y = kListTop;
    m_svg += TextAt(766, y - 8, "dim small right", "start", 11, 80) +
             TextAt(850, y - 8, "dim small right", "length", 11, 80) +
             TextAt(kWidth - kMargin - 4, y - 8, "dim small right", "size", 11, 80);
    m_svg += "<g id=\"tracks\">\n";
    for (const DiscStretch& stretch : m_stretches) {
      if (stretch.kind == Kind::LeadIn && m_info.nSessions > 1) {
        m_svg += TextAt(kMargin, y + 16, "dim", Format("Session %u", stretch.session + 1), 13, 200);
        y += kRow;
      } else if (stretch.kind == Kind::Track) {
        DrawRow(stretch, y);
        y += kRow;
      }
    }
    m_svg += "</g>\n";
  }

  void DrawRow(const DiscStretch& stretch, double y) {
    const ZSTRACK& track = TrackOf(stretch);
    const std::string& title = stretch.title;
    const std::string& performer = stretch.performer;
    const double base = y + 16;
    m_svg += "<g class=\"row\"><title>" + Escaped(Words(stretch)) + "</title>" + Box(kMargin, y, kInner, kRow, "hit");
    m_svg += Box(kMargin + 4, y + 6, 12, 12, ClassOf(track.Mode)) + "\n";
    m_svg += TextAt(78, base, "dim right", Format("%u", track.TNO), 13, 34);
    std::string name = title.empty() ? ModeWords(track.Mode) : title;
    name.append(stretch.missing == 0 ? "" : ", ").append(CutOffWords(stretch.missing));
    m_svg += TextAt(90, base, title.empty() ? "dim" : "", name, 13, performer.empty() ? 590 : 370);
    m_svg += performer.empty() ? "" : TextAt(470, base, "dim", performer, 13, 210);
    m_svg += TextAt(766, base, "right", DiscTime(track.dwLBA), 13, 80);
    m_svg += TextAt(850, base, "right", Duration(static_cast<UHYPER>(stretch.sectors)), 13, 80);
    m_svg += TextAt(kWidth - kMargin - 4, base, "dim right", SizeOf(stretch), 13, 80);
    m_svg += "<path" + Look("rule") + " d=\"M" + Number(kMargin) + " " + Number(y + kRow) + "h" + Number(kInner) +
             "\"/></g>\n";
  }

  const ImageRecord& m_image;
  const zsimagefileinfo& m_info;
  std::vector<DiscStretch> m_stretches;
  std::size_t m_rows = 0; ///< Of the list.
  std::string m_svg;
};

} // namespace

std::string DrawDisc(const ImageRecord& image) { return Picture(image).Draw(); }
