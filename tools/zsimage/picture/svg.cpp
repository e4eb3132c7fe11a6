#include "picture/svg.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

#include <fmt/format.h>

#include "output/terminal_text.h"

namespace svg {

namespace {

constexpr double kFontSize = 13;
constexpr double kBold = 1.12; ///< Width of bold letters relative to normal ones.

/// Presentation attributes of the classes, for viewers without style sheets, and the size of their text if they set it.
constexpr struct {
  std::string_view name;
  std::string_view attributes;
  double fontSize = 0;
} kClasses[] = {
    {"back", R"( fill="#fbfbf9")"},
    {"plate", R"( fill="#e9eaec")"},
    {"lead", R"( fill="#aab0b8")"},
    {"pregap", R"( fill="#d3b64f")"},
    {"audio", R"( fill="#2b9a6b")"},
    {"mode1", R"( fill="#3b76cf")"},
    {"mode2", R"( fill="#8b5cc7")"},
    {"other", R"( fill="#a0664a")"},
    {"even", R"( fill-opacity=".8")"},
    {"edge", R"( stroke="#fbfbf9")"},
    {"rim", R"( stroke="#fbfbf9" stroke-width=".5")"},
    {"rule", R"( stroke="#e2e3e0")"},
    {"hit", R"( fill="#e9eaec" fill-opacity="0")"},
    {"dim", R"( fill="#666e78")"},
    {"inside", R"( fill="#fff" fill-opacity="1" font-weight="600")"},
    {"name", R"( font-size="24" font-weight="600")", 24},
    {"by", R"( font-size="16")", 16},
    {"small", R"( font-size="11")", 11},
    {"right", R"( text-anchor="end")"},
};

/// A style sheet takes precedence over presentation attributes.
constexpr const char* kStyle = R"(<style>
@media (prefers-color-scheme: dark) {
  svg { fill: #e8eaed; } .back { fill: #15181c; } .edge, .rim { stroke: #15181c; } .plate, .hit { fill: #23282e; }
  .lead { fill: #545c66; } .pregap { fill: #b79a3a; } .audio { fill: #35a877; } .mode1 { fill: #5b8fe0; }
  .mode2 { fill: #a27be0; } .other { fill: #bd8263; } .rule { stroke: #2b3036; } .dim { fill: #9aa3ad; }
}
.row:hover .hit { fill-opacity: 1; } .segment:hover { filter: brightness(1.25); }
</style>
)";

/// Rounds a coordinate to two decimals, which are precise enough.
double Rounded(double value) { return std::round(value * 100) / 100; }

/// Escapes UTF-8 text for use between tags.
std::string Escaped(std::string_view utf8) {
  // XML has no characters U+FFFE and U+FFFF.
  static constexpr std::pair<std::string_view, std::string_view> kEscapes[] = {
      {"&", "&amp;"}, {"<", "&lt;"}, {">", "&gt;"}, {"\"", "&quot;"}, {"\xEF\xBF\xBE", "?"}, {"\xEF\xBF\xBF", "?"}};
  std::string text;
  for (std::size_t offset = 0; offset < utf8.size();) {
    const std::string_view character = CharacterAt(utf8, offset);
    const auto* escape = std::ranges::find_if(kEscapes, [&](const auto& entry) { return entry.first == character; });
    text += escape == std::end(kEscapes) ? character : escape->second;
    offset += character.size();
  }
  return text;
}

std::string Title(std::string_view utf8) { return fmt::format("<title>{}</title>", Escaped(utf8)); }

/// Returns the width of a character relative to the size of the font.
double CharacterWidth(std::string_view character) {
  const char c = character[0];
  if (character.size() > 1) {
    return TerminalWidth(character) > 1 ? 1.05 : 0.8;
  }
  if (std::string_view("MW@%mw").find(c) != std::string_view::npos) {
    return 1.0;
  }
  if (std::string_view(" .,:;'|!ijlIft()[]").find(c) != std::string_view::npos) {
    return 0.4;
  }
  return c >= 'A' && c <= 'Z' ? 0.76 : 0.64;
}

/// Returns the font size for estimates of text width, which is larger for bold letters.
double FontSize(std::string_view classes) {
  double size = kFontSize;
  double weight = 1;
  for (const auto& entry : kClasses) {
    if (HasClass(classes, entry.name)) {
      size = entry.fontSize != 0 ? entry.fontSize : size;
      weight = entry.attributes.find("font-weight") != std::string_view::npos ? kBold : weight;
    }
  }
  return size * weight;
}

std::string Attributes(std::string_view classes) {
  std::string attributes = fmt::format(" class=\"{}\"", classes);
  for (const auto& entry : kClasses) {
    attributes += HasClass(classes, entry.name) ? entry.attributes : "";
  }
  return attributes;
}

} // namespace

bool HasClass(std::string_view classes, std::string_view name) {
  return fmt::format(" {} ", classes).find(fmt::format(" {} ", name)) != std::string::npos;
}

std::string Picture(double width, double height, std::string_view title, std::string_view content) {
  return fmt::format(R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {0} {1}" width="{0}" height="{1}" )"
                     R"(role="img" fill="#1d2126" font-family="system-ui, 'DejaVu Sans', sans-serif" font-size="{2}">)"
                     "\n{3}\n{4}{5}\n{6}</svg>\n",
                     width, height, kFontSize, Title(title), kStyle, Rectangle(0, 0, width, height, "back"), content);
}

std::string Group(std::string_view classes, std::string_view title, std::string_view content) {
  return fmt::format("<g{}>{}{}</g>\n", Attributes(classes), Title(title), content);
}

std::string Rectangle(double x, double y, double width, double height, std::string_view classes) {
  return fmt::format(R"(<rect x="{}" y="{}" width="{}" height="{}"{}/>)", Rounded(x), Rounded(y), Rounded(width),
                     Rounded(height), Attributes(classes));
}

std::string Circle(double x, double y, double radius, std::string_view classes, std::string_view title) {
  return fmt::format("<circle cx=\"{}\" cy=\"{}\" r=\"{}\"{}>{}</circle>\n", Rounded(x), Rounded(y), Rounded(radius),
                     Attributes(classes), title.empty() ? "" : Title(title));
}

std::string Line(double x, double y, double width, double height) {
  return fmt::format("<path{} d=\"M{} {}l{} {}\"/>", Attributes("rule"), Rounded(x), Rounded(y), Rounded(width),
                     Rounded(height));
}

std::string Text(double x, double y, std::string_view classes, std::string_view utf8, double room) {
  const double fontSize = FontSize(classes);
  const std::string shown =
      CutToFit(utf8, room, [&](std::string_view character) { return CharacterWidth(character) * fontSize; });
  return fmt::format("<text x=\"{}\" y=\"{}\"{}>{}{}</text>\n", Rounded(x), Rounded(y), Attributes(classes),
                     shown == utf8 ? "" : Title(utf8), Escaped(shown));
}

double TextWidth(std::string_view utf8, std::string_view classes) {
  double width = 0;
  for (std::size_t offset = 0; offset < utf8.size();) {
    const std::string_view character = CharacterAt(utf8, offset);
    width += CharacterWidth(character);
    offset += character.size();
  }
  return width * FontSize(classes);
}

} // namespace svg
