#include "image/sheet_lines.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <set>

#include <fmt/format.h>

#include "files/input_file.h"
#include "files/paths.h"
#include "output/terminal_text.h"

namespace {

/// Keywords in the order in which the component looks for them.
constexpr const char* kKeywords[] = {"CATALOG",   "TRACK",      "ISRC",     "FLAGS",    "PREGAP", "INDEX",   "TITLE",
                                     "PERFORMER", "SONGWRITER", "ARRANGER", "COMPOSER", "GENRE",  "MESSAGE", "COMMENT"};
constexpr std::size_t kFirstText = 6; ///< Index of TITLE, the first keyword of a text.

bool IsText(std::string_view keyword) {
  return std::count(std::begin(kKeywords) + kFirstText, std::end(kKeywords), keyword) != 0;
}

/// Returns the keyword of a line for the component, which looks for each of them anywhere in the line.
std::string_view FindKeyword(const SheetLine& line) {
  const std::string text = platform::Upper(line.rest);
  for (const std::string_view keyword : kKeywords) {
    if (line.keyword == keyword || text.find(keyword) != std::string::npos) {
      return keyword;
    }
  }
  return "";
}

/// Returns a command line for a shell. Quotes in the path are not escaped.
std::string JoinCommand(const std::string& path) {
  return fmt::format("'zsimage join \"{}\" OUT.cue'", TerminalText(path));
}

/// @param found The keyword that the component finds in the line. @param command The command that keeps the text.
std::string DescribeMisreadText(const SheetLine& line, std::string_view found, const std::string& command) {
  const bool isMoved = IsText(found) || found == "CATALOG" || found == "ISRC";
  const bool isPosition = found == "PREGAP" || found == "INDEX";
  return fmt::format("line {}: the text of this {} line contains {}, so the line is read as if it began with {}, and "
                     "{}; put the text into a .cdt file, or {} keeps it",
                     line.number, line.keyword, found, found,
                     isMoved      ? "the text goes there"
                     : isPosition ? "the text is lost, and positions may change"
                                  : "the text is lost",
                     command);
}

} // namespace

std::string SheetLine::Text() const {
  const std::size_t first = rest.find('"');
  const std::size_t last = rest.rfind('"');
  return first == last ? rest : rest.substr(first + 1, last - first - 1);
}

std::string SheetLine::LastWord() const { return platform::Upper(rest.substr(rest.find_last_of(" \t\"") + 1)); }

void VisitLines(std::string_view content, const std::function<void(const SheetLine&)>& visit) {
  unsigned number = 0;
  for (std::size_t begin = content.starts_with("\xEF\xBB\xBF") ? 3 : 0; begin < content.size();) {
    const std::size_t end = std::min(content.find('\n', begin), content.size());
    const std::string_view text = platform::Trim(content.substr(begin, end - begin));
    const std::size_t word = std::min(text.find_first_of(" \t"), text.size());
    ++number;
    if (!text.empty()) {
      visit({number, platform::Upper(text.substr(0, word)), std::string(platform::Trim(text.substr(word)))});
    }
    begin = end + 1;
  }
}

SheetNotes ReadSheetNotes(const std::string& path, const std::string& dataFile) {
  SheetNotes notes;
  std::set<std::string> names;
  const std::string command = JoinCommand(path);
  const std::string content = HasExtension(path, ".CUE") ? ReadBytes(path, 0, kLargestSheetOfFiles) : "";
  VisitLines(content, [&](const SheetLine& line) {
    if (line.keyword == "FILE") {
      names.insert(std::filesystem::path(platform::Upper(line.Text())).lexically_normal().string());
    } else if (const std::string_view found = FindKeyword(line); IsText(line.keyword) && found != line.keyword) {
      notes.misreadTexts.push_back(DescribeMisreadText(line, found, command));
    }
  });
  // The component finds only names in double quotes; without one, the sheet itself is its data file.
  const bool isJoinable = !names.empty() && (!SoundFileType(dataFile).empty() || IsSameFile(dataFile, path));
  if (names.size() > 1) {
    notes.joinAdvice = fmt::format("the sheet names {} files, and only the first is read; {} makes one image of them",
                                   names.size(), command);
  } else if (isJoinable) {
    notes.joinAdvice = command + " makes an image of it";
  }
  return notes;
}
