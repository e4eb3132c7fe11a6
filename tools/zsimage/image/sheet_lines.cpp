#include "image/sheet_lines.h"

#include <algorithm>
#include <iterator>

#include <fmt/format.h>

#include "files/input_file.h"
#include "files/paths.h"
#include "output/terminal_text.h"
#include "platform/text.h"

namespace {

/// In the order in which the component looks for them.
constexpr const char* kKeywords[] = {"CATALOG",   "TRACK",      "ISRC",     "FLAGS",    "PREGAP", "INDEX",   "TITLE",
                                     "PERFORMER", "SONGWRITER", "ARRANGER", "COMPOSER", "GENRE",  "MESSAGE", "COMMENT"};
const auto* const kFirstText = std::find(std::begin(kKeywords), std::end(kKeywords), std::string_view("TITLE"));

SheetLine SplitLine(unsigned number, std::string_view text) {
  text = platform::Trim(text);
  const std::size_t end = std::min(text.find_first_of(" \t"), text.size());
  return {number, platform::Upper(text.substr(0, end)), std::string(platform::Trim(text.substr(end)))};
}

} // namespace

std::string SheetLine::Text() const {
  const std::size_t first = rest.find('"');
  const std::size_t last = rest.rfind('"');
  return first == last ? rest : rest.substr(first + 1, last - first - 1);
}

std::string SheetLine::LastWord() const { return platform::Upper(rest.substr(rest.find_last_of(" \t\"") + 1)); }

void VisitSheetLines(const std::string& sheet, const std::function<void(const SheetLine& line)>& visit) {
  unsigned number = 0;
  std::string_view left = sheet;
  left.remove_prefix(left.starts_with("\xEF\xBB\xBF") ? 3 : 0);
  while (!left.empty()) {
    const std::size_t end = std::min(left.find('\n'), left.size());
    const SheetLine line = SplitLine(++number, left.substr(0, end));
    left.remove_prefix(std::min(end + 1, left.size()));
    if (!line.keyword.empty()) {
      visit(line);
    }
  }
}

std::vector<MisreadLine> FindMisreadLines(const std::string& sheet) {
  std::vector<MisreadLine> misread;
  VisitSheetLines(sheet, [&](const SheetLine& line) {
    const auto* const own = std::find(kFirstText, std::end(kKeywords), line.keyword);
    const std::string text = own == std::end(kKeywords) ? "" : platform::Upper(line.rest);
    const auto* const found = std::find_if(std::begin(kKeywords), own, [&](const char* keyword) {
      return text.find(keyword) != std::string::npos;
    });
    if (found != own && !text.empty()) {
      misread.push_back({line.number, line.keyword, *found});
    }
  });
  return misread;
}

std::string JoinAdvice(const std::string& path) {
  if (!HasExtension(path, ".CUE")) {
    return "";
  }
  std::vector<std::string> names;
  bool hasSound = false;
  VisitSheetLines(ReadBytes(path, 0, kLargestSheetOfFiles), [&](const SheetLine& line) {
    if (line.keyword == "FILE") {
      const std::string type = line.LastWord();
      hasSound = hasSound || type == "WAVE" || type == "AIFF" || type == "FLAC";
      names.push_back(line.Text());
    }
  });
  std::sort(names.begin(), names.end());
  const bool hasSeveral = std::unique(names.begin(), names.end()) - names.begin() > 1;
  return !hasSeveral && !hasSound
             ? ""
             : fmt::format("the sheet is of {}; 'zsimage join \"{}\" OUT.cue' makes one image of it",
                           hasSeveral ? "several files" : "a sound file", TerminalText(path));
}
