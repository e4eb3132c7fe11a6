#include "join/sheet_of_files.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <memory>
#include <optional>

#include <fmt/format.h>
#include <libcue.h>

#include "disc/msf.h"
#include "files/input_file.h"
#include "image/sheet_lines.h"
#include "output/failure.h"
#include "output/terminal_text.h"
#include "platform/text.h"

namespace {

constexpr unsigned kMostTracks = 99;
constexpr std::size_t kLongestText = 1000; ///< Bytes that libcue is given of a text; CD-Text has 254.
constexpr std::size_t kCatalogueDigits = 13;

/// Types of TRACK lines, and what libcue and the record call them. CD-I is mode 2.
constexpr struct {
  const char* type;
  const char* forLibcue;
  TrackMode parsed;
  ZSMODETYPE mode;
  ZSFILEBLOCKSIZECUE blockSize;
} kTypes[] = {
    {"AUDIO", "AUDIO", MODE_AUDIO, ZSMODE_AUDIO, ZSFILEBLOCKSIZE_2352},
    {"MODE1/2048", "MODE1/2048", MODE_MODE1, ZSMODE_1, ZSFILEBLOCKSIZE_2048},
    {"MODE1/2352", "MODE1/2352", MODE_MODE1_RAW, ZSMODE_1, ZSFILEBLOCKSIZE_2352},
    {"MODE2/2048", "MODE2/2048", MODE_MODE2_FORM1, ZSMODE_2, ZSFILEBLOCKSIZE_2048},
    {"MODE2/2336", "MODE2/2336", MODE_MODE2, ZSMODE_2, ZSFILEBLOCKSIZE_2336},
    {"MODE2/2352", "MODE2/2352", MODE_MODE2_RAW, ZSMODE_2, ZSFILEBLOCKSIZE_2352},
    {"CDI/2336", "MODE2/2336", MODE_MODE2, ZSMODE_2, ZSFILEBLOCKSIZE_2336},
    {"CDI/2352", "MODE2/2352", MODE_MODE2_RAW, ZSMODE_2, ZSFILEBLOCKSIZE_2352},
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

/// Swaps characters that would end a text of libcue with ones that no text has.
std::string Guarded(std::string text, bool isBack) {
  constexpr std::pair<char, char> kPairs[] = {{'"', '\x01'}, {'\\', '\x02'}};
  for (const auto& [plain, guard] : kPairs) {
    std::replace(text.begin(), text.end(), isBack ? guard : plain, isBack ? plain : guard);
  }
  return text;
}

/// Returns the numbers of a text like "01 10:20:30"; none if it has another count of them or other characters.
std::optional<std::vector<ULONG>> Numbers(std::string_view text, std::size_t count) {
  std::vector<ULONG> numbers;
  while (!text.empty()) {
    ULONG number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || number > 9999) {
      return std::nullopt;
    }
    numbers.push_back(number);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    text.remove_prefix(std::min(text.find_first_not_of(": \t"), text.size()));
  }
  return numbers.size() == count ? std::optional(numbers) : std::nullopt;
}

/// Reads a sheet. libcue parses tracks, texts and codes. It accepts little of what programs write, loses the catalogue
/// number, and mixes up the files of pregaps that are at the end of the file before. So it is given a sheet of one file
/// in the form that it accepts, and files, gaps and the catalogue number are read here.
class SheetReader {
public:
  SheetReader(const Host& host, const std::string& path) : m_host(host), m_path(path) {}

