#include "join/sheet_of_files.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <iterator>
#include <memory>

#include <fmt/format.h>
#include <libcue.h>

#include "files/input_file.h"
#include "image/sheet_lines.h"
#include "output/failure.h"
#include "output/terminal_text.h"
#include "platform/text.h"

namespace {

constexpr unsigned kMostTracks = 99;
constexpr std::size_t kLongestText = 1000; ///< Bytes of a text that are passed to libcue; CD-Text has 254.
constexpr std::size_t kCatalogueDigits = 13;
constexpr ULONG kLargestNumber = 9999; ///< Limit of a number in a line: sums of times do not wrap.

/// Types of TRACK lines, with their constants in libcue and in the record.
constexpr struct {
  const char* type;
  TrackMode parsed;
  ZSMODETYPE mode;
  ZSFILEBLOCKSIZECUE blockSize;
} kTypes[] = {
    {"AUDIO", MODE_AUDIO, ZSMODE_AUDIO, ZSFILEBLOCKSIZE_2352},
    {"MODE1/2048", MODE_MODE1, ZSMODE_1, ZSFILEBLOCKSIZE_2048},
    {"MODE1/2352", MODE_MODE1_RAW, ZSMODE_1, ZSFILEBLOCKSIZE_2352},
    {"MODE2/2048", MODE_MODE2_FORM1, ZSMODE_2, ZSFILEBLOCKSIZE_2048},
    {"MODE2/2336", MODE_MODE2, ZSMODE_2, ZSFILEBLOCKSIZE_2336},
    {"MODE2/2352", MODE_MODE2_RAW, ZSMODE_2, ZSFILEBLOCKSIZE_2352},
};

constexpr struct {
  const char* keyword;
  Pti kind;
  BSTR ZSCDTEXT::*ofDisc;
  BSTR ZSTRACK::*ofTrack;
} kTexts[] = {
    {"TITLE", PTI_TITLE, &ZSCDTEXT::bstrTitle, &ZSTRACK::bstrTitle},
    {"PERFORMER", PTI_PERFORMER, &ZSCDTEXT::bstrPerformer, &ZSTRACK::bstrPerformer},
    {"SONGWRITER", PTI_SONGWRITER, &ZSCDTEXT::bstrSongwriter, &ZSTRACK::bstrSongwriter},
    {"COMPOSER", PTI_COMPOSER, &ZSCDTEXT::bstrComposer, &ZSTRACK::bstrComposer},
    {"ARRANGER", PTI_ARRANGER, &ZSCDTEXT::bstrArranger, &ZSTRACK::bstrArranger},
    {"GENRE", PTI_GENRE, &ZSCDTEXT::bstrGenre, &ZSTRACK::bstrGenre},
    {"MESSAGE", PTI_MESSAGE, &ZSCDTEXT::bstrMessage, &ZSTRACK::bstrMessage},
};

struct CdDelete {
  void operator()(Cd* cd) const noexcept { cd_delete(cd); }
};

/// Replaces the characters that would end a text in libcue by control characters, which no text contains.
/// @param isBack Whether to restore the characters instead.
std::string Guarded(std::string text, bool isBack) {
  constexpr std::pair<char, char> kPairs[] = {{'"', '\x01'}, {'\\', '\x02'}};
  for (const auto& [plain, guard] : kPairs) {
    std::replace(text.begin(), text.end(), isBack ? guard : plain, isBack ? plain : guard);
  }
  return text;
}

/// Reads a sheet. libcue parses tracks, texts and codes. It rejects much that programs write, loses the catalogue
/// number, and assigns the wrong file to a pregap that is at the end of the previous file. So this class reads files,
/// positions and the catalogue number itself, and passes libcue a sheet of one file in the form that libcue accepts.
class SheetReader {
public:
  SheetReader(const Host& host, const std::string& path) : m_host(host), m_path(path) {}

  SheetOfFiles Read() {
    const std::string text = ReadContent(m_path, kLargestSheetOfFiles);
    if (text.find('\0') != std::string::npos) {
      Fail(m_path, ZSE_BADIMAGE, "this is not a text in UTF-8 or Windows-1252; save the sheet in one of these");
    }
    VisitSheetLines(text, [this](const SheetLine& line) { ReadLine(line); });
    RequireIndexes();
    if (!HasStart()) {
      Fail(m_path, ZSE_BADIMAGE, "{}",
           m_sheet.gaps.empty() ? "the sheet has no TRACK line" : "the last track has no INDEX 01 line");
    }
    m_sheet.record = CreateSheet(m_host, static_cast<unsigned>(m_sheet.gaps.size()));
    const std::unique_ptr<Cd, CdDelete> parsed(cue_parse_string(m_forLibcue.c_str()));
    if (parsed == nullptr || cd_get_ntrack(parsed.get()) != static_cast<int>(m_sheet.gaps.size())) {
      Fail(m_path, ZSE_BADIMAGE, "libcue cannot parse the sheet");
    }
    FillRecord(parsed.get());
    m_host.Sheets().AnalyzeCDText(Wide(m_path).get(), m_sheet.record.get()); // The .cdt file is optional.
    return std::move(m_sheet);
  }

private:
  template <class... T>
  [[noreturn]] void FailAt(const SheetLine& line, fmt::format_string<T...> words, T&&... values) const {
    Fail(m_path, ZSE_BADIMAGE, "line {}, {}: {}", line.number, line.keyword,
         fmt::format(words, std::forward<T>(values)...));
  }

