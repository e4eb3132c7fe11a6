#include "picture/markup.h"

#include <algorithm>
#include <utility>

#include "output/terminal_text.h"

namespace {

/// Bytes of the character that begins at a place.
std::size_t CharacterLength(std::string_view utf8, std::size_t at) {
  std::size_t length = 1;
  while (at + length < utf8.size() && (static_cast<unsigned char>(utf8[at + length]) & 0xC0U) == 0x80) {
    ++length;
  }
  return length;
}

/// Width of a character in parts of the font's size. Scripts without such classes take the larger of them.
double CharacterWidth(std::string_view character) {
  const char c = character[0];
  if (character.size() > 1) {
    return TerminalWidth(std::string(character)) > 1 ? 1.05 : 0.8;
  }
  if (std::string_view("MW@%mw").find(c) != std::string_view::npos) {
    return 1.0;
  }
  if (std::string_view(" .,:;'|!ijlIft()[]").find(c) != std::string_view::npos) {
    return 0.4;
  }
  return c >= 'A' && c <= 'Z' ? 0.76 : 0.64;
}

} // namespace

std::string Escaped(std::string_view utf8) {
  // XML has no characters U+FFFE and U+FFFF.
  static constexpr std::pair<std::string_view, std::string_view> kEscapes[] = {
      {"&", "&amp;"}, {"<", "&lt;"}, {">", "&gt;"}, {"\"", "&quot;"}, {"\xEF\xBF\xBE", "?"}, {"\xEF\xBF\xBF", "?"}};
  std::string text;
  for (std::size_t at = 0; at < utf8.size();) {
    const std::string_view character = utf8.substr(at, CharacterLength(utf8, at));
    const auto* escape = std::find_if(std::begin(kEscapes), std::end(kEscapes),
                                      [&](const auto& entry) { return entry.first == character; });
    text += escape == std::end(kEscapes) ? character : escape->second;
    at += character.size();
  }
  return text;
}

double TextWidth(std::string_view utf8, double fontSize) {
  double width = 0;
  for (std::size_t at = 0; at < utf8.size(); at += CharacterLength(utf8, at)) {
    width += CharacterWidth(utf8.substr(at, CharacterLength(utf8, at)));
  }
  return width * fontSize;
}

std::string Fitting(std::string_view utf8, double fontSize, double width) {
  if (TextWidth(utf8, fontSize) <= width) {
    return std::string(utf8);
  }
  double used = fontSize; // The ellipsis.
  std::size_t at = 0;
  for (std::size_t length = 0; at < utf8.size(); at += length) {
    length = CharacterLength(utf8, at);
    used += CharacterWidth(utf8.substr(at, length)) * fontSize;
    if (used > width) {
      break;
    }
  }
  return at == 0 ? "" : std::string(utf8.substr(0, at)) + "\xE2\x80\xA6";
}

std::string Number(double value) {
  std::string text = Format("%.2f", value);
  text.erase(text.find_last_not_of('0') + 1);
  return text.back() == '.' ? text.substr(0, text.size() - 1) : text;
}