  SheetOfFiles Read() {
    const std::string text = ReadContent(m_path, kLargestSheetOfFiles);
    if (text.find('\0') != std::string::npos) {
      throw Failure(m_path, "this is not a text in UTF-8 or Windows-1252; save the sheet in one of these",
                    ZSE_BADIMAGE);
    }
    VisitSheetLines(text, [this](const SheetLine& line) { ReadLine(line); });
    RequireComplete();
    m_sheet.record = CreateSheet(m_host, static_cast<unsigned>(m_sheet.gaps.size()));
    const std::unique_ptr<Cd, CdDelete> parsed(cue_parse_string(m_forLibcue.c_str()));
    if (parsed == nullptr || cd_get_ntrack(parsed.get()) != static_cast<int>(m_sheet.gaps.size())) {
      throw Failure(m_path, "libcue cannot parse the sheet", ZSE_BADIMAGE);
    }
    FillRecord(parsed.get());
    m_host.Sheets().AnalyzeCDText(Wide(m_path).get(), m_sheet.record.get()); // There need not be such a file.
    return std::move(m_sheet);
  }

private:
  [[noreturn]] void ThrowAt(const SheetLine& line, std::string_view words) const {
    throw Failure(m_path, fmt::format("line {}, {}: {}", line.number, line.keyword, words), ZSE_BADIMAGE);
  }