  /// Reads a line. Lines with other keywords, such as comments, are ignored.
  void ReadLine(const SheetLine& line) {
    const std::string& keyword = line.keyword;
    const auto isText = [&](const auto& entry) { return keyword == entry.keyword; };
    if (keyword == "FILE") {
      ReadFile(line);
    } else if (keyword == "TRACK") {
      ReadTrack(line);
    } else if (keyword == "INDEX") {
      ReadIndex(line);
    } else if (keyword == "PREGAP" || keyword == "POSTGAP") {
      const ULONG sectors = NumbersOf(line, 3).back();
      SheetOfFiles::Gaps& gaps = m_sheet.gaps.back();
      (keyword == "PREGAP" ? gaps.before : gaps.after) = sectors;
    } else if (keyword == "CATALOG") {
      m_catalogue = line.Text().substr(0, kCatalogueDigits);
    } else if (keyword == "FLAGS" && !m_sheet.gaps.empty()) {
      ReadFlags(line);
    } else if (keyword == "REM" && platform::Upper(line.rest).starts_with("SESSION") && !line.rest.ends_with("01")) {
      m_sheet.notes.insert("the sheet has several sessions, and the new one has all tracks in one");
    } else if (std::any_of(std::begin(kTexts), std::end(kTexts), isText) ||
               (keyword == "ISRC" && !m_sheet.gaps.empty())) {
      m_forLibcue += fmt::format("{} \"{}\"\n", keyword, Guarded(line.Text().substr(0, kLongestText), false));
    }
  }

  void ReadFlags(const SheetLine& line) {
    const std::string words = " " + platform::Upper(line.rest);
    for (const char* flag : {" DCP", " PRE", " 4CH"}) {
      m_forLibcue += words.find(flag) == std::string::npos ? "" : fmt::format("FLAGS{}\n", flag);
    }
  }

  /// Reads a FILE line. Some programs repeat the line of the same file before each track.
  void ReadFile(const SheetLine& line) {
    const std::string type = line.LastWord();
    std::string name = line.Text();
    if (name == line.rest) { // Without quotes.
      name = platform::Trim(name.substr(0, name.size() - type.size()));
    }
    if (name.empty()) {
      FailAt(line, "the line names no file");
    }
    if (m_sheet.files.empty() || m_sheet.files.back().name != name) {
      RequireIndexes();
      m_sheet.files.push_back({name, type == "BINARY" || type == "MOTOROLA", type == "MOTOROLA", line.number});
    }
  }

  void ReadTrack(const SheetLine& line) {
    const std::string type = line.LastWord();
    if (std::none_of(std::begin(kTypes), std::end(kTypes), [&](const auto& entry) { return type == entry.type; })) {
      FailAt(line,
             "tracks of type {} cannot be joined; known are AUDIO, MODE1/2048, MODE1/2352, MODE2/2048, MODE2/2336, "
             "MODE2/2352",
             TerminalText(type));
    }
    if (!m_sheet.gaps.empty() && !HasStart()) {
      FailAt(line, "the track before it has no INDEX 01 line");
    }
    if (m_sheet.gaps.size() == kMostTracks) {
      FailAt(line, "a disc has 99 tracks at most");
    }
    m_forLibcue += m_sheet.gaps.empty() ? "FILE \"DATA\" BINARY\n" : "";
    m_sheet.gaps.emplace_back();
    m_forLibcue += fmt::format("TRACK {:02} {}\n", m_sheet.gaps.size(), type);
  }

  void ReadIndex(const SheetLine& line) {
    const std::vector<ULONG> numbers = NumbersOf(line, 4);
    const bool isPregap = numbers[0] == 0;
    if (numbers[0] > 1) {
      m_sheet.notes.insert("indexes above 1 are left out");
      return;
    }
    if (m_sheet.files.empty() || HasStart() || (isPregap && HasMark())) {
      FailAt(line, "{}",
             m_sheet.files.empty() ? "no FILE line is before it" : "the track has this index already, or one after it");
    }
    const std::size_t file = m_sheet.files.size() - 1;
    if (!m_sheet.marks.empty() && m_sheet.marks.back().file == file && m_sheet.marks.back().sector > numbers.back()) {
      FailAt(line, "the position is before that of the index before it");
    }
    m_sheet.marks.push_back({m_sheet.gaps.size() - 1, isPregap, file, numbers.back()});
    m_forLibcue += fmt::format("INDEX {:02} {:02}:{:02}:{:02}\n", numbers[0], numbers[1], numbers[2], numbers[3]);
  }

