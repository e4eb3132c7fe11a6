#include "image/sheet_lines.h"

#include <algorithm>
#include <iterator>
#include <set>

#include <fmt/format.h>

#include "files/input_file.h"
#include "files/paths.h"
#include "output/terminal_text.h"
#include "platform/text.h"

namespace {

/// Keywords in the order in which the component looks for them.
constexpr const char* kKeywords[] = {"CATALOG",   "TRACK",      "ISRC",     "FLAGS",    "PREGAP", "INDEX",   "TITLE",
                                     "PERFORMER", "SONGWRITER", "ARRANGER", "COMPOSER", "GENRE",  "MESSAGE", "COMMENT"};
constexpr std::size_t kFirstText = 6; ///< Index of TITLE, the first keyword of a text.

/// Returns a command line for a shell. Quotes in the path are not escaped.
std::string JoinCommand(const std::string& path) {
  return fmt::format("'zsimage join \"{}\" OUT.cue'", TerminalText(path));
}

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
    const bool isText = std::count(std::begin(kKeywords) + kFirstText, std::end(kKeywords), line.keyword) != 0;
    const std::string text = isText ? platform::Upper(line.rest) : "";
    for (const std::string_view keyword : kKeywords) {
      if (!isText || keyword == line.keyword) {
        return;
      }
      if (text.find(keyword) != std::string::npos) {
        misread.push_back({line.number, line.keyword, std::string(keyword)});
        return;
      }
    }
  });
  return misread;
}

std::string MisreadWords(const std::string& path) {
  const std::size_t count = FindMisreadLines(ReadBytes(path, 0, kLargestSheetOfFiles)).size();
  return count == 0 ? ""
                    : fmt::format("{} with a keyword in the text {} misread; 'zsimage check' lists {}",
                                  Counted(count, "line"), count == 1 ? "is" : "are", count == 1 ? "it" : "them");
}

std::string MisreadWords(const std::string& path, const MisreadLine& line) {
  const std::string effect = line.found == "TRACK" || line.found == "FLAGS" ? "the text is lost"
                             : line.found == "PREGAP" || line.found == "INDEX"
                                 ? "the text is lost, and positions may change"
                                 : "the text goes there";
  return fmt::format("line {}: the text of this {} line contains {}, so it is read as {} line, and {}; put the text "
                     "into a .cdt file, or {} keeps it",
                     line.number, line.keyword, line.found,
                     (line.found.find_first_of("AI") == 0 ? "an " : "a ") + line.found, effect, JoinCommand(path));
}

std::string JoinAdvice(const std::string& path, bool isSound) {
  if (!HasExtension(path, ".CUE")) {
    return "";
  }
  std::set<std::string> names;
  VisitSheetLines(ReadBytes(path, 0, kLargestSheetOfFiles), [&](const SheetLine& line) {
    if (line.keyword == "FILE") {
      names.insert(platform::Upper(line.Text()));
    }
  });
  if (names.size() > 1) {
    return fmt::format("the sheet names {} files, and only the first is read; {} makes one image of them", names.size(),
                       JoinCommand(path));
  }
  return isSound ? JoinCommand(path) + " makes an image of it" : "";
}