  /// Lines of other keywords, comments among them, say nothing about the disc.
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
      ReadGap(line);
    } else if (keyword == "CATALOG") {
      m_catalogue = line.Text().substr(0, kCatalogueDigits);
    } else if (keyword == "FLAGS" && !m_sheet.gaps.empty()) {
      ReadFlags(line);
    } else if (keyword == "ISRC" && !m_sheet.gaps.empty()) {
      m_forLibcue += fmt::format("ISRC \"{}\"\n", Guarded(line.Text(), false));
    } else if (keyword == "REM" && platform::Upper(line.rest).starts_with("SESSION")) {
      m_sheet.hasSessions = m_sheet.hasSessions || !line.rest.ends_with("01");
    } else if (std::any_of(std::begin(kTexts), std::end(kTexts), isText)) {
      m_forLibcue += fmt::format("{} \"{}\"\n", keyword, Guarded(line.Text().substr(0, kLongestText), false));
    }
  }

  void ReadFlags(const SheetLine& line) {
    const std::string words = platform::Upper(line.rest);
    std::string known;
    for (const char* flag : {" DCP", " PRE", " 4CH"}) {
      known += (" " + words).find(flag) == std::string::npos ? "" : flag;
    }
    m_forLibcue += known.empty() ? "" : "FLAGS" + known + "\n";
  }

  /// A FILE line before each track may name the same file again.
  void ReadFile(const SheetLine& line) {
    const std::string type = line.LastWord();
    const bool isSwapped = type == "MOTOROLA";
    std::string name = line.Text();
    if (name == line.rest) { // Without quotes.
      name = platform::Trim(name.substr(0, name.size() - type.size()));
    }
    if (name.empty()) {
      ThrowAt(line, "the line names no file");
    }
    if (m_sheet.files.empty() || m_sheet.files.back().name != name) {
      m_sheet.files.push_back({name, isSwapped || type == "BINARY", isSwapped, line.number});
    }
  }

  void ReadTrack(const SheetLine& line) {
    const std::string type = line.LastWord();
    const auto* const known =
        std::find_if(std::begin(kTypes), std::end(kTypes), [&](const auto& entry) { return type == entry.type; });
    if (known == std::end(kTypes)) {
      ThrowAt(line, fmt::format("tracks of type {} cannot be joined; known are AUDIO, MODE1/2048, MODE1/2352, "
                                "MODE2/2048, MODE2/2336, MODE2/2352",
                                TerminalText(type)));
    }
    RequireIndex();
    if (m_sheet.gaps.size() == kMostTracks) {
      ThrowAt(line, "a disc has 99 tracks at most");
    }
    m_sheet.gaps.emplace_back();
    m_forLibcue += m_sheet.gaps.size() == 1 ? "FILE \"DATA\" BINARY\n" : "";
    m_forLibcue += fmt::format("TRACK {:02} {}\n", m_sheet.gaps.size(), known->forLibcue);
  }

  void ReadIndex(const SheetLine& line) {
    const auto numbers = Numbers(line.rest, 4);
    if (!numbers || m_sheet.gaps.empty() || m_sheet.files.empty()) {
      ThrowAt(line, numbers ? "no TRACK and FILE line is before it" : "this is not a number and a time, MM:SS:FF");
    }
    const ULONG number = (*numbers)[0];
    if (number > 1) {
      m_sheet.hasMoreIndexes = true;
      return;
    }
    if (HasStart() || (number == 0 && HasMark())) {
      ThrowAt(line, "the track has this index already, or one after it");
    }
    const ULONG sector = ((*numbers)[1] * 60 + (*numbers)[2]) * 75 + (*numbers)[3];
    const std::size_t file = m_sheet.files.size() - 1;
    if (!m_sheet.marks.empty() && m_sheet.marks.back().file == file && m_sheet.marks.back().sector > sector) {
      ThrowAt(line, "the position is before that of the index before it");
    }
    m_sheet.marks.push_back({m_sheet.gaps.size() - 1, number == 0, file, sector});
    m_forLibcue += fmt::format("INDEX {:02} {:02}:{:02}:{:02}\n", number, (*numbers)[1], (*numbers)[2], (*numbers)[3]);
  }

  void ReadGap(const SheetLine& line) {
    const auto numbers = Numbers(line.rest, 3);
    if (!numbers || m_sheet.gaps.empty()) {
      ThrowAt(line, numbers ? "no TRACK line is before it" : "this is not a time, MM:SS:FF");
    }
    SheetOfFiles::Gaps& gaps = m_sheet.gaps.back();
    (line.keyword == "PREGAP" ? gaps.before : gaps.after) = ((*numbers)[0] * 60 + (*numbers)[1]) * 75 + (*numbers)[2];
  }

  /// Whether the last track has an index, and whether that is its INDEX 01.
  bool HasMark() const { return !m_sheet.marks.empty() && m_sheet.marks.back().track + 1 == m_sheet.gaps.size(); }
  bool HasStart() const { return HasMark() && !m_sheet.marks.back().isPregap; }

  void RequireIndex() const {
    if (!m_sheet.gaps.empty() && !HasStart()) {
      throw Failure(m_path, fmt::format("track {} has no INDEX 01 line", m_sheet.gaps.size()), ZSE_BADIMAGE);
    }
  }

  void RequireComplete() const {
    if (m_sheet.gaps.empty()) {
      throw Failure(m_path, "the sheet has no TRACK line", ZSE_BADIMAGE);
    }
    RequireIndex();
    for (std::size_t file = 0; file < m_sheet.files.size(); ++file) {
      const auto isIn = [&](const SheetOfFiles::Mark& mark) { return mark.file == file; };
      if (std::none_of(m_sheet.marks.begin(), m_sheet.marks.end(), isIn)) {
        throw Failure(
            m_path,
            fmt::format("line {}, FILE: no INDEX line is in this file; remove the line", m_sheet.files[file].line),
            ZSE_BADIMAGE);
      }
    }
  }

  static void SetText(const char* text, BSTR* field) {
    if (text != nullptr && *text != '\0') {
      *field = Wide(Guarded(text, true)).release();
    }
  }

  void FillRecord(const Cd* parsed) {
    ::ZSCDTEXT& disc = m_sheet.record->ZSCDTEXT;
    SetText(m_catalogue.c_str(), &disc.bstrMCN);
    for (const auto& entry : kTexts) {
      SetText(cdtext_get(entry.kind, cd_get_cdtext(parsed)), &(disc.*entry.ofDisc));
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
    SetText(cdtext_get(PTI_UPC_ISRC, texts), &track->bstrISRC); // Where libcue puts an ISRC in quotes.
    for (const auto& entry : kTexts) {
      SetText(cdtext_get(entry.kind, texts), &(track->*entry.ofTrack));
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