  /// Returns the `count` numbers of a line, of which the last three are a time, and then that time in sectors.
  std::vector<ULONG> NumbersOf(const SheetLine& line, std::size_t count) const {
    std::vector<ULONG> numbers;
    std::string_view left = line.rest;
    while (!left.empty() && numbers.size() <= count) {
      ULONG number = kLargestNumber + 1;
      const char* end = std::from_chars(left.data(), left.data() + left.size(), number).ptr;
      if (number > kLargestNumber) {
        break;
      }
      numbers.push_back(number);
      left.remove_prefix(static_cast<std::size_t>(end - left.data()));
      left.remove_prefix(std::min(left.find_first_not_of(": \t"), left.size()));
    }
    if (numbers.size() != count || !left.empty()) {
      FailAt(line, "the line should be {} {}MM:SS:FF", line.keyword, count == 4 ? "NN " : "");
    }
    if (m_sheet.gaps.empty()) {
      FailAt(line, "no TRACK line is before it");
    }
    numbers.push_back((numbers[count - 3] * 60 + numbers[count - 2]) * 75 + numbers[count - 1]);
    return numbers;
  }

  /// Return whether the last track has an index, and whether it has INDEX 01.
  bool HasMark() const { return !m_sheet.marks.empty() && m_sheet.marks.back().track + 1 == m_sheet.gaps.size(); }
  bool HasStart() const { return HasMark() && !m_sheet.marks.back().isPregap; }

  /// @throws Failure if the last file has no index.
  void RequireIndexes() const {
    const std::size_t files = m_sheet.marks.empty() ? 0 : m_sheet.marks.back().file + 1;
    if (files < m_sheet.files.size()) {
      Fail(m_path, ZSE_BADIMAGE, "line {}, FILE: no INDEX line is in this file; remove the line",
           m_sheet.files.back().line);
    }
  }

  /// Sets a text of a record. Records are packed, so the field may be misaligned.
  template <class Record> static void SetText(const char* text, Record* record, BSTR Record::*field) {
    if (text != nullptr && *text != '\0') {
      const BSTR wide = Wide(Guarded(text, true)).release();
      std::memcpy(&(record->*field), &wide, sizeof(wide));
    }
  }

  void FillRecord(const Cd* parsed) {
    ::ZSCDTEXT& disc = m_sheet.record->ZSCDTEXT;
    SetText(m_catalogue.c_str(), &disc, &ZSCDTEXT::bstrMCN);
    for (const auto& entry : kTexts) {
      SetText(cdtext_get(entry.kind, cd_get_cdtext(parsed)), &disc, entry.ofDisc);
    }
    int number = 0;
    for (ZSTRACK& track : Tracks(*m_sheet.record)) {
      FillTrack(cd_get_track(parsed, ++number), &track);
    }
  }

  static void FillTrack(const Track* parsed, ZSTRACK* track) {
    const TrackMode mode = track_get_mode(parsed);
    const auto* const known =
        std::find_if(std::begin(kTypes), std::end(kTypes), [&](const auto& entry) { return mode == entry.parsed; });
    track->Mode = known->mode;
    track->BlockSize = known->blockSize;
    track->ImageBlockSize = known->blockSize;
    track->Flags |= track_is_set_flag(parsed, FLAG_COPY_PERMITTED) != 0 ? ZSTRACKFLAG_DCP : 0;
    track->Flags |= track_is_set_flag(parsed, FLAG_PRE_EMPHASIS) != 0 ? ZSTRACKFLAG_PRE : 0;
    track->Flags |= track_is_set_flag(parsed, FLAG_FOUR_CHANNEL) != 0 ? ZSTRACKFLAG_4CH : 0;
    const Cdtext* texts = track_get_cdtext(parsed);
    SetText(cdtext_get(PTI_UPC_ISRC, texts), track, &ZSTRACK::bstrISRC); // libcue stores a quoted ISRC as a text.
    for (const auto& entry : kTexts) {
      SetText(cdtext_get(entry.kind, texts), track, entry.ofTrack);
    }
  }

  const Host& m_host;
  const std::string& m_path;
  std::string m_forLibcue;
  std::string m_catalogue;
  SheetOfFiles m_sheet;
};

} // namespace

SheetOfFiles ReadSheetOfFiles(const Host& host, const std::string& path) { return SheetReader(host, path).Read(); }
